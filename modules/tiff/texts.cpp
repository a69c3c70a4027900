// texts.cpp - texts between files and handles.
#include "shared/texts.h"

#include "texts.h"

namespace tiffio {

namespace {

struct Place {
    uint32_t tag;
    char *ZOR_IMAGE::*field;
};
constexpr Place places[] = {
    {TIFFTAG_DOCUMENTNAME, &ZOR_IMAGE::name},
    {TIFFTAG_IMAGEDESCRIPTION, &ZOR_IMAGE::description},
    {TIFFTAG_SOFTWARE, &ZOR_IMAGE::program},
    {TIFFTAG_ARTIST, &ZOR_IMAGE::user},
    {TIFFTAG_HOSTCOMPUTER, &ZOR_IMAGE::machine},
    {TIFFTAG_DATETIME, &ZOR_IMAGE::date},
};

// The two ways of writing a date that are converted into one another; what stands behind the
// seconds is not looked at.
constexpr char file_form[] = "0000:00:00 00:00:00";
constexpr char iso_form[] = "0000-00-00T00:00:00";

// Gives a date another form. False when it does not have the one it should.
bool reshape(const char *date, const char *from, const char *to, char (&result)[sizeof iso_form]) {
    size_t i = 0;
    for (; from[i] != '\0'; ++i) {
        const bool digit = date[i] >= '0' && date[i] <= '9';
        if (from[i] == '0' ? !digit : date[i] != from[i])
            return false;
        result[i] = to[i] == '0' ? date[i] : to[i];
    }
    result[i] = '\0';
    return true;
}

bool take_text(char **field, const char *text) {
    return driver::encoding_of(text) == driver::Encoding::other
               ? driver::replace_latin_1(field, text)
               : driver::replace_text(field, text);
}

} // namespace

bool read_texts(Codec &codec) {
    char date[sizeof iso_form];
    for (const Place &place : places) {
        const char *text = nullptr;
        if (TIFFGetField(codec.tiff, place.tag, &text) == 0 || text == nullptr)
            continue;
        if (place.tag == TIFFTAG_DATETIME && reshape(text, file_form, iso_form, date))
            text = date;
        if (!take_text(&(codec.image->*place.field), text))
            return false;
    }
    return true;
}

bool write_texts(Codec &codec) {
    char iso[32];
    char date[sizeof file_form];
    for (const Place &place : places) {
        const char *text = codec.image->*place.field;
        if (!driver::says_something(text))
            continue;
        if (place.tag == TIFFTAG_DATETIME) {
            driver::date_for_others(text, iso);
            if (!reshape(iso[0] != '\0' ? iso : text, iso_form, file_form, date) &&
                !reshape(text, file_form, file_form, date))
                continue; // readers would refuse it
            text = date;
        }
        if (TIFFSetField(codec.tiff, place.tag, text) == 0)
            return false;
    }
    return true;
}

} // namespace tiffio
