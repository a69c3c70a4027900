// filename_test.cpp - file names: their pieces, clean, absolute, relative and expanded forms.
#include <gtest/gtest.h>

#include <random>

#include "support/system.h"
#include "texts.h"
#include "zor/str.h"

namespace {

TEST(FileNames, Pieces) {
    const auto of = [](const auto function, const char *name) -> std::string {
        auto text = block(name);
        const char *piece = function(text.data());
        return piece != nullptr ? piece : "(none)";
    };
    EXPECT_EQ(of(STR_tail, "/a/b.c") + of(STR_tail, "a"), "b.ca");
    EXPECT_EQ(of(STR_head, "/a") + of(STR_head, "a/b//c") + of(STR_head, "a"), "a/b(none)");
    EXPECT_EQ(of(STR_extension, "/a.b/c") + of(STR_extension, "a"), "b/c(none)");
    EXPECT_EQ(of(STR_root, "a.b.c") + of(STR_root, "a"), "a.ba");
    EXPECT_EQ(of(STR_host, "h:g:/a") + of(STR_host, ":x"), "h(none)");
    EXPECT_EQ(of(STR_host, "a/h:") + of(STR_host, ""), "(none)(none)");
    EXPECT_EQ(of(STR_host_remove, "h:g:a/b:c"), "a/b:c");
    char host[] = "..";
    EXPECT_EQ(STR_filename_host(host, "a/h:x"), 0);
    EXPECT_EQ(STR_filename_host(nullptr, ":x"), 1);
    EXPECT_EQ(STR_filename_host(host, ":x"), reinterpret_cast<intptr_t>(host));
    EXPECT_STREQ(host, "");
}

std::string clean(const std::string &name) {
    auto text = block(name, 1);
    return STR_filename_clean(text.data());
}

TEST(FileNames, CleanForm) {
    // clang-format off
    const std::pair<const char *, const char *> forms[] = {
        {"a//b/./c/../d/", "a/b/d"}, {"../x/..", ".."}, {"a/../../..", "../.."}, {"a/..", "."},
        {"./.a/b../...", ".a/b../..."}, {"//.././../a/", "/a"}, {"/a/..", "/"}, {"/", "/"},
        {"h:", "h:."}, {"h:/..//a", "h:/a"}, {"h:a/../..", "h:.."}, {"h/../g:a", "g:a"},
        {"./", "."}, {"", "."}, {":a//b", ":a/b"}, {"h:g:/..", "h:."}, {"../../a/..", "../.."}};
    // clang-format on
    for (const auto &[name, result] : forms)
        EXPECT_EQ(clean(name), result) << name;
}

struct Form {
    const char *directory, *name, *result;
};

std::string absolute(const std::string &directory, const std::string &name) {
    auto out = block(directory + name, 1);
    STR_filename_absolute(out.data(), directory.c_str(), name.c_str());
    return out.data();
}

std::string relative(const std::string &directory, const std::string &name) {
    auto out = block(name, 6);
    STR_filename_relative(out.data(), directory.c_str(), name.c_str());
    return out.data();
}

TEST(FileNames, AbsoluteForm) {
    // clang-format off
    const Form forms[] = {
        {"/a/b/c", "../../d", "/a/d"}, {"/a/b/c", "../../../../d", "/d"}, {"/a/b/", "..", "/a"},
        {"/a", "..", "/"}, {"/a/", ".//b", "/a/b"}, {"/", "../d", "/d"}, {"/a", ".", "/a"},
        {"/a", "b/../c", "/a/b/../c"}, {"/a", "h:b", "h:b"}, {"/a", "..b", "/a/..b"},
        {"/a", "/b/..", "/b/.."}, {"/a", "", ""}, {"/a", "./.././b", "/b"}, {"", "b", "/b"}};
    // clang-format on
    for (const auto &[directory, name, result] : forms)
        EXPECT_EQ(absolute(directory, name), result) << directory << " " << name;
}

TEST(FileNames, RelativeForm) {
    const Form forms[] = {{"/a/b/c", "/a/b/d/e", "../d/e"}, {"/a/b", "/a/b//c", "c"},
                          {"/a/b", "/c/d", "/c/d"},         {"/a/b/", "/a/c", "/a/c"},
                          {"/a/b/c", "/x", "/x"},           {"/a/b/c/d", "/a/b/x", "../../x"},
                          {"/a/b/cd", "/a/b/ce", "../ce"},  {"/a/b/c", "/a/b/cd", "../cd"},
                          {"/a/b/c", "/a/b", "../"},        {"/a/b/c", "/a/b/c", ""},
                          {"/a/b/c", "h:/a", "h:/a"},       {"/a", "", ""}};
    for (const auto &[directory, name, result] : forms)
        EXPECT_EQ(relative(directory, name), result) << directory << " " << name;

    // Whatever the form, it leads back to the name.
    std::mt19937 random(3);
    const auto rooted = [&random] {
        std::string text(1 + random() % 12, '/');
        for (char &c : text)
            c = "//ab"[random() % 4];
        return clean("/" + text);
    };
    for (int round = 0; round < 20000; ++round) {
        const std::string directory = rooted(), name = rooted();
        const std::string form = relative(directory, name);
        ASSERT_EQ(form.empty() ? directory : clean(absolute(directory, form)), name) << directory;
    }
}

std::string expand(const std::string &text, int found) {
    char *result = nullptr;
    EXPECT_EQ(STR_expand_filename(text.c_str(), &result), found) << text;
    return take(result);
}

TEST(FileNames, ExpandedForm) {
    set_variable("ZOR_A1", "v$ZOR_A1");
    EXPECT_EQ(expand(" \t/a b/~$ZOR_A1/${ZOR_A1}y", 1), "/a b/~v$ZOR_A1/v$ZOR_A1y");
    EXPECT_EQ(expand("${ZOR_A1/$ZOR_A1}", 1), "v$ZOR_A1/v$ZOR_A1}"); // braces need not pair
    EXPECT_EQ(expand("$ZOR_A1/${ZOR_NONE}/x", 0) + expand("a$\xE4", 0), "ZOR_NONE");
    // Too long a name or text is cut.
    const std::string x(600, 'x');
    EXPECT_EQ(expand("$" + x, 0), x.substr(0, 259));
    set_variable("ZOR_A1", x.c_str());
    EXPECT_EQ(expand("ab$ZOR_A1/c$ZOR_A1", 1), "ab" + x.substr(0, 257));
}

} // namespace
