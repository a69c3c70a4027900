// texts.h - texts between files and handles. The handle's are taken for UTF-8; older files have
// Latin-1.
#pragma once

#include <charconv>
#include <chrono>

#include "shared/driver_support.h"

namespace driver {

// Length of the UTF-8 sequence that a byte begins; 0 for a byte that begins none.
inline int sequence_length(uint8_t first) {
    if (first < 0x80)
        return 1;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

enum class Encoding { ascii, utf_8, other };

inline Encoding encoding_of(const char *text) {
    auto encoding = Encoding::ascii;
    while (*text != '\0') {
        const int length = sequence_length(static_cast<uint8_t>(*text++));
        for (int i = 1; i < length; ++i)
            if ((static_cast<uint8_t>(*text++) & 0xC0U) != 0x80U) // the terminator ends it too
                return Encoding::other;
        if (length != 1)
            encoding = Encoding::utf_8;
        if (length == 0)
            return Encoding::other;
    }
    return encoding;
}

// Saves a Latin-1 text as UTF-8 in a handle. False, reported, when memory ran out.
inline bool replace_latin_1(char **field, const char *text) {
    auto *copy = static_cast<char *>(allocate(2 * static_cast<int64_t>(std::strlen(text)) + 1));
    if (copy == nullptr)
        return false;
    char *to = copy;
    for (; *text != '\0'; ++text) {
        const auto c = static_cast<uint8_t>(*text);
        if (c >= 0x80)
            *to++ = static_cast<char>(0xC0 | c >> 6);
        *to++ = static_cast<char>(c < 0x80 ? c : 0x80 | (c & 0x3F));
    }
    *to = '\0';
    ERR_free(*field);
    *field = copy;
    return true;
}

// The library puts "unknown" where an application says nothing.
inline bool says_something(const char *text) {
    return text != nullptr && text[0] != '\0' && std::strcmp(text, "unknown") != 0;
}

// The library writes dates as "{seconds since 1970}", which other programs do not know: gives such
// a date the form of ISO 8601. Any other text leaves the result empty.
inline void date_for_others(const char *date, char (&result)[32]) {
    namespace chrono = std::chrono;
    int64_t seconds = 0;
    const char *end = date + std::strlen(date);
    result[0] = '\0';
    if (date[0] != '{')
        return;
    const auto [rest, failure] = std::from_chars(date + 1, end, seconds);
    constexpr int64_t year_10000 = 253402300800;
    if (failure != std::errc{} || std::strcmp(rest, "}") != 0 || seconds < 0 ||
        seconds >= year_10000)
        return;
    const chrono::sys_seconds time{chrono::seconds{seconds}};
    const auto day = chrono::floor<chrono::days>(time);
    const chrono::year_month_day ymd{day};
    const chrono::hh_mm_ss hms{time - day};
    std::snprintf(result, sizeof result, "%04d-%02u-%02uT%02d:%02d:%02dZ", int{ymd.year()},
                  unsigned{ymd.month()}, unsigned{ymd.day()}, static_cast<int>(hms.hours().count()),
                  static_cast<int>(hms.minutes().count()), static_cast<int>(hms.seconds().count()));
}

} // namespace driver
