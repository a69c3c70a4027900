// name_syntax_test.cpp - the grammar of name syntaxes.
#include <cctype>
#include <string>

#include <gtest/gtest.h>

#include "zor/zor.h"

namespace {

// The elements of a parsed syntax, such as "N4 ,1 #2 .1 "; empty when it does not parse.
std::string parsed(const char *syntax) {
    ZOR_NAME_ELEMENT *array = nullptr;
    const int done = ZOR_parse_name_syntax(syntax, &array, 2); // behind two cleared records
    std::string outline;
    const char *text = done != 0 ? array[2].text : nullptr;
    for (int i = 0; done != 0 && i < 2; ++i)
        EXPECT_TRUE(array[i].four == 0 && array[i].text == nullptr);
    for (int i = 2; done != 0; text += array[i++].length) {
        EXPECT_EQ(array[i].text, text);
        EXPECT_EQ(array[i].four, 4);
        EXPECT_EQ(std::tolower(*text), *text); // the work copy is lowered
        outline += ".E?#N,"[array[i].kind] + std::to_string(array[i].length) + " ";
        if (array[i].kind == ZOR_NAME_END)
            break;
    }
    EXPECT_STREQ(text, done != 0 ? "" : nullptr); // the end record stands on the terminator
    ERR_free(array);
    return outline;
}

TEST(NameSyntax, Grammar) {
    const struct {
        std::string syntax, elements; // no elements: invalid
        int ends_ext;
    } cases[] = {
        {"name.####.ext", "N4 ,1 #4 ,1 E3 .1 ", 1},
        {"NAME_##.EXT", "N4 ,1 #2 ,1 E3 .1 ", 1},
        {"nameNAMEextname-name", "N8 E3 N4 ,1 N4 .1 ", 0},
        {"###", "#3 .1 ", 0},
        {"ext...", "", 0},
        {"X.EXT", "", 1},
        {"name.#.#", "", 0},
        {"name.ext.ext", "", 1},
        {"nam#", "", 0},
        {"name.ex", "", 0},
        {"", "", 0},
    };
    for (const auto &expected : cases) {
        const char *syntax = expected.syntax.c_str();
        const int valid = expected.elements.empty() ? 0 : 1;
        const int32_t failure = *syntax != '\0' ? ZOR_E_SYNTAX : ZOR_E_EMPTY_SYNTAX;
        zor__err = 1;
        EXPECT_EQ(ZOR_name_syntax_verify(syntax), valid) << syntax;
        EXPECT_EQ(zor__err, valid != 0 ? ZOR_OK : failure) << syntax;
        EXPECT_EQ(ZOR_name_syntax_has_ext(syntax) != 0, expected.elements.find('E') < 100)
            << syntax;
        EXPECT_EQ(zor__err, valid != 0 ? ZOR_OK : failure) << syntax;
        EXPECT_EQ(parsed(syntax), expected.elements);
        EXPECT_EQ(zor__err, valid != 0 ? ZOR_OK : ZOR_E_SYNTAX) << syntax;
        EXPECT_EQ(ZOR_name_syntax_ends_ext(syntax), expected.ends_ext) << syntax;
        EXPECT_EQ(ZOR_name_syntax_has_frame(syntax) != 0, expected.syntax.find('#') < 100);
    }
    EXPECT_STREQ(ZOR_name_syntax_name(), "name");
    EXPECT_EQ(ZOR_name_syntax_ends_ext(nullptr) + ZOR_name_syntax_has_frame(nullptr), 0);
    EXPECT_EQ(parsed(nullptr), "");
    EXPECT_EQ(ZOR_name_syntax_verify(nullptr), 0);
    EXPECT_EQ(zor__err, ZOR_E_EMPTY_SYNTAX);
    zor__err = 1;
    EXPECT_EQ(ZOR_name_syntax_has_ext(nullptr), 0);
    EXPECT_EQ(zor__err, 1);
    for (size_t n = 1; n < 100; ++n) // the buffer grows
        EXPECT_EQ(parsed(std::string(n, '#').c_str()), '#' + std::to_string(n) + " .1 ");
    for (int c = 1; c < 256; ++c) { // of all other characters, only punctuation
        const std::string syntax = std::string("name") + static_cast<char>(c);
        const int literal = c < 128 && std::ispunct(c) != 0 && c != '/' ? 1 : 0;
        EXPECT_EQ(ZOR_name_syntax_verify(syntax.c_str()), literal) << c;
    }
}

} // namespace
