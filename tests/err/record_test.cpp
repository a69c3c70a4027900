// record_test.cpp - record reports, and the handlers they pass along.
#include <gtest/gtest.h>
#include <tuple>

#include "support/fault.h"
#include "support/report_log.h"

namespace {

ERR_OBJECT make_record(const char *name, const char *text) {
    ERR_OBJECT record = {};
    record.severity = ERR_WARNING;
    record.name = name;
    record.text = text;
    return record;
}

TEST(Record, ExpandsOnlyWhatItKnowsAndCutsAt255Bytes) {
    ReportLog log;
    const std::string longest(255, 'y');
    const std::pair<const char *, const char *> cases[] = {
        {"%c%d %s%%%f", "A-12 word%0.500000"},
        {"%x %5d %c %d", "%x %5d A -12"}, // unknown ones consume no argument
        {"%c 100%", "A 100%"},
        {nullptr, ""}};
    for (const auto &[text, expected] : cases) {
        ERR_OBJECT record = make_record("expand", text);
        EXPECT_EQ(ERR_report(&record, 'A' + 256, -12, "word", 0.5), 0);
        EXPECT_EQ(log.last(), expected);
        char buffer[64];
        EXPECT_STREQ(ERR_format(buffer, &record, 'A' + 256, -12, "word", 0.5), expected);
    }
    for (const char *text : {"%s%f", "%s%%%c", "%s%"}) {
        ERR_OBJECT record = make_record("cut", text);
        ERR_report(&record, longest.c_str(), 1e300);
        EXPECT_EQ(log.last(), longest);
    }
}

TEST(Record, CountsBeforeMasks) {
    ReportLog log;
    ERR_OBJECT record = make_record("masked", "text");
    const uint32_t before = ERR_stats(ERR_WARNING);
    char buffer[8] = "kept";
    for (ERR_OBJECT *masked : {&record, static_cast<ERR_OBJECT *>(nullptr)}) {
        EXPECT_EQ(ERR_mask(masked), 0);
        EXPECT_EQ(ERR_report(&record), 0);
        EXPECT_STREQ(ERR_format(buffer, &record), "kept");
        EXPECT_EQ(ERR_unmask(masked), 1);
    }
    ERR_mask_s(ERR_WARNING);
    EXPECT_STREQ(ERR_format(buffer, &record), "kept");
    ERR_unmask_s(ERR_WARNING);
    EXPECT_TRUE(log.reports.empty());
    int severity, masked;
    uint32_t count;
    const char *name, *text;
    uintptr_t one, two;
    record.user_word_1 = 11;
    record.user_word_2 = 22;
    EXPECT_EQ(ERR_query(&record, &severity, &masked, &count, &name, &text, &one, &two), 22U);
    EXPECT_EQ(std::tuple(severity, masked, count, name, text, one, two),
              std::tuple(ERR_WARNING, 0, 2U, record.name, record.text, 11U, 22U));
    record.severity = 200; // an unknown one is never masked, nor counted with its kind
    ERR_report(&record);
    EXPECT_EQ(log.reports.size() * 10 + record.count, 13U);
    EXPECT_EQ(ERR_stats(ERR_WARNING), before + 2);
}

TEST(Record, TemplateNamesTheArguments) {
    const char *const names[] = {"width", "height", nullptr};
    ERR_OBJECT record = make_record("fill", "%d%%%x %d %c %f %s%q%");
    record.argument_names = names;
    char buffer[100];
    ERR_mask(&record); // which does not matter here
    EXPECT_STREQ(ERR_format_fill(&record, buffer),
                 "<width>%<height> <integer> <character> <real> <string><unknown type>%");
    record.argument_names = nullptr;
    EXPECT_EQ(std::string(ERR_format_fill(&record, buffer)).find("<integer>%<unknown type> "), 0U);
}

TEST(Record, ComparesPrefixesOfTheName) {
    // text, name, whether its prefix is skipped, sign of the result
    const std::tuple<const char *, const char *, int, int> cases[] = {
        {"ab", "abc", 0, 0},   {"abcd", "abc", 0, 1},    {"aa", "abc", 0, -1},
        {"\xff", "abc", 0, 1}, {"ab", "ERR_:abc", 1, 0}, {"a", "abc", 1, 1},
        {"b", "abc", 0, 1},    {"a", nullptr, 0, 1}};
    for (const auto &[text, name, skip, sign] : cases) {
        const ERR_OBJECT record = make_record(name, "");
        const int order = ERR_compare(text, &record, skip);
        EXPECT_EQ((order > 0) - (order < 0), sign) << text;
    }
}

// Handlers note their letter and end the report when it is the one to stop at.
std::string seen;
char stop_at;

int note(const char *, int, const char *, ERR_OBJECT *, void *data) {
    seen += data == nullptr ? 'c' : *static_cast<char *>(data);
    return seen.back() == stop_at ? 0 : 1;
}

int remove_itself(const char *, int, const char *, ERR_OBJECT *record, void *) {
    return ERR_can_handler(record) == &remove_itself ? 1 : 0;
}

int remove_two(const char *, int, const char *, ERR_OBJECT *, void *) {
    ERR_can_handler(nullptr);
    ERR_can_handler(nullptr);
    return zor__fail(ZOR_E_DECODE, ZOR_MSG_CANNOT_DECODE, 1); // on its way like the other
}

TEST(Handlers, MayRemoveOthersAndReport) {
    char letters[] = "ab";
    seen = "";
    stop_at = 'a';
    ERR_dcl_handler(nullptr, note, letters);
    ERR_dcl_handler(nullptr, note, letters + 1); // gone before its turn
    ERR_dcl_handler(nullptr, remove_two, nullptr);
    ERR_report_cat(nullptr, ZOR_MSG_NO_MEMORY);
    EXPECT_EQ(seen, "aa");
    EXPECT_EQ(ERR_can_handler(nullptr), &note);
}

TEST(Handlers, AreCalledInOrderUntilOneReturnsZero) {
    char letters[] = "abcde";
    ERR_OBJECT record = make_record("handled", "message");
    record.handler = note;
    for (const int i : {1, 0, 4, 3})
        ERR_dcl_handler(i < 2 ? &record : nullptr, note, letters + i);
    for (size_t stop = 0; stop <= 5; ++stop) {
        seen = "";
        stop_at = stop < 5 ? letters[stop] : '-';
        ERR_dcl_handler(&record, remove_itself, nullptr);
        testing::internal::CaptureStderr();
        ERR_report(&record);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), stop < 5 ? "" : "WARNING, message\n");
        EXPECT_EQ(seen, std::string(letters).substr(0, stop + 1));
    }
    EXPECT_TRUE(ERR_can_handler(nullptr) == &note && ERR_can_handler(nullptr) == &note);
    EXPECT_EQ(ERR_can_handler(nullptr), nullptr);
    ReportLog log;
    Fault fault(1, true);
    while (ERR_dcl_handler(&record, note, nullptr) == 1)
        seen += 'n';
    EXPECT_TRUE(log.has_only(ZOR_MSG_NO_MEMORY)) << log.text();
    EXPECT_EQ(seen.back(), 'n') << "released nodes serve again";
    while (ERR_can_handler(&record) != nullptr)
        ;
}

} // namespace
