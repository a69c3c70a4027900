// classify.cpp - whether a text is a number, and lines split into words.
#include <cstring>

#include "str/sequence.h"
#include "str/text.h"
#include "zor/str.h"

using namespace zor;

namespace {

const char *skip_digits(const char *text) {
    while (is_digit(*text))
        ++text;
    return text;
}

const char *skip_sign(const char *text) { return *text == '+' || *text == '-' ? text + 1 : text; }

// The next word of a text, which ends there: returns its begin, null when there is none, and sets
// end behind its last character.
char *next_word(char *text, char **end) {
    char *word = STR_skip_space(text);
    *end = STR_find_space(word);
    return *word == '\0' ? nullptr : word;
}

} // namespace

int STR_is_numeric(const char *string) {
    return string != nullptr && *string != '\0' && *skip_digits(string) == '\0' ? 1 : 0;
}

int STR_is_integer(const char *string) {
    static constexpr char largest[] = "2147483647";
    static constexpr char smallest[] = "-2147483648";
    constexpr size_t most_digits = sizeof largest - 1;

    if (string == nullptr)
        return 0;
    const char *digits = skip_sign(string);
    if (STR_is_numeric(digits) == 0)
        return 0;
    const size_t count = std::strlen(digits);
    if (count != most_digits)
        return count < most_digits ? 1 : 0; // leading zeros count as digits
    // Of equal length, so that the order of the texts is the order of the numbers.
    const int order = *string == '-' ? STR_compare(string, smallest) : STR_compare(digits, largest);
    return order <= 0 ? 1 : 0;
}

int STR_is_real(const char *string) {
    if (string == nullptr || *string == '\0')
        return 0;
    const char *text = skip_digits(skip_sign(string));
    if (*text == '.')
        text = skip_digits(text + 1);
    if (*text == 'e' || *text == 'E') {
        ++text;
        if (*text == '\0')
            return 0;
        text = skip_digits(skip_sign(text)); // a sign alone will do
    }
    return *text == '\0' ? 1 : 0;
}

char **STR_parse(char *string) {
    if (string == nullptr)
        return seq::more<char *>(nullptr, 0);
    // Counted first: one allocation, and a string left alone when it fails.
    size_t count = 0;
    char *end = nullptr;
    for (char *word = next_word(string, &end); word != nullptr; word = next_word(end, &end))
        ++count;
    char **words = seq::more<char *>(nullptr, count);
    if (words == nullptr)
        return nullptr;

    end = string;
    for (size_t i = 0; i < count; ++i) {
        words[i] = next_word(end, &end);
        if (*end != '\0')
            *end++ = '\0';
    }
    words[count] = nullptr;
    return words;
}
