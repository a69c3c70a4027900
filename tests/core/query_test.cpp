// query_test.cpp - looking formats up, and probing files for theirs.
#include <gtest/gtest.h>

#include <functional>

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
}

TEST(Queries, NameUnknownKeysByThemselves) {
    const Library library({});
    char key[] = "nobody";
    EXPECT_EQ(ZOR_name_from_key(key), key);
    EXPECT_TRUE(library.log.has_only(ZOR_MSG_UNKNOWN_KEY));
    EXPECT_EQ(ZOR_name_from_key(nullptr), nullptr);
    EXPECT_STREQ(ZOR_def_key(), "mox");
    EXPECT_STREQ(ZOR_def_base_name(), "im");
}

TEST(Queries, ProbeWithEveryFormatThatCanTest) {
    unsigned char tried = 7;
    {
        const Library library({});
        EXPECT_STREQ(ZOR_get_file_type(text_yes, nullptr, &tried), "__none_");
        EXPECT_EQ(tried, 1);
        EXPECT_EQ(ZOR_info(), nullptr);
    }
    {
        const Library library({"full"});
        EXPECT_STREQ(ZOR_get_file_type(text_yes, nullptr, &tried), "full");
        EXPECT_STREQ(ZOR_get_file_type(text_other, nullptr, &tried), "__none_")
            << "exactly 1 counts";
        EXPECT_STREQ(ZOR_is_file_type(text_other, nullptr, "full", &tried), "full")
            << "anything but 0 counts";
        EXPECT_STREQ(ZOR_is_file_type(text_yes, nullptr, nullptr, &tried), "full");
        EXPECT_EQ(ZOR_is_file_type(text_yes, nullptr, "other", &tried), nullptr);
        EXPECT_EQ(tried, 1);
    }
    {
        const Library library({"minimal", "full"});
        EXPECT_EQ(ZOR_get_file_type(text_no, nullptr, &tried), nullptr) << "minimal cannot test";
        EXPECT_EQ(tried, 0);
        EXPECT_EQ(ZOR_is_file_type(text_yes, nullptr, "minimal", &tried), nullptr);
        EXPECT_EQ(tried, 0);
        EXPECT_STREQ(ZOR_info()->key, "minimal") << "what finds nothing leaves the cursor";
        EXPECT_STREQ(ZOR_get_file_type(text_yes, nullptr, &tried), "full");
        EXPECT_EQ(ZOR_info(), nullptr) << "what finds moves it behind the match";
        EXPECT_STREQ(ZOR_is_file_type(text_yes, nullptr, "full", &tried), "full");
        EXPECT_EQ(tried, 1);
    }
}

TEST(Queries, ReachADriversCapabilities) {
    const Library library({"full", "minimal"});
    ZOR_CAPABILITY *list;
    int32_t first = -1;
    int32_t second = -1;
    int32_t count = -1;
    ZOR_info_get_specific("nobody", nullptr, &list, &first, &second, &count);
    EXPECT_TRUE(library.log.has_only(ZOR_MSG_UNKNOWN_KEY));
    EXPECT_EQ(first, -1) << "untouched";
    ZOR_info_get_specific("full", nullptr, &list, &first, &second, &count);
    EXPECT_EQ(first, 5);
    EXPECT_EQ(second, 6);
    for (const ZOR_FORMAT *format :
         {ZOR_find("minimal"), static_cast<const ZOR_FORMAT *>(nullptr)}) {
        ZOR_info_get_specific(nullptr, format, &list, &first, &second, &count);
        EXPECT_TRUE(list == nullptr && first == 0 && second == 0 && count == 0);
    }
}

TEST(Queries, StartTheLibraryOnDemand) {
    ReportLog log;
    ERR_unmask_s(ERR_DEBUG);
    unsigned char tried;
    const std::pair<const char *, std::function<void()>> queries[] = {
        {"ZOR_info", [] { ZOR_info(); }},
        {"ZOR_find", [] { ZOR_find(""); }},
        {"ZOR_find", [&] { ZOR_get_file_type(text_no, nullptr, &tried); }},
        {"ZOR_find", [&] { ZOR_is_file_type(text_no, nullptr, "x", &tried); }},
        {"ZOR_def_key", [] { ZOR_def_key(); }},
        {"ZOR_def_base_name", [] { ZOR_def_base_name(); }},
        {"ZOR_open", [] { ZOR_open(nullptr, "x"); }},
    };
    for (const auto &[name, ask] : queries) {
        log.clear();
        ask();
        EXPECT_EQ(log.reports.at(0).message, // before whatever comes of it
                  std::string("zor, initializing database for ") + name + " request");
        ZOR_exit();
    }
    ERR_mask_s(ERR_DEBUG);
}

} // namespace
