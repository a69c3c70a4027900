// string_test.cpp - building, comparing, editing and classifying strings; shared strings. What
// holds for any text is checked by the fuzz target of strings.
#include <gtest/gtest.h>

#include <cstdint>

#include "support/fault.h"
#include "support/report_log.h"
#include "texts.h"
#include "zor/str.h"

namespace {

TEST(Growing, ResultsAndClamps) {
    EXPECT_EQ(take(STR_more(STR_save("abc"), 2)) + take(STR_more(STR_save(nullptr), -3)), "ab");
    EXPECT_EQ(take(STR_save_n(3, "ab", "", "cd")) + take(STR_save_n(-1, "x")), "abcd");
    EXPECT_EQ(take(STR_append(nullptr, "ef")) + take(STR_n_insert(nullptr, "adx", 1, 2)), "efad");
    EXPECT_EQ(take(STR_insert(STR_insert(STR_insert(nullptr, 'b', 3), 'c', 99), 'a', -1)), "abc");
    char *padded = STR_n_append(STR_n_append(STR_save("a"), "bcd", 1), "c", 4);
    EXPECT_EQ(std::string(padded, 7), std::string("abc\0\0\0\0", 7));
    ERR_free(padded);
}

TEST(Growing, LengthsAreNotWrapped) {
    // With 32-bit pointers no block is as large as that, and the allocator is not even asked.
    void *(*const refuse)(void *, size_t) = [](void *, size_t size) -> void * {
        EXPECT_EQ(size, size_t{INT32_MAX} + 4);
        return nullptr;
    };
    zor::set_allocator({std::malloc, refuse, std::free});
    EXPECT_EQ(STR_n_append(block("abc").data(), "x", INT32_MAX), nullptr);
    zor::set_allocator({std::malloc, std::realloc, std::free});
}

TEST(Growing, FailuresAreSilentAndLeakNothing) {
    ReportLog log;
    const long allocations = for_each_failing_allocation([](Fault &fault) {
        char *string = STR_save_n(2, "a", "b");
        const auto grow = [&string](char *grown) { string = grown != nullptr ? grown : string; };
        grow(STR_append(string, "cd"));
        grow(STR_insert(string, 'x', 1));
        char *expanded = nullptr;
        STR_expand_filename("name", &expanded);
        auto line = block(" one two ");
        char **words = STR_parse(line.data());
        EXPECT_STREQ(line.data(), words == nullptr ? " one two " : " one");
        STR_undefine(STR_define("shared"));
        ERR_free(string);
        ERR_free(expanded);
        ERR_free(words);
        EXPECT_EQ(fault.live(), 0);
    });
    EXPECT_EQ(allocations, 7);
    EXPECT_TRUE(log.reports.empty()) << log.text();
}

TEST(Editing, InPlace) {
    EXPECT_STREQ(STR_remove(block("banana").data(), 'a'), "bnana");
    EXPECT_STREQ(STR_remove(block("ab").data(), '\0'), "ab");
    EXPECT_STREQ(STR_remove_reverse(block("banana").data(), 'b'), "anana");
    for (int32_t nowhere : {-1, 3, INT32_MAX})
        EXPECT_STREQ(STR_remove_index(block("abc").data(), nowhere), "abc");
    EXPECT_STREQ(STR_n_remove_index(block("abc").data(), -1, 2), "bc");
    EXPECT_STREQ(STR_n_remove_index(block("abc").data(), 1, INT32_MAX), "a");
    char padded[] = {'a', 'b', '\0', 'x', 'x', 'x'};
    EXPECT_STREQ(STR_pad(padded, '.', 4), "ab..");
    EXPECT_STREQ(STR_pad(block("abc").data(), '.', 2), "abc");
    EXPECT_STREQ(STR_tolower(block("A\xC4z[").data()), "a\xC4z[");
    EXPECT_STREQ(STR_toupper(block("a\xE4Z{").data()), "A\xE4Z{");
}

TEST(Comparing, CharactersAreSigned) {
    EXPECT_EQ(STR_compare("\x80", "\x7F"), -255);
    EXPECT_EQ(STR_abbr_compare("h*\xFF", "ha"), -1 - 'a');
    EXPECT_EQ(STR_abbr_compare("he*lp", "help*"), 0);
    EXPECT_EQ(STR_n_compare("abc", "abd", 2) + STR_n_compare("ab\0x", "ab\0y", 9), 0);
    EXPECT_EQ(STR_length("abc") - STR_length(nullptr), 3u);
    for (int32_t n : {INT32_MIN, 0, 1, 2})
        EXPECT_EQ(STR_n_compare("a", "bx", n), -1) << n;
    EXPECT_EQ(STR_hash("", 7) + STR_hash(nullptr, 7), 0u);
    EXPECT_EQ(STR_hash("\xE9", UINT32_MAX), UINT32_MAX - 22); // -23 in 32 bits
    EXPECT_EQ(STR_hash("a longer n\xE9me.####.ext", 1000000007), 783578357u);
    // Null has no characters: it goes by its address.
    EXPECT_EQ(STR_compare(nullptr, nullptr), 0);
    EXPECT_LT(STR_n_compare(nullptr, "", 1), 0);
    EXPECT_GT(STR_abbr_compare("", nullptr), 0);
}

TEST(Classifying, NumbersAndAbbreviations) {
    using Texts = std::vector<const char *>;
    const auto abbreviates = [](const char *word) -> int { return STR_abbr(word, "he*lp"); };
    const std::tuple<int (*)(const char *), Texts, Texts> cases[] = {
        {STR_is_integer,
         {"0", "-12", "2147483647", "-2147483648", "+2147483647", "0000000001"},
         {"", "+", "2147483648", "-2147483649", "02147483647", "--1", " 1", "1 ", nullptr}},
        {STR_is_real,
         {"+", "-", ".", "1.", ".5", "1e+", "e5", "-1.5E-07"},
         {"", "1e", "1ex", "1.5x", "1.2.3", "1e5.", " 1", "+-1", nullptr}},
        {STR_is_numeric, {"02147483648"}, {"", "-1", "1 ", nullptr}},
        {abbreviates, {"he", "hel", "help"}, {"", "h", "helps", "hex", nullptr}}};
    for (const auto &[is, good, bad] : cases) {
        for (const char *text : good)
            EXPECT_TRUE(is(text)) << text;
        for (const char *text : bad)
            EXPECT_FALSE(is(text)) << (text != nullptr ? text : "null");
    }
    EXPECT_GT(STR_abbr("help", "help"), STR_abbr("hel", "help"));
    const char *text = "  x\xA0"; // its first character is not looked at
    EXPECT_TRUE(STR_find_space(text) == text + 1 && STR_find_space(text + 4) == text + 4);
    EXPECT_TRUE(STR_find_space(text + 2) == text + 4 && STR_skip_space(text) == text + 2);
}

TEST(Sharing, TextsLiveUntilTheLastUndefine) {
    Fault watch(INT32_MAX); // counts blocks, fails nothing
    const char *first = STR_define("text");
    EXPECT_EQ(STR_define(std::string("text").c_str()), first);
    EXPECT_EQ(STR_undefine("other") + STR_undefine(nullptr) + STR_undefine(first), 0);
    EXPECT_STREQ(first, "text");
    EXPECT_EQ(watch.live(), 2);
    STR_undefine(first);
    EXPECT_EQ(watch.live(), 0);

    // More texts than buckets: chains are walked, and cut at their ends and between.
    constexpr int count = 4000;
    std::vector<const char *> texts;
    for (int i = 0; i < count; ++i)
        texts.push_back(STR_define(std::to_string(i).c_str()));
    EXPECT_EQ(watch.live(), 2 * count) << "an entry and a copy for each text";
    for (int i = 0; i < count; ++i)
        STR_undefine(texts[i * 7919 % count]);
    EXPECT_EQ(watch.live(), 0);
}

} // namespace
