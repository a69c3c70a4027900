// array_test.cpp - pointer arrays: editing by index, words by identity, splitting and sorting.
#include <gtest/gtest.h>

#include <cstring>

#include "str/array.h"
#include "texts.h"
#include "zor/str.h"

namespace {

char a[] = "a", b[] = "b", c[] = "c", stranger[] = "a";
char *abca[] = {a, b, c, a, nullptr};

char **copy() { return str__array_save(abca); }

// The words of an array, which is released, in one text.
std::string take(char **array) {
    std::string all;
    for (char **slot = array; *slot != nullptr; ++slot)
        all += *slot;
    ERR_free(array);
    return all;
}

TEST(Arrays, Editing) {
    EXPECT_EQ(take(str__array_n_save(abca, 2)) + take(str__array_n_save(abca, -1)), "ab");
    EXPECT_EQ(take(str__array_save_n(2, abca, abca)) + take(str__array_save_n(0)), "abcaabca");
    EXPECT_EQ(take(str__array_append(str__array_insert(nullptr, c, 7), abca)), "cabca");
    EXPECT_EQ(take(str__array_n_append(copy(), abca + 1, 2)), "abcabc");
    EXPECT_EQ(take(str__array_n_insert(copy(), abca + 1, 1, 2)), "abcbca");
    EXPECT_EQ(take(str__array_remove(copy(), a)), "bca");
    EXPECT_EQ(take(str__array_remove_reverse(copy(), a)), "abc");
    EXPECT_EQ(take(str__array_remove_index(copy(), 1)), "aca");
    EXPECT_EQ(take(str__array_reverse(str__array_n_remove_index(copy(), -1, 2))), "acb");

    char **slots = str__array_more(str__array_n_copy(copy(), abca + 1, 1), 8);
    EXPECT_EQ(slots[1], b) << "no terminator within the count";
    str__array_n_copy(slots, abca + 2, 3);
    EXPECT_EQ(take(str__array_cat(str__array_n_cat(slots, abca, 1), abca + 1)), "caabca");
    str__array_free(str__array_insert(nullptr, STR_save("a"), 0));
}

TEST(Arrays, WordsAreFoundByIdentityStringsByText) {
    EXPECT_TRUE(str__array_find(abca, a) == abca && str__array_find_reverse(abca, a) == abca + 3);
    EXPECT_EQ(str__array_find(abca, stranger), nullptr);
    EXPECT_EQ(str__array_index(abca, c) * 10 + str__array_index(abca, stranger), 19);
    EXPECT_EQ(STR_find_string(abca, stranger), abca);
    EXPECT_EQ(STR_find_string_reverse(abca, stranger), abca + 3);
}

TEST(Arrays, SplittingAndSorting) {
    std::string text = " b b\377\tc\na b ";
    char **words = STR_parse(text.data());
    EXPECT_EQ(words[0], text.data() + 1);
    EXPECT_EQ(take(str__array_reverse(STR_sort_reverse(str__array_save(words)))), "ab\377bbc");
    STR_sort_collate(words);
    for (int i = 1; i < 5; ++i)
        EXPECT_LE(strcoll(words[i - 1], words[i]), 0);
    EXPECT_EQ(take(STR_sort(words)), "ab\377bbc") << "characters are signed";
}

} // namespace
