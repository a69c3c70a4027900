// name_test.cpp - the grammar of name syntaxes, and path names built from their parts.
#include <cctype>
#include <string>

#include <gtest/gtest.h>

#include "support/fault.h"
#include "support/report_log.h"
#include "zor/zor.h"

namespace {

// The elements of a parsed syntax, such as "N4 ,1 #2 .1 "; empty when it does not parse.
std::string parsed(const char *syntax) {
    ZOR_NAME_ELEMENT *array = nullptr;
    if (ZOR_parse_name_syntax(syntax, &array, 2) == 0) // behind two cleared records
        return "";
    EXPECT_TRUE(array[0].four == 0 && array[1].text == nullptr);
    std::string outline;
    const char *text = array[2].text;
    for (int i = 2; outline.find('.') > outline.size(); text += array[i++].length) {
        EXPECT_TRUE(array[i].text == text && array[i].four == 4);
        EXPECT_EQ(std::tolower(*text), *text); // the work copy is lowered
        outline += ".E?#N,"[array[i].kind] + std::to_string(array[i].length) + " ";
    }
    EXPECT_EQ(text[-1], '\0') << "where the end record stands";
    ERR_free(array);
    return outline;
}

// Without elements a syntax is invalid.
void check_syntax(const std::string &text, const std::string &elements, int ends_ext) {
    const char *syntax = text.c_str();
    const bool valid = !elements.empty();
    const int32_t failure = text.empty() ? ZOR_E_EMPTY_SYNTAX : ZOR_E_SYNTAX;
    SCOPED_TRACE(text);
    zor__err = 1;
    EXPECT_EQ(ZOR_name_syntax_verify(syntax) != 0, valid);
    EXPECT_EQ(zor__err, valid ? ZOR_OK : failure);
    EXPECT_EQ(ZOR_name_syntax_has_ext(syntax) != 0, elements.find('E') < 100);
    EXPECT_EQ(parsed(syntax), elements);
    EXPECT_EQ(zor__err, valid ? ZOR_OK : ZOR_E_SYNTAX);
    EXPECT_EQ(ZOR_name_syntax_ends_ext(syntax), ends_ext);
    EXPECT_EQ(ZOR_name_syntax_has_frame(syntax) != 0, text.find('#') < 100);
}

TEST(NameSyntax, Grammar) {
    check_syntax("name.####.ext", "N4 ,1 #4 ,1 E3 .1 ", 1);
    check_syntax("NAME_##.EXT", "N4 ,1 #2 ,1 E3 .1 ", 1);
    check_syntax("nameNAMEextname-name", "N8 E3 N4 ,1 N4 .1 ", 0);
    check_syntax("###", "#3 .1 ", 0);
    for (const char *syntax : {"", "ext...", "name.#.#", "nam#", "name.ex"})
        check_syntax(syntax, "", 0);
    for (const char *syntax : {"X.EXT", "name.ext.ext"})
        check_syntax(syntax, "", 1);
    EXPECT_STREQ(ZOR_name_syntax_name(), "name");
    EXPECT_EQ(ZOR_name_syntax_ends_ext(nullptr) + ZOR_name_syntax_has_frame(nullptr), 0);
    EXPECT_EQ(parsed(nullptr), "");
    EXPECT_EQ(ZOR_name_syntax_verify(nullptr) + ZOR_name_syntax_has_ext(nullptr), 0);
    EXPECT_EQ(zor__err, ZOR_E_EMPTY_SYNTAX) << "which only the former sets";
    for (int c = 1; c < 256; ++c) { // of all other characters, only punctuation
        const std::string syntax = std::string("name") + static_cast<char>(c);
        const int literal = c < 128 && std::ispunct(c) != 0 && c != '/' ? 1 : 0;
        EXPECT_EQ(ZOR_name_syntax_verify(syntax.c_str()), literal) << c;
    }
}

// Takes a new path; null becomes "error N" with the status.
std::string taken(char *path) {
    const std::string text = path != nullptr ? path : "error " + std::to_string(zor__err);
    ERR_free(path);
    return text;
}

TEST(Pathname, Build) {
    using Text = const char *;
    const std::tuple<Text, Text, Text, int32_t, Text, Text> cases[] = {
        // without a syntax
        {nullptr, nullptr, "im", -1, ".mox", "im.mox"},
        {"", "d/../e/", "s/im", -1, "", "d/../e/s/im"},
        {nullptr, "/", "im.mox", -1, ".mox", "/im.mox"},
        {nullptr, nullptr, "a.b.MOX", -1, ".mox", "a.b.MOX.mox"},
        {nullptr, "/d", "/abs/im", -1, ".mox", "/abs/im.mox"},
        {nullptr, "/d", "host:im", -1, ".mox", "host:im.mox"},
        {nullptr, "/d", "s/host:im", -1, ".mox", "/d/s/host:im.mox"},
        {nullptr, "/d", "im", 7, ".mox", "/d/im.0007.mox"},
        {nullptr, nullptr, "im.mox", INT32_MAX, ".mox", "im.mox.2147483647.mox"},
        // with one
        {"name.####.ext", "/d", "Im", 7, ".MOX", "/d/Im.0007.MOX"},
        {"NAME_##.Ext", nullptr, "im", 123, "mox", "im_123.mox"},
        {"name.####.ext", nullptr, "im", -1, ".mox", "im.mox"},
        {"name(--####--).ext", nullptr, "im", -2, ".mox", "im--).mox"},
        {"####name", nullptr, "im", -1, ".mox", "im"},
        {"name-name.namename", nullptr, "im", 1, ".mox", "im-im.im"},
        {"#name.ext", "/d", "/abs/im", 1, nullptr, "1/abs/im."},
        // failures: the syntax is looked at first
        {nullptr, "/d", "", -1, ".mox", "error -5"},
        {"####", "/d", "im", -1, ".mox", "error -5"},
        {"name/#", nullptr, "", 1, ".mox", "error -11"}};
    for (const auto &[syntax, directory, base, frame, extension, path] : cases)
        EXPECT_EQ(taken(ZOR_pathname_build(directory, base, frame, extension, syntax)), path);
    EXPECT_EQ(taken(ZOR_pathname_build_from_name_syntax(nullptr, "/d", "im", 1, "")), "error -13");
    EXPECT_EQ(taken(ZOR_pathname_build_no_name_syntax("/d", nullptr, ".mox")), "error -5");
}

TEST(Pathname, OutOfMemoryIsSilent) {
    const ReportLog log;
    static std::string syntax = "name" + std::string(1000, '-');
    const long count = for_each_failing_allocation([&](const Fault &fault) {
        syntax.append(64, '-'); // outgrows the parser's buffer again
        const std::string path = taken(ZOR_pathname_build("d", "im", 1, ".mox", syntax.c_str()));
        EXPECT_EQ(path == "error -10", fault.struck());
    });
    EXPECT_EQ(count, 3);

    const std::string base(1 << 24, 'x');
    std::string many = "name"; // too many for a path
    while (many.size() < 1000)
        many += ".name";
    EXPECT_EQ(taken(ZOR_pathname_build("", base.c_str(), -1, "", many.c_str())), "error -10");
    EXPECT_EQ(log.text(), "");
}

} // namespace
