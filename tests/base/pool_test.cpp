// pool_test.cpp - arenas, short strings, free lists, and containers without memory.
#include <cstring>
#include <gtest/gtest.h>
#include <tuple>
#include <vector>

#include "base/base/dst_array.h"
#include "base/base/dst_dllist.h"
#include "base/base/dst_memory.h"
#include "base/dst/dst_purge.h"
#include "base/dst/dst_queue.h"
#include "support/fault.h"
#include "support/report_log.h"

namespace {

constexpr size_t word = sizeof(void *);

TEST(Arena, TakesBlocksOfItsSizeOrLarger) {
    using Sizes = std::vector<size_t>;
    static Sizes asked; // what the system was asked for
    const std::tuple<int32_t, Sizes, Sizes> cases[] = {
        {0, {511 - word, 1}, {512, 512}},
        {word - 1, {512 - word}, {512}},
        {10, {word}, {word == 4 ? 16U : 24U}},
        {0, {513 - word}, {512 + word}}, // link and request must both fit
        {-5, {600, 8}, {600 + word, 512}},
        {0, {512 - 3 * word, word + 1, 1}, {512, 512}}}; // the first two fill it exactly
    for (const auto &[block_size, requests, blocks] : cases) {
        dst_arena *arena = dst_arena_create(block_size);
        zor::set_allocator({[](size_t size) { return std::malloc(asked.emplace_back(size)); },
                            std::realloc, std::free});
        asked.clear();
        for (const size_t size : requests)
            std::memset(dst_arena_alloc(arena, size), 0xAA, size);
        EXPECT_EQ(asked, blocks);
        zor::set_allocator({std::malloc, std::realloc, std::free});
        dst_arena_destroy(arena);
    }
}

TEST(ShortStrings, OfEveryLengthHoldTheirCharacters) {
    std::vector<char *> strings;
    const auto text = [](size_t n) { return std::string(n, static_cast<char>('a' + n % 26)); };
    for (size_t n = 0; n <= 1021; ++n)
        strings.push_back(dst_string_dup(text(n).c_str()));
    for (size_t n = 0; n < strings.size(); ++n) {
        EXPECT_EQ(strings[n], text(n));
        dst_string_release(strings[n]);
        dst_string_purge(); // others are in use
    }
    EXPECT_TRUE(dst_string_alloc(-1) == nullptr && dst_string_dup(text(1022).c_str()) == nullptr);
    char *released = dst_string_dup(text(30).c_str());
    dst_string_release(released);
    EXPECT_EQ(dst_string_alloc(61), released) << "of the same class";
    EXPECT_STREQ(released, "");
    dst_string_release(released);
}

TEST(Purge, EmptiesAllCachesButTheNameEntries) {
    dst_purge();
    Fault fault(0);
    for (auto *list : {&dst_tables.tree_nodes, &dst_tables.entries, &dst_tables.name_entries})
        list->head = dst_freelist_release(ERR_malloc(word), list->head);
    dst_purge();
    EXPECT_EQ(fault.live(), 1);
    dst_tables.name_entries.head = dst_freelist_purge(dst_tables.name_entries.head);
}

TEST(Containers, ReportExhaustionOnceAndLeakNothing) {
    ReportLog log;
    dst_purge();
    const auto scenario = [&](const Fault &fault) {
        log.clear();
        int expected = 0;
        void *storage = nullptr;
        dst_list_destroy(dst_list_create());
        dst_dllist_destroy(dst_dllist_create());
        if (dst_array *array = dst_array_create(3, 2, 8, &storage); array != nullptr) {
            const bool grown = dst_array_grow(array, 5, &storage) == 1;
            EXPECT_TRUE(array->count == (grown ? 8 : 3) && array->capacity == (grown ? 8 : 4));
            dst_array_free(array, &storage);
        }
        if (dst_arena *arena = dst_arena_create(4 * word); arena != nullptr) {
            dst_list_create_in(arena);
            dst_dllist_create_in(arena);
            EXPECT_STREQ(dst_arena_strdup(arena, "x"), "x");
            EXPECT_EQ(dst_arena_alloc(arena, SIZE_MAX - word), nullptr) << "must not wrap around";
            dst_arena_destroy(arena);
            expected = 1; // for the line above
        }
        if (dst_queue *queue = dst_queue_create(); queue != nullptr) {
            const int pushed = dst_queue_push_back(queue, &log) != nullptr ? 1 : 0;
            EXPECT_EQ(dst_queue_destroy(queue, nullptr, nullptr), pushed);
        }
        dst_string_release(dst_string_dup("text"));
        dst_purge();
        EXPECT_EQ(log.count(ZOR_MSG_NO_MEMORY), expected + (fault.struck() ? 1 : 0));
        EXPECT_EQ(fault.live(), 0);
    };
    EXPECT_EQ(for_each_failing_allocation(scenario, Failing::single), 11);
}

} // namespace
