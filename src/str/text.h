// text.h - small things about characters and strings.
#pragma once

#include <cctype>

namespace zor {

// The classes of <cctype> are undefined for negative characters other than EOF.
inline bool is_space(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Difference of two characters as signed bytes, whatever plain char is on this processor.
inline int difference(char a, char b) {
    return static_cast<signed char>(a) - static_cast<signed char>(b);
}

// A null string reads as an empty one.
inline const char *or_empty(const char *string) { return string == nullptr ? "" : string; }

} // namespace zor
