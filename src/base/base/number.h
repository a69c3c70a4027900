// number.h - numbers as text, the same in every locale.
#pragma once

#include <algorithm>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zor {

// Both parsers skip leading blanks and line breaks and take the longest prefix that is a number;
// what follows is ignored. Text of known length needs no terminator: parse_integer({field, 4}).

// Sign, digits, point, digits, exponent; at least one digit before the exponent. No "inf", "nan" or
// hexadecimal. Numbers too large are cut to the largest finite one, numbers too small become 0.
//   end  receives where the number ends, or the start of the text when there is none; may be null
// Returns false, and leaves the value alone, when there is no number.
bool parse_real(std::string_view text, double *value, const char **end = nullptr);

// Sign, digits. 0 when there is no number; cut to 32 bits.
int32_t parse_integer(std::string_view text);

// The nearest finite float.
constexpr float to_float(double value) {
    return static_cast<float>(std::clamp(value, double{-FLT_MAX}, double{FLT_MAX}));
}

// Prints a number with a fixed number of decimals, at most 64, filled with blanks in front up to
// the width: "%8.3f" is a width of 8 and 3 decimals. Infinities and NaN print as such. The text is
// cut to the buffer and always terminated; a size of 0 writes nothing. Returns the length of the
// text in the buffer.
size_t print_fixed(char *buffer, size_t size, double value, int width, int decimals);

} // namespace zor
