// number.cpp - numbers as text, the same in every locale.
#include "base/base/number.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>

namespace zor {

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Reads along a text that may end anywhere.
struct Scanner {
    std::string_view text;
    size_t at = 0;

    [[nodiscard]] char peek() const { return at < text.size() ? text[at] : '\0'; }
    bool accept(const char *set) {
        if (peek() == '\0' || std::strchr(set, peek()) == nullptr)
            return false;
        ++at;
        return true;
    }
    void skip_blanks() {
        while (accept(" \t\n\v\f\r"))
            ;
    }
    // Whether a '-' was there.
    bool sign() {
        const bool negative = peek() == '-';
        accept("+-");
        return negative;
    }
    size_t digits() {
        const size_t start = at;
        while (is_digit(peek()))
            ++at;
        return at - start;
    }
};

// Whether a number out of range is out at the large end: whether the first digit that counts stands
// before the point once the exponent has moved it.
bool is_large(std::string_view number) {
    const size_t mantissa_size = std::min(number.find_first_of("eE"), number.size());
    const std::string_view mantissa = number.substr(0, mantissa_size);
    const auto point = static_cast<int64_t>(std::min(mantissa.find('.'), mantissa_size));
    const auto first = static_cast<int64_t>(mantissa.find_first_of("123456789"));
    const int64_t exponent =
        mantissa_size < number.size() ? parse_integer(number.substr(mantissa_size + 1)) : 0;
    return point - first + exponent > 0;
}

// The value of an unsigned number that has been checked.
double convert(std::string_view number) {
    double value = 0;
    const char *last = number.data() + number.size();
    if (std::from_chars(number.data(), last, value).ec == std::errc::result_out_of_range)
        value = is_large(number) ? DBL_MAX : 0;
    return std::min(value, DBL_MAX);
}

} // namespace

bool parse_real(std::string_view text, double *value, const char **end) {
    if (end != nullptr)
        *end = text.data();
    Scanner in{text};
    in.skip_blanks();
    const bool negative = in.sign();
    const size_t start = in.at;
    size_t digits = in.digits();
    if (in.accept("."))
        digits += in.digits();
    if (digits == 0)
        return false;
    size_t stop = in.at;
    if (in.accept("eE")) {
        in.sign();
        if (in.digits() > 0)
            stop = in.at;
    }
    const double magnitude = convert(text.substr(start, stop - start));
    *value = negative ? -magnitude : magnitude;
    if (end != nullptr)
        *end = text.data() + stop;
    return true;
}

int32_t parse_integer(std::string_view text) {
    Scanner in{text};
    in.skip_blanks();
    const bool negative = in.sign();
    int64_t value = 0;
    for (; is_digit(in.peek()); ++in.at)
        value = std::min<int64_t>(value * 10 + (in.peek() - '0'), int64_t{INT32_MAX} + 1);
    return static_cast<int32_t>(negative ? -value : std::min<int64_t>(value, INT32_MAX));
}

size_t print_fixed(char *buffer, size_t size, double value, int width, int decimals) {
    if (size == 0)
        return 0;
    constexpr int most_decimals = 64;
    char digits[DBL_MAX_10_EXP + most_decimals + 4]; // sign, one more digit, point
    const auto result =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed,
                      std::clamp(decimals, 0, most_decimals));
    const auto length = static_cast<size_t>(result.ptr - digits);
    const auto wanted = static_cast<size_t>(std::max(width, 0));
    const size_t fill = std::min(wanted > length ? wanted - length : 0, size - 1);
    const size_t kept = std::min(length, size - 1 - fill);
    std::memset(buffer, ' ', fill);
    std::memcpy(buffer + fill, digits, kept);
    buffer[fill + kept] = '\0';
    return fill + kept;
}

} // namespace zor
