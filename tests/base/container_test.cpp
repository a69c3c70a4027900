// container_test.cpp - lists, queues, arrays, sorting and merging.
#include <algorithm>
#include <cctype>
#include <gtest/gtest.h>
#include <random>

#include "base/base/dst_array.h"
#include "base/base/dst_dllist.h"
#include "base/dst/dst_queue.h"
#include "base/dst/dst_sort.h"
#include "support/report_log.h"

namespace {

struct Node {
    Node *next, *prev; // prev is the caller's own data in a singly linked list
    char key;
};

// Nodes whose keys differ in case only are equal.
int by_letter(const void *a, const void *b) {
    return std::tolower(static_cast<const Node *>(a)->key) -
           std::tolower(static_cast<const Node *>(b)->key);
}

int collect(void *node, void *keys) {
    *static_cast<std::string *>(keys) += static_cast<Node *>(node)->key;
    return 0; // stops only where asked to
}
int is_unlike(void *node, void *other) { return by_letter(node, other); }

// The keys in order; an empty text when count and links disagree.
std::string keys(dst_list &list) {
    std::string text;
    dst_list_walk(&list, collect, &text, 0);
    const Node *last = static_cast<Node *>(list.last);
    return list.count == std::ssize(text) && last->key == text.back() ? text : "";
}

std::string keys(dst_dllist &list) {
    std::string text;
    std::string backward;
    dst_dllist_walk(&list, nullptr, 0, collect, &text, 0);
    dst_dllist_walk(&list, nullptr, 1, collect, &backward, 0);
    std::reverse(backward.begin(), backward.end());
    return text == backward && list.count == std::ssize(text) ? text : "";
}

TEST(List, KeepsOrderCountAndCursor) {
    Node a{{}, {}, 'a'}, b{{}, {}, 'b'}, c{{}, {}, 'c'}, d{{}, {}, 'd'}, equal{{}, {}, 'B'};
    dst_list list = {};
    EXPECT_TRUE(dst_list_pop_first(&list) == nullptr && dst_list_pop_last(&list) == nullptr);
    for (Node *node : {&c, &a, &d, &b})
        EXPECT_TRUE(dst_list_insert_sorted(&list, node, by_letter, 0));
    EXPECT_FALSE(dst_list_insert_sorted(&list, &equal, by_letter, 0));
    EXPECT_EQ(dst_list_remove(&list, &equal), nullptr) << "it is not in the list";
    EXPECT_TRUE(dst_list_insert_sorted(&list, &equal, by_letter, 1));
    EXPECT_EQ(keys(list), "aBbcd");
    EXPECT_EQ(dst_list_find(&list, is_unlike, &b), &equal);
    EXPECT_EQ(dst_list_remove(&list, &equal), &equal);
    EXPECT_EQ(dst_list_step(&list), &equal) << "the cursor stays, even on a removed node";
    EXPECT_EQ(dst_list_step(&list), &b) << "whose link was left";
    EXPECT_TRUE(dst_list_remove(&list, &d) == &d && dst_list_pop_first(&list) == &a);
    EXPECT_EQ(dst_list_find(&list, is_unlike, &a), nullptr);
    dst_list_prepend(&list, &d);
    EXPECT_EQ(dst_list_pop_last(&list), &c);
    dst_list_append(&list, &a);
    EXPECT_EQ(keys(list), "dba");
    dst_list_rewind(&list);
    EXPECT_TRUE(dst_list_pop_last(&list) == &a && dst_list_remove(&list, &d) == &d);
    EXPECT_EQ(dst_list_get_cursor(&list), &d);
    EXPECT_TRUE(dst_list_pop_last(&list) == &b && list.first == nullptr);
    EXPECT_EQ(dst_list_get_cursor(&list), nullptr) << "the cursor goes with the only node";
    EXPECT_EQ(dst_list_find(&list, collect, nullptr), nullptr) << "there is nothing to find";
}

TEST(DoubleList, KeepsOrderAndClearsLinks) {
    Node a{{}, {}, 'a'}, b{{}, {}, 'b'}, c{{}, {}, 'c'}, d{{}, {}, 'd'}, equal{{}, {}, 'B'};
    dst_dllist list = {};
    EXPECT_EQ(dst_dllist_walk(&list, nullptr, 0, collect, nullptr, 0), 0);
    EXPECT_TRUE(dst_dllist_pop_first(&list) == nullptr && dst_dllist_remove(&list, &a) == nullptr);
    for (Node *node : {&c, &b, &d, &equal})
        dst_dllist_insert_sorted(&list, node, by_letter);
    dst_dllist_prepend(&list, &a);
    EXPECT_EQ(keys(list), "aBbcd");
    std::string seen;
    EXPECT_EQ(dst_dllist_walk(&list, &c, 0, collect, &seen, 0), 1);
    EXPECT_EQ(dst_dllist_walk(&list, &c, 1, collect, &seen, 1), 1);
    EXPECT_EQ(seen, "cdc");
    EXPECT_TRUE(dst_dllist_remove(&list, &b) == &b && dst_dllist_pop_first(&list) == &a);
    EXPECT_TRUE(dst_dllist_pop_last(&list) == &d && keys(list) == "Bc");
    for (const Node *node : {&a, &b, &d})
        EXPECT_TRUE(node->next == nullptr && node->prev == nullptr) << node->key;
    dst_dllist_append(&list, &a);
    EXPECT_EQ(keys(list), "Bca");
}

TEST(Queue, IsDoubleEndedAndMayShrinkDuringAWalk) {
    Node nodes[] = {{{}, {}, 'a'}, {{}, {}, 'b'}, {{}, {}, 'c'}, {{}, {}, 'd'}};
    dst_queue *queue = dst_queue_create();
    EXPECT_TRUE(dst_queue_pop_front(queue) == nullptr && dst_queue_pop_back(queue) == nullptr);
    for (const int i : {1, 0, 2, 3, 1, 2})
        (i == 0 ? dst_queue_push_front : dst_queue_push_back)(queue, nodes + i);
    std::string seen;
    EXPECT_EQ(dst_queue_walk(queue, is_unlike, nodes + 2), 2) << "cells before the stop";
    EXPECT_EQ(dst_queue_remove(queue, nodes + 1), nodes + 1);
    EXPECT_EQ(dst_queue_remove(queue, &seen), nullptr);
    EXPECT_TRUE(dst_queue_pop_front(queue) == nodes && dst_queue_pop_back(queue) == nodes + 2);
    EXPECT_EQ(dst_queue_count(queue) * 10 + dst_queue_is_empty(queue), 30);
    const auto remove = [](void *data, void *from) {
        return dst_queue_remove(static_cast<dst_queue *>(from), data) == data ? 1 : 0;
    };
    EXPECT_EQ(dst_queue_walk(queue, remove, queue), 3);
    EXPECT_EQ(dst_queue_is_empty(queue), 1);
    for (Node &node : nodes)
        dst_queue_push_back(queue, &node);
    EXPECT_EQ(dst_queue_destroy(queue, collect, &seen), 4) << "whatever the function returns";
    EXPECT_EQ(seen, "abcd");
}

TEST(Array, GrowsInWholeIncrementsAndOneEarly) {
    // initial count, elements added, capacity before and after; the increment is 10
    const int cases[][4] = {{0, 0, 0, 10},  {0, 11, 0, 20},  {1, 8, 10, 10},
                            {1, 9, 10, 20}, {10, 0, 10, 20}, {11, 100, 20, 120}};
    for (const auto &[initial, extra, before, after] : cases) {
        void *storage = &storage;
        dst_array *array = dst_array_create(initial, 10, 4, &storage);
        EXPECT_EQ(storage == nullptr, initial == 0);
        EXPECT_EQ(array->capacity, before);
        std::fill_n(static_cast<int *>(storage), initial, 77);
        EXPECT_EQ(dst_array_grow(array, extra, &storage), 1);
        EXPECT_TRUE(array->capacity == after && dst_array_count(array) == initial + extra);
        int *kept = static_cast<int *>(storage);
        EXPECT_EQ(std::count(kept, kept + initial, 77), initial);
        std::fill_n(kept, after, 0); // all of it is there
        EXPECT_EQ(dst_array_free(array, &storage) * 10 + dst_array_free(nullptr, &storage), 10);
    }
    ReportLog log;
    void *storage = nullptr;
    EXPECT_EQ(dst_array_create(-1, 1, 1, &storage), nullptr);
    EXPECT_EQ(dst_array_create(0, 0, 1, &storage), nullptr);
    EXPECT_EQ(dst_array_create(0, 1, 0, &storage), nullptr);
    EXPECT_EQ(dst_array_create(INT32_MAX, INT32_MAX - 1, 1, &storage), nullptr);
    EXPECT_TRUE(log.has_only(ZOR_MSG_NO_MEMORY));
}

// Entries to sort: addresses in here, which are their own order.
char place[300];

int by_address(const void *a, const void *b) {
    return static_cast<int>(static_cast<const char *>(a) - static_cast<const char *>(b));
}
int by_pair(const void *a, const void *b) {
    return by_address(a, place) / 2 - by_address(b, place) / 2;
}

TEST(Sort, OrdersAndSurvivesContradictions) {
    static std::mt19937 random(4);
    for (const dst_compare compare :
         {dst_compare{by_address}, dst_compare{[](const void *, const void *) { return -1; }},
          dst_compare{[](const void *, const void *) { return 1; }},
          dst_compare{[](const void *, const void *) { return int(random() % 3) - 1; }}})
        for (size_t size = 0; size < 300; ++size) {
            std::vector<void *> entries(size);
            for (void *&entry : entries)
                entry = place + random() % (size + 1);
            auto expected = entries;
            std::sort(expected.begin(), expected.end());
            dst_sort(entries.data(), static_cast<int32_t>(size), compare);
            if (compare != by_address) // nothing may be lost, whatever the order
                std::sort(entries.begin(), entries.end());
            EXPECT_EQ(entries, expected);
        }
}

TEST(Merge, KeepsEqualEntriesAlternating) {
    void *const a[] = {place, place + 2, place + 2, place + 6};
    void *const b[] = {place + 3, place + 3, place + 4};
    std::vector<void *> merged(7);
    EXPECT_EQ(dst_merge(a, 4, b, 3, merged.data(), by_pair), 7);
    EXPECT_EQ(merged, (std::vector{a[0], a[1], b[0], a[2], b[1], b[2], a[3]}));
    EXPECT_EQ(dst_merge(a, 0, b, 3, merged.data(), by_pair), 3);
}

} // namespace
