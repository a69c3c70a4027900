// texts.cpp - texts between files and handles. A file's are Latin-1 or UTF-8, as their chunk says.
#include "texts.h"

#include "shared/texts.h"

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
                        : driver::replace_latin_1(field, texts[i].text)))
                return false;
        }
    return true;
}

void write_texts(Codec &codec) {
    char date[32];
    for (const Place &place : places) {
        char *text = codec.image->*place.field;
        if (!driver::says_something(text))
            continue;
        if (place.field == &ZOR_IMAGE::date) {
            driver::date_for_others(text, date);
            text = date[0] != '\0' ? date : text;
        }
        // Plain chunks are what most programs look for; bytes that are no UTF-8 can only be theirs.
        png_text chunk = {};
        chunk.compression = driver::encoding_of(text) == driver::Encoding::utf_8
                                ? PNG_ITXT_COMPRESSION_NONE
                                : PNG_TEXT_COMPRESSION_NONE;
        char keyword[16];
        std::snprintf(keyword, sizeof keyword, "%s", place.keyword);
        chunk.key = keyword;
        chunk.text = text;
        png_set_text(codec.png, codec.info, &chunk, 1);
    }
}

} // namespace pngio
