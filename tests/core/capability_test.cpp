// capability_test.cpp - what drivers offer is completed and checked, and what applications choose
// is compared.
#include <gtest/gtest.h>

#include "core/library.h"
#include "zor/driver.h"

namespace {

class Capabilities : public testing::Test {
protected:
    Library library{"tape", "full", "minimal"};
    ZOR_CAPABILITY *offered = library.variable<ZOR_CAPABILITY>(0, "tape_capabilities");
    ZOR_CAP_ENTRY *entries = library.variable<ZOR_CAP_ENTRY>(0, "tape_entries");
};

TEST_F(Capabilities, AreCompletedAtStartUp) {
    EXPECT_TRUE(library.result == 0 && library.log.reports.empty()) << library.log.text();
    EXPECT_STREQ(offered[0].name, "squeeze") << "the catalogue wins over the name";
    EXPECT_NE(offered[0].name, offered[0].name_default) << "a private copy";
    EXPECT_STREQ(entries[1].name, "some");
    EXPECT_EQ(offered[0].list->num_entries, 3);
    int32_t first = -1;
    int32_t second = -1;
    EXPECT_EQ(ZOR_info_num_specific(&first, &second), 6);
    EXPECT_TRUE(first == 5 && second == 6) << "the largest of all drivers";
    EXPECT_STREQ(ZOR_info()->key, "tape") << "the enumeration starts at the front";

    entries[1].name_default = nullptr;
    library.restart();
    EXPECT_EQ(library.result, 0) << "a nameless entry does not stop the start";
    EXPECT_EQ(library.log.last(), "tape: no name field was found for capability 0's list entry "
                                  "number 1 of this image driver");
    EXPECT_STREQ(ZOR_find("tape")->key, "tape");
    entries[1].name_default = "some";
    offered[1].name = nullptr;
    library.restart();
    EXPECT_EQ(library.log.last(), "tape: no name field was found for capability 1 of this image "
                                  "driver");
    ZOR_exit();
    EXPECT_STREQ(offered[0].name, "press") << "the copies are gone";
}

TEST_F(Capabilities, WithABadDefaultStopTheProcess) {
    offered[0].list->default_value = 8;
    EXPECT_DEATH(library.restart(), "tape: capability `squeeze' has invalid list default 8");
}

TEST_F(Capabilities, AreReachedByKeyOrFormat) {
    const ZOR_FORMAT *const minimal = ZOR_find("minimal");
    const ZOR_FORMAT *const tape = ZOR_find("tape"); // its function switches one of them
    ZOR_CAPABILITY *list = nullptr;
    int32_t numbers[3] = {-1, -1, -1};
    const auto ask = [&](const char *key, const ZOR_FORMAT *format) {
        ZOR_info_get_specific(key, format, &list, numbers, numbers + 1, numbers + 2);
        return std::tuple(list, numbers[0], numbers[1], numbers[2]);
    };
    ZOR_CAPABILITY *const none = nullptr;
    EXPECT_EQ(ask("nobody", tape), std::tuple(none, -1, -1, -1)) << "untouched";
    EXPECT_TRUE(library.log.has_only(ZOR_MSG_UNKNOWN_KEY));
    EXPECT_EQ(ask(nullptr, tape), std::tuple(offered, 3, -2, 2));
    EXPECT_EQ(ask("full", nullptr), std::tuple(none, 5, 6, 0));
    for (const ZOR_FORMAT *format : {minimal, ZOR_find("nobody")})
        EXPECT_EQ(ask(nullptr, format), std::tuple(none, 0, 0, 0));

    EXPECT_EQ(ZOR_capabilities_available(tape, 0, 1), 0) << "it is available";
    EXPECT_EQ(ZOR_capabilities_available(tape, 0, 0), 1);
    EXPECT_EQ(offered[0].flags, ZOR_CAP_UNAVAILABLE);
    EXPECT_EQ(ZOR_capabilities_available(tape, 1, 2), 1);
    EXPECT_EQ(ZOR_capabilities_available(minimal, 0, 0), 0);
}

int compare(std::vector<ZOR_CAP_SETTING> a, std::vector<ZOR_CAP_SETTING> b) {
    std::vector<ZOR_CAP_SETTING *> lists[2];
    for (ZOR_CAP_SETTING &setting : a)
        lists[0].push_back(&setting);
    for (ZOR_CAP_SETTING &setting : b)
        lists[1].push_back(&setting);
    for (auto &list : lists)
        list.push_back(nullptr);
    ZOR_CAP_SETTING **copy = ZOR_cap_setting_copy(lists[0].data()); // null for an empty one
    const int result = ZOR_cap_setting_compare(copy, lists[1].data());
    for (ZOR_CAP_SETTING **setting = copy; copy != nullptr && *setting != nullptr; ++setting)
        ERR_free(*setting);
    ERR_free(copy);
    return result;
}

TEST(CapabilitySettings, AreComparedInOrder) {
    const ReportLog log;
    const ZOR_CAP_SETTING one = {0, 0, {1}};
    const ZOR_CAP_SETTING two = {0, 0, {2}};
    const ZOR_CAP_SETTING zero = {1, 0, {0}};
    const ZOR_CAP_SETTING minus_zero = {1, 0, {INT32_MIN}}; // the bits of that float
    const ZOR_CAP_SETTING nan = {1, 0, {0x7FC00000}};
    const ZOR_CAP_SETTING odd = {7, 0, {1}};
    EXPECT_TRUE(compare({}, {}) == 1 && compare({}, {one}) == 0 && compare({one}, {}) == 0);
    EXPECT_TRUE(compare({one}, {one}) == 1 && compare({one}, {two}) == 0);
    EXPECT_EQ(compare({one, two}, {one, two}), 1) << "the search goes on behind the first match";
    EXPECT_EQ(compare({one, zero}, {zero, one}), 0);
    EXPECT_EQ(compare({zero}, {one, minus_zero}), 1) << "there may be more";
    EXPECT_EQ(compare({one, zero}, {one}), 0);
    EXPECT_EQ(compare({nan}, {nan}), 0);
    EXPECT_TRUE(log.reports.empty());
    EXPECT_EQ(compare({odd}, {odd}), 0);
    EXPECT_TRUE(log.has_only(ZOR_MSG_UNKNOWN_CAPABILITY));

    ZOR_CAP_SETTING *fresh = ZOR_cap_setting_alloc(2);
    EXPECT_TRUE(fresh[1].code == 65535 && fresh[1].value.number == 0);
    ERR_free(fresh);
}

} // namespace
