// strings_bench.cpp - strings, lists and pools beside what the standard library has for the same
// work. Strings are names of files as they come in productions.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>
#include <list>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/base/dst_array.h"
#include "base/base/dst_dllist.h"
#include "base/base/dst_malloc.h"
#include "base/base/dst_memory.h"
#include "base/dst/dst_queue.h"
#include "base/dst/dst_sort.h"
#include "paired.h"
#include "zor/err.h"
#include "zor/str.h"

namespace {

constexpr int count = 4096;

std::vector<std::string> make_names() {
    std::vector<std::string> names;
    uint32_t number = 1;
    for (int i = 0; i < count; ++i) {
        number = number * 1664525 + 1013904223;
        names.push_back("/show/sequence" + std::to_string(number >> 28) + "/shot" +
                        std::to_string(number >> 16 & 255) + '.' + std::to_string(i) + ".mox");
    }
    return names;
}
const std::vector<std::string> names = make_names();

template<class Work>
void for_names(Work work) {
    for (const std::string &name : names)
        benchmark::DoNotOptimize(work(name));
}

void add_strings(bench::Pairs &pairs) {
    pairs.add(
        "hash of a string", "std::hash", 0,
        [] { for_names([](const std::string &s) { return STR_hash(s.c_str(), 1021); }); },
        [] {
            for_names([](const std::string &s) {
                return std::hash<std::string_view>()(s.c_str()) % 1021; // the length is not known
            });
        });
    pairs.add(
        "compare strings", "std::strcmp", 0,
        [] {
            for_names(
                [](const std::string &s) { return STR_compare(s.c_str(), names[7].c_str()); });
        },
        [] {
            for_names(
                [](const std::string &s) { return std::strcmp(s.c_str(), names[7].c_str()); });
        });
    pairs.add(
        "copy a string", "std::string", 0,
        [] {
            for_names([](const std::string &s) {
                char *copy = STR_save(s.c_str());
                benchmark::DoNotOptimize(copy);
                ERR_free(copy);
                return 0;
            });
        },
        [] { for_names([](const std::string &s) { return std::string(s.c_str()).size(); }); });
    pairs.add(
        "append 8 strings", "std::string", 0,
        [] {
            for_names([](const std::string &s) {
                char *text = nullptr;
                for (int i = 0; i < 8; ++i)
                    text = STR_append(text, s.c_str());
                benchmark::DoNotOptimize(text);
                ERR_free(text);
                return 0;
            });
        },
        [] {
            for_names([](const std::string &s) {
                std::string text;
                for (int i = 0; i < 8; ++i)
                    text.append(s.c_str());
                return text.size();
            });
        });
    pairs.add(
        "sort 4096 strings", "std::sort", 0,
        [] {
            std::vector<char *> array;
            for (const std::string &name : names)
                array.push_back(const_cast<char *>(name.c_str()));
            array.push_back(nullptr);
            STR_sort(array.data());
        },
        [] {
            std::vector<const char *> array;
            for (const std::string &name : names)
                array.push_back(name.c_str());
            std::sort(array.begin(), array.end(),
                      [](const char *a, const char *b) { return std::strcmp(a, b) < 0; });
        });
}

// A table of strings in use: each is put in, found again and taken out.
void add_table(bench::Pairs &pairs) {
    pairs.add(
        "table of 4096 shared strings", "std::unordered_map", 0,
        [] {
            for (int i = 0; i < 2; ++i)
                for_names([](const std::string &s) { return STR_define(s.c_str()); });
            for (int i = 0; i < 2; ++i)
                for_names([](const std::string &s) { return STR_undefine(s.c_str()); });
        },
        [] {
            std::unordered_map<std::string, int> table;
            for (int i = 0; i < 2; ++i)
                for_names([&table](const std::string &s) { return ++table[s.c_str()]; });
            for (int i = 0; i < 2; ++i)
                for_names([&table](const std::string &s) {
                    const auto entry = table.find(s.c_str());
                    if (--entry->second == 0)
                        table.erase(entry);
                    return 0;
                });
        });
}

struct Record {
    Record *next, *prev;
    int32_t key;
};

dst_freelist free_records = {};

Record *new_record(int32_t key) {
    auto *record = static_cast<Record *>(dst_freelist_alloc(&free_records, sizeof(Record)));
    record->key = key;
    return record;
}

int32_t key_of(int i) { return static_cast<int32_t>(static_cast<uint32_t>(i) * 40503 & 0xffff); }

void release_all(dst_dllist *list) {
    while (void *record = dst_dllist_pop_first(list))
        free_records.head = dst_freelist_release(record, free_records.head);
}

void add_lists(bench::Pairs &pairs) {
    pairs.add(
        "list of 4096: fill, walk, empty", "std::list", 0,
        [] {
            dst_dllist list;
            dst_dllist_init(&list);
            for (int i = 0; i < count; ++i)
                dst_dllist_append(&list, new_record(i));
            int32_t sum = 0;
            dst_dllist_walk(
                &list, nullptr, 0,
                [](void *node, void *total) {
                    *static_cast<int32_t *>(total) += static_cast<Record *>(node)->key;
                    return 1;
                },
                &sum, 0);
            benchmark::DoNotOptimize(sum);
            release_all(&list);
        },
        [] {
            std::list<int32_t> list;
            for (int i = 0; i < count; ++i)
                list.push_back(i);
            int32_t sum = 0;
            for (const int32_t key : list)
                sum += key;
            benchmark::DoNotOptimize(sum);
            while (!list.empty())
                list.pop_front();
        });
    constexpr int few = 256;
    pairs.add(
        "list of 256 kept in order", "std::list", 0,
        [] {
            dst_dllist list;
            dst_dllist_init(&list);
            for (int i = 0; i < few; ++i)
                dst_dllist_insert_sorted(&list, new_record(key_of(i)),
                                         [](const void *a, const void *b) {
                                             return static_cast<const Record *>(a)->key -
                                                    static_cast<const Record *>(b)->key;
                                         });
            release_all(&list);
        },
        [] {
            std::list<int32_t> list;
            for (int i = 0; i < few; ++i) {
                const int32_t key = key_of(i);
                list.insert(std::find_if(list.begin(), list.end(),
                                         [key](int32_t other) { return other >= key; }),
                            key);
            }
        });
    pairs.add(
        "queue of 4096", "std::deque", 0,
        [] {
            dst_queue *queue = dst_queue_create();
            for_names([queue](const std::string &s) {
                return dst_queue_push_back(queue, const_cast<std::string *>(&s));
            });
            while (void *data = dst_queue_pop_front(queue))
                benchmark::DoNotOptimize(data);
            dst_queue_destroy(queue, nullptr, nullptr);
        },
        [] {
            std::deque<const void *> queue;
            for_names([&queue](const std::string &s) { return queue.emplace_back(&s); });
            for (; !queue.empty(); queue.pop_front())
                benchmark::DoNotOptimize(queue.front());
        });
}

// 4096 small blocks taken, used and given back one by one.
template<class Take, class Give>
void take_and_give(Take take, Give give) {
    static void *blocks[count];
    for (void *&block : blocks) {
        block = take();
        *static_cast<int *>(block) = 1;
    }
    for (void *block : blocks)
        give(block);
}

void add_pools(bench::Pairs &pairs) {
    constexpr size_t size = 48;
    const auto take_new = [] { return ::operator new(size); };
    const auto give_new = [](void *block) { ::operator delete(block); };
    pairs.add(
        "free list: 4096 blocks", "new and delete", 0,
        [] {
            static dst_freelist list;
            take_and_give([] { return dst_freelist_alloc(&list, size); },
                          [](void *block) { list.head = dst_freelist_release(block, list.head); });
        },
        [=] { take_and_give(take_new, give_new); });
    const auto use_arena = [] {
        dst_arena *arena = dst_arena_create(8192);
        take_and_give([arena] { return dst_arena_alloc(arena, size); }, [](void *) {});
        dst_arena_destroy(arena);
    };
    pairs.add("arena: 4096 blocks", "new and delete", 0, use_arena,
              [=] { take_and_give(take_new, give_new); });
    pairs.add("arena: 4096 blocks", "std::pmr, monotonic", 0, use_arena, [] {
        std::pmr::monotonic_buffer_resource pool(8192);
        take_and_give([&pool] { return pool.allocate(size); }, [](void *) {});
    });
    pairs.add(
        "pooled strings: 4096", "std::string", 0,
        [] {
            std::vector<char *> copies;
            for_names([&](const std::string &s) {
                return copies.emplace_back(dst_string_dup(s.c_str()));
            });
            for (char *copy : copies)
                dst_string_release(copy);
        },
        [] {
            std::vector<std::string> copies;
            for_names([&](const std::string &s) { return copies.emplace_back(s.c_str()).data(); });
        });
}

void add_arrays(bench::Pairs &pairs) {
    pairs.add(
        "array of 4096, one by one", "std::vector", 0,
        [] {
            void *storage = nullptr;
            dst_array *array = dst_array_create(0, 64, sizeof(int32_t), &storage);
            for (int32_t i = 0; i < count; ++i) {
                dst_array_grow(array, 1, &storage);
                static_cast<int32_t *>(storage)[i] = i;
            }
            benchmark::DoNotOptimize(storage);
            dst_array_free(array, &storage);
        },
        [] {
            std::vector<int32_t> array;
            for (int32_t i = 0; i < count; ++i)
                array.push_back(i);
            benchmark::DoNotOptimize(array.data());
        });
    static int32_t keys[count];
    for (int i = 0; i < count; ++i)
        keys[i] = key_of(i);
    const auto pointers = [] {
        std::vector<void *> array;
        for (int32_t &key : keys)
            array.push_back(&key);
        return array;
    };
    const auto key = [](const void *at) { return *static_cast<const int32_t *>(at); };
    pairs.add(
        "sort 4096 pointers", "std::sort", 0,
        [=] {
            std::vector<void *> array = pointers();
            dst_sort(array.data(), count, [](const void *a, const void *b) {
                return *static_cast<const int32_t *>(a) - *static_cast<const int32_t *>(b);
            });
        },
        [=] {
            std::vector<void *> array = pointers();
            std::sort(array.begin(), array.end(),
                      [=](const void *a, const void *b) { return key(a) < key(b); });
        });
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    bench::Pairs pairs;
    add_strings(pairs);
    add_table(pairs);
    add_lists(pairs);
    add_pools(pairs);
    add_arrays(pairs);
    pairs.run(101);
    free_records.head = dst_freelist_purge(free_records.head);
    return 0;
}
