// texts.cpp - texts between files and handles. The handle's are taken for UTF-8; a file's are Latin-1
// or UTF-8, as their chunk says.
#include "texts.h"

#include <charconv>
#include <chrono>
#include <cstring>

#include "shared/driver_support.h"

namespace pngio {

namespace {

struct Place {
    const char *keyword;
    char *ZOR_IMAGE::*field;
};
constexpr Place places[] = {
    {"Title", &ZOR_IMAGE::name},       {"Description", &ZOR_IMAGE::description},
    {"Software", &ZOR_IMAGE::program}, {"Author", &ZOR_IMAGE::user},
    {"Source", &ZOR_IMAGE::machine},   {"Creation Time", &ZOR_IMAGE::date},
};

// Length of the UTF-8 sequence that a byte begins; 0 for a byte that begins none.
int sequence_length(uint8_t first) {
    if (first < 0x80)
        return 1;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

enum class Encoding { ascii, utf_8, other };

Encoding encoding_of(const char *text) {
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
bool replace_latin_1(char **field, const char *text) {
    auto *copy =
        static_cast<char *>(driver::allocate(2 * static_cast<int64_t>(std::strlen(text)) + 1));
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

// The library writes dates as "{seconds since 1970}", which other programs do not know: gives such
// a date the form of ISO 8601. Any other text is left out.
void date_for_others(const char *date, char (&result)[32]) {
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

// The library puts "unknown" where an application says nothing.
bool says_something(const char *text) {
    return text != nullptr && text[0] != '\0' && std::strcmp(text, "unknown") != 0;
}

} // namespace

bool read_texts(Codec &codec) {
    png_textp texts = nullptr;
    int count = 0;
    png_get_text(codec.png, codec.info, &texts, &count);
    for (int i = count - 1; i >= 0; --i) // of several with one keyword the first is to stay
        for (const Place &place : places) {
            if (std::strcmp(texts[i].key, place.keyword) != 0 || texts[i].text == nullptr)
                continue;
            char **field = &(codec.image->*place.field);
            const bool utf_8 = texts[i].compression >= PNG_ITXT_COMPRESSION_NONE;
            if (!(utf_8 ? driver::replace_text(field, texts[i].text)
                        : replace_latin_1(field, texts[i].text)))
                return false;
        }
    return true;
}

void write_texts(Codec &codec) {
    char date[32];
    for (const Place &place : places) {
        char *text = codec.image->*place.field;
        if (!says_something(text))
            continue;
        if (place.field == &ZOR_IMAGE::date) {
            date_for_others(text, date);
            text = date[0] != '\0' ? date : text;
        }
        // Plain chunks are what most programs look for; bytes that are no UTF-8 can only be theirs.
        png_text chunk = {};
        chunk.compression = encoding_of(text) == Encoding::utf_8 ? PNG_ITXT_COMPRESSION_NONE
                                                                 : PNG_TEXT_COMPRESSION_NONE;
        char keyword[16];
        std::snprintf(keyword, sizeof keyword, "%s", place.keyword);
        chunk.key = keyword;
        chunk.text = text;
        png_set_text(codec.png, codec.info, &chunk, 1);
    }
}

} // namespace pngio
