// frames_test.cpp - frame lists and the file names of sequences.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/files.h"
#include "zor/frames.h"
#include "zor/pattern.h"

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

// The list's frames, at most a few.
std::vector<int64_t> frames_of(const std::string &text) {
    std::string problem;
    auto list = zor::FrameList::parse(text, problem);
    std::vector<int64_t> frames;
    EXPECT_EQ(list.has_value(), problem.empty()) << text;
    while (list.has_value() && frames.size() < 8) {
        const auto frame = list->next();
        if (!frame.has_value())
            break;
        frames.push_back(*frame);
    }
    return frames;
}

TEST(FrameList, NamesSingleFramesRangesAndSteps) {
    EXPECT_THAT(frames_of("7"), ElementsAre(7));
    EXPECT_THAT(frames_of("1-3,10,8-9"), ElementsAre(1, 2, 3, 10, 8, 9));
    EXPECT_THAT(frames_of("3-1"), ElementsAre(3, 2, 1));
    EXPECT_THAT(frames_of("1-8x3,8-1x4"), ElementsAre(1, 4, 7, 8)) << "the second 4 is known";
    EXPECT_THAT(frames_of("1-5x9"), ElementsAre(1));
    EXPECT_THAT(frames_of("-2-1,-5--4"), ElementsAre(-2, -1, 0, 1, -5, -4));
    EXPECT_THAT(frames_of("1-4,2-5,5-1"), ElementsAre(1, 2, 3, 4, 5));
}

TEST(FrameList, RefusesEverythingElse) {
    for (const char *text :
         {"",       ",",     "1,",      ",1",         "1-",          "-",
          "--1",    "1--",   "x",       "1x2",        "1-2x",        "1-2x0",
          "1-2x-1", "1-2-3", "1 ",      " 1",         "1;2",         "+1",
          "0x10",   "1.5",   "1-2x3x4", "2147483648", "-2147483649", "1-99999999999999999999"})
        EXPECT_THAT(frames_of(text), ElementsAre()) << text;
}

TEST(FrameList, TakesNoMemoryForWhatIsNotReached) {
    std::string problem;
    auto list = zor::FrameList::parse("-2147483648-2147483647,1-2147483647x2147483647", problem);
    ASSERT_TRUE(list.has_value());
    EXPECT_EQ(list->left(), (uint64_t{1} << 32) + 1);
    EXPECT_EQ(list->next(), INT32_MIN);
    EXPECT_EQ(list->left(), uint64_t{1} << 32);
    EXPECT_THAT(frames_of("2147483646-2147483647"), ElementsAre(2147483646, 2147483647));
    EXPECT_THAT(frames_of("2147483647--2147483648x2147483647"),
                ElementsAre(2147483647, 0, -2147483647));
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

TEST(FramePattern, FindsTheNamesItMakes) {
    const TempDir temp;
    const std::string directory = temp.path.string();
    for (const char *name : {"c.0010.d", "c.0009.d", "c.-0003.d", "c.10000.d", "c.0000.d", // frames
                             "c.11.d", "c.00012.d", "c.-0000.d", "c.00a1.d", "c.+001.d",
                             "c.0001.dd", "xc.0001.d", "c..d", "c.d", "c.99999999999.d"})
        write_file(fs::path(directory) / name, "");
    fs::create_directory(fs::path(directory) / "c.0099.d");
    const auto pattern = zor::FramePattern::parse(directory + "/c.####.d");
    std::string error;
    EXPECT_THAT(pattern->on_disk(error), ElementsAre(-3, 0, 9, 10, 10000));
    EXPECT_EQ(error, "");
    fs::remove_all(directory);
    EXPECT_THAT(pattern->on_disk(error), ElementsAre());
    EXPECT_NE(error, "");
}

} // namespace
