// filename_test.cpp - file names: their pieces, clean, absolute, relative and expanded forms.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "support/system.h"
#include "texts.h"
#include "zor/str.h"

namespace {

TEST(FileNames, Pieces) {
    EXPECT_STREQ(STR_tail("/a/b.c"), "b.c");
    EXPECT_STREQ(STR_tail("a"), "a");
    EXPECT_STREQ(STR_head(block("/a").data()), "");
    EXPECT_STREQ(STR_head(block("a/b//c").data()), "a/b");
    EXPECT_EQ(STR_head(block("a").data()), nullptr);
    EXPECT_STREQ(STR_extension("/a.b/c"), "b/c");
    EXPECT_EQ(STR_extension("a"), nullptr);
    EXPECT_STREQ(STR_root(block("a.b.c").data()), "a.b");
    EXPECT_STREQ(STR_root(block("a").data()), "a");
    EXPECT_STREQ(STR_host(block("h:g:/a").data()), "h");
    for (const char *name : {":x", "a/h:", ""})
        EXPECT_EQ(STR_host(block(name).data()), nullptr) << name;
    EXPECT_STREQ(STR_host_remove("h:g:a/b:c"), "a/b:c");
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

// The same by other means.
std::string clean_otherwise(const std::string &name) {
    const size_t colon = name.find(':');
    const size_t host = colon < name.find('/') ? colon + 1 : 0;
    const bool rooted = name[host] == '/';
    std::vector<std::string> parts;
    std::istringstream rest(name.substr(host));
    for (std::string part; std::getline(rest, part, '/');) {
        const bool can_go_up = !parts.empty() && parts.back() != "..";
        if (part == ".." && can_go_up)
            parts.pop_back();
        else if (part != "" && part != "." && (part != ".." || !rooted))
            parts.push_back(part);
    }
    std::string result = name.substr(0, host) + (rooted ? "/" : parts.empty() ? "." : "");
    for (size_t i = 0; i < parts.size(); ++i)
        result.append(i > 0 ? "/" : "").append(parts[i]);
    return result;
}

TEST(FileNames, CleanForm) {
    EXPECT_EQ(clean("a//b/./c/../d/"), "a/b/d");
    EXPECT_EQ(clean("h:") + clean("../x/.."), "h:...");
    std::mt19937 random(2);
    for (int round = 0; round < 20000; ++round) {
        const std::string name = random_text(random, "//...a:", 14);
        ASSERT_EQ(clean(name), clean_otherwise(name)) << name;
    }
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
        return clean(std::string("/").append(random_text(random, "//ab", 12)));
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
