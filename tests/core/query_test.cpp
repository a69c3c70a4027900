// query_test.cpp - looking formats up, and probing files for theirs.
#include <gtest/gtest.h>

#include "core/library.h"

namespace {

char text_yes[] = "\x01";
char text_other[] = "\x07"; // an answer that is neither 0 nor 1
char text_no[] = "";

TEST(Queries, FindMovesTheEnumerationOnlyWhenItFinds) {
    const Library library({"minimal", "full", "twin_1"});
    EXPECT_STREQ(ZOR_info()->key, "minimal");
    EXPECT_EQ(ZOR_find("FULL"), nullptr) << "case counts";
    EXPECT_EQ(ZOR_find("full "), nullptr);
    EXPECT_STREQ(ZOR_info()->key, "full");
    EXPECT_EQ(ZOR_find(".full"), ZOR_find("full"));
    EXPECT_STREQ(ZOR_info()->key, "twin");
    char key[] = "nobody";
    EXPECT_EQ(ZOR_name_from_key(key), key) << "the best there is";
    EXPECT_TRUE(library.log.has_only(ZOR_MSG_UNKNOWN_KEY));
    EXPECT_EQ(ZOR_name_from_key(nullptr), nullptr);
}

// What a probe answers, "-" for null, and whether all formats could test. Without a key it asks for
// the file's type.
std::string probe(char *name, const char *key = "") {
    unsigned char tried = 7;
    const char *type = key != nullptr && *key == '\0'
                           ? ZOR_get_file_type(name, nullptr, &tried)
                           : ZOR_is_file_type(name, nullptr, key, &tried);
    return (type != nullptr ? type : "-") + std::to_string(tried);
}

TEST(Queries, ProbeWithEveryFormatThatCanTest) {
    EXPECT_EQ((Library({}), probe(text_yes)), "__none_1");
    {
        const Library library({"full"});
        EXPECT_EQ(probe(text_yes), "full1");
        EXPECT_EQ(probe(text_other), "__none_1") << "exactly 1 counts";
        EXPECT_EQ(probe(text_other, "full"), "full1") << "anything but 0 counts";
        EXPECT_EQ(probe(text_yes, nullptr), "full1");
        EXPECT_EQ(probe(text_yes, "other"), "-1");
    }
    const Library library({"minimal", "full"});
    EXPECT_EQ(probe(text_no), "-0") << "minimal cannot test";
    EXPECT_EQ(probe(text_yes, "minimal"), "-0");
    EXPECT_STREQ(ZOR_info()->key, "minimal") << "what finds nothing leaves the cursor";
    EXPECT_EQ(probe(text_yes), "full0");
    EXPECT_EQ(ZOR_info(), nullptr) << "what finds moves it behind the match";
    EXPECT_EQ(probe(text_yes, "full"), "full1");
}

TEST(Queries, StartTheLibraryOnDemand) {
    ReportLog log;
    ERR_unmask_s(ERR_DEBUG);
    void (*const queries[])() = {[] { ZOR_info(); },
                                 [] { ZOR_find(""); },
                                 [] { probe(text_no); },
                                 [] { probe(text_no, "x"); },
                                 [] { EXPECT_STREQ(ZOR_def_key(), "mox"); },
                                 [] { EXPECT_STREQ(ZOR_def_base_name(), "im"); },
                                 [] { ZOR_open(nullptr, "x"); }};
    for (const auto &ask : queries) {
        log.clear();
        ask();
        ASSERT_FALSE(log.reports.empty()) << &ask - queries;
        EXPECT_EQ(log.reports[0].message.find("zor, initializing database for ZOR_"), 0U);
        ZOR_exit();
    }
    ERR_mask_s(ERR_DEBUG);
}

} // namespace
