// frames_test.cpp - frame lists and the file names of sequences.
#include <gtest/gtest.h>

#include "zor/frames.h"
#include "zor/pattern.h"

namespace {

TEST(FrameList, NamesSingleFramesRangesAndSteps) {
    using Frames = std::vector<int32_t>;
    const std::pair<const char *, Frames> cases[] = {
        {"7", {7}},
        {"1-3,10,8-9", {1, 2, 3, 10, 8, 9}},
        {"3-1", {3, 2, 1}},
        {"1-8x3,8-1x4", {1, 4, 7, 8}}, // the second 4 is known
        {"1-5x9", {1}},
        {"-2-1,-5--4", {-2, -1, 0, 1, -5, -4}},
        {"1-4,2-5,5-1", {1, 2, 3, 4, 5}},
        {"2147483646-2147483647", {2147483646, 2147483647}},
        {"2147483647--2147483648x2147483647", {2147483647, 0, -2147483647}}};
    std::string problem;
    for (const auto &[text, expected] : cases) {
        auto list = zor::FrameList::parse(text, problem);
        Frames frames;
        while (const auto frame = list->next())
            frames.push_back(static_cast<int32_t>(*frame));
        EXPECT_EQ(frames, expected) << text;
    }
    // No memory goes to what is not reached.
    auto list = zor::FrameList::parse("-2147483648-2147483647,1-2147483647x2147483647", problem);
    EXPECT_EQ(list->left(), (uint64_t{1} << 32) + 1);
    EXPECT_EQ(list->next(), INT32_MIN);
    EXPECT_EQ(list->left(), uint64_t{1} << 32);
    EXPECT_EQ(problem, "");
}

TEST(FrameList, RefusesEverythingElse) {
    for (const char *text :
         {"",     ",",      "1,",      ",1",         "1-",          "-",
          "--1",  "1--",    "x",       "1x2",        "1-2x",        "1-2x0",
          "1 ",   "1-2x-1", "1-2-3",   " 1",         "1;2",         "+1",
          "0x10", "1.5",    "1-2x3x4", "2147483648", "-2147483649", "1-99999999999999999999"}) {
        std::string problem;
        EXPECT_FALSE(zor::FrameList::parse(text, problem).has_value()) << text;
        EXPECT_NE(problem, "");
    }
}

TEST(FramePattern, PadsAndGrows) {
    const auto pattern = zor::FramePattern::parse("a#b/c.###.d");
    ASSERT_TRUE(pattern.has_value());
    EXPECT_EQ(pattern->path(7), "a#b/c.007.d");
    EXPECT_EQ(pattern->path(1000), "a#b/c.1000.d");
    EXPECT_EQ(pattern->path(-1), "a#b/c.-001.d");
    EXPECT_EQ(pattern->path(INT32_MIN), "a#b/c.-2147483648.d");
    for (const char *none : {"a.mox", "a#b/c", "#/", "", "a.##.#"})
        EXPECT_FALSE(zor::FramePattern::parse(none).has_value()) << none;
    EXPECT_TRUE(zor::FramePattern::is_one("a.##.#"));
    EXPECT_FALSE(zor::FramePattern::is_one("a#b/c"));
}

} // namespace
