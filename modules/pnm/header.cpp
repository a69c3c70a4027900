// header.cpp - reading and writing headers. Whatever a file says here is checked here.
#include "header.h"

#include <bit>
#include <cstring>

#include "lexer.h"
#include "shared/driver_support.h"

namespace pnm {

namespace {

// A header longer than that, comments included, is none.
constexpr int64_t longest_header = int64_t{1} << 20;
constexpr int32_t largest_maxval = 65535;
constexpr int32_t most_channels = 32767;

constexpr Verdict fine = {ZOR_OK, nullptr};

Verdict damaged(const char *reason) { return {ZOR_E_DECODE, reason}; }

// What to say when a character is not what was expected.
Verdict unexpected(int c, FILE *file, const char *reason) {
    if (c != EOF)
        return damaged(reason);
    return std::ferror(file) != 0 ? Verdict{ZOR_E_READ, "the header cannot be read"}
                                  : Verdict{ZOR_E_READ, "the header is not complete"};
}

// Reads a number from 1 to limit and the one white space character that ends it.
Verdict read_number(Lexer &lexer, FILE *file, int64_t limit, int32_t *value) {
    int c = lexer.next_solid();
    const int64_t number = lexer.number(&c, limit);
    if (number < 0 || !is_space(c))
        return unexpected(c, file, "a number in the header is malformed");
    if (number < 1 || number > limit)
        return damaged("a number in the header is out of range");
    *value = static_cast<int32_t>(number);
    return fine;
}

Verdict read_size(Lexer &lexer, FILE *file, Header *header) {
    const Verdict verdict = read_number(lexer, file, INT32_MAX, &header->width);
    return verdict.status == 0 ? read_number(lexer, file, INT32_MAX, &header->height) : verdict;
}

// Reads the scale of a float picture, of which the sign tells the byte order. Its size relates the
// samples to physical units, which the library has no word for.
Verdict read_scale(Lexer &lexer, FILE *file, Header *header) {
    int c = lexer.next_solid();
    header->little_endian = c == '-';
    if (c == '-' || c == '+')
        c = lexer.next();
    bool is_zero = true;
    int digits = 0;
    for (bool fraction = false; is_digit(c) || (c == '.' && !fraction); c = lexer.next()) {
        fraction = fraction || c == '.';
        is_zero = is_zero && (c == '.' || c == '0');
        digits += is_digit(c) ? 1 : 0;
    }
    if (c == 'e' || c == 'E') {
        c = lexer.next();
        if (c == '-' || c == '+')
            c = lexer.next();
        if (lexer.number(&c, 0) < 0)
            digits = 0;
    }
    if (digits == 0 || !is_space(c))
        return unexpected(c, file, "the scale in the header is malformed");
    return is_zero ? damaged("the scale in the header is zero") : fine;
}

// The known meanings of channels.
struct TupleType {
    const char *name;
    int32_t image, matte;
};
constexpr TupleType tuple_types[] = {
    {"BLACKANDWHITE", 1, 0},       {"GRAYSCALE", 1, 0},       {"RGB", 3, 0},
    {"BLACKANDWHITE_ALPHA", 1, 1}, {"GRAYSCALE_ALPHA", 1, 1}, {"RGB_ALPHA", 3, 1},
};

// Shares out the channels of a file by the name of its tuple type, or else by their number.
Verdict share_out_channels(const char *name, int32_t channels, Header *header) {
    header->image = channels < 3 ? 1 : 3;
    header->matte = channels == 2 || channels == 4 ? 1 : 0;
    for (const TupleType &type : tuple_types)
        if (std::strcmp(type.name, name) == 0) {
            header->image = type.image;
            header->matte = type.matte;
        }
    header->aux = channels - header->image - header->matte;
    return header->aux >= 0 ? fine : damaged("tuple type and depth do not agree");
}

// The texts of a header's lines.
struct Line {
    char text[32]; // cut, which makes it unknown: no known word is that long
    size_t length;
    void add(int c) {
        if (length + 1 < sizeof text)
            text[length++] = static_cast<char>(c);
    }
};

// Reads a word; c is the first character going in, the one after the word coming out.
Line read_word(Lexer &lexer, int *c) {
    Line word = {};
    for (; *c != EOF && !is_space(*c); *c = lexer.next())
        word.add(*c);
    return word;
}

// Adds the rest of a line, without the blanks around it, to a text. Several such lines are joined
// by a blank.
void read_rest(Lexer &lexer, int *c, Line *text) {
    bool gap = text->length > 0;
    for (; *c != '\n' && *c != EOF; *c = lexer.next()) {
        if (is_space(*c)) {
            gap = text->length > 0;
            continue;
        }
        if (gap)
            text->add(' ');
        gap = false;
        text->add(*c);
    }
}

// The header of many lines: keywords with their values in any order, and an end mark.
Verdict read_keywords(Lexer &lexer, FILE *file, Header *header) {
    int32_t channels = 0;
    struct Field {
        const char *keyword;
        int64_t limit;
        int32_t *value;
    };
    const Field fields[] = {{"WIDTH", INT32_MAX, &header->width},
                            {"HEIGHT", INT32_MAX, &header->height},
                            {"DEPTH", most_channels, &channels},
                            {"MAXVAL", largest_maxval, &header->maxval}};
    Line type = {};
    for (;;) {
        int c = lexer.next_solid();
        const Line word = read_word(lexer, &c);
        if (std::strcmp(word.text, "ENDHDR") == 0) {
            while (is_space(c) && c != '\n')
                c = lexer.next();
            if (c != '\n')
                return unexpected(c, file, "the header's end is malformed");
            break;
        }
        if (c == EOF)
            return unexpected(c, file, "");
        if (std::strcmp(word.text, "TUPLTYPE") == 0) {
            read_rest(lexer, &c, &type);
            continue;
        }
        const Field *known = nullptr;
        for (const Field &field : fields)
            known = std::strcmp(word.text, field.keyword) == 0 ? &field : known;
        if (known == nullptr)
            return damaged("the header has an unknown keyword");
        const Verdict verdict = read_number(lexer, file, known->limit, known->value);
        if (verdict.status != 0)
            return verdict;
    }
    if (header->width == 0 || header->height == 0 || channels == 0 || header->maxval == 0)
        return damaged("the header lacks a size");
    return share_out_channels(type.text, channels, header);
}

} // namespace

int32_t sample_bits(const Header &header) {
    return is_float(header)
               ? 32
               : static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(header.maxval)));
}

int64_t row_bytes(const Header &header) {
    if (header.kind == '4')
        return (int64_t{header.width} + 7) / 8;
    const int64_t sample = is_float(header) ? 4 : header.maxval > 255 ? 2 : 1;
    return int64_t{header.width} * depth(header) * sample;
}

Verdict read_header(FILE *file, const char *kinds, Header *header) {
    Lexer lexer(file, longest_header);
    *header = {};
    const int first = lexer.next();
    const int kind = first == 'P' ? lexer.next() : EOF;
    const int after = kind > 0 && std::strchr(kinds, kind) != nullptr ? lexer.next() : EOF;
    if (std::ferror(file) != 0)
        return {ZOR_E_READ, "the header cannot be read"};
    if (!is_space(after))
        return {ZOR_E_NOT_THIS_TYPE, "not a file of this type"};
    header->kind = static_cast<char>(kind);
    if (kind == '7')
        return read_keywords(lexer, file, header);

    header->image = kind == '3' || kind == '6' || kind == 'F' ? 3 : 1;
    const Verdict verdict = read_size(lexer, file, header);
    if (verdict.status != 0)
        return verdict;
    if (is_float(*header))
        return read_scale(lexer, file, header);
    header->maxval = 1;
    if (kind == '1' || kind == '4')
        return fine;
    return read_number(lexer, file, largest_maxval, &header->maxval);
}

bool write_header(FILE *file, const Header &header) {
    const int width = header.width;
    const int height = header.height;
    if (header.kind == '4')
        return std::fprintf(file, "P4\n%d %d\n", width, height) > 0;
    if (is_float(header))
        return std::fprintf(file, "P%c\n%d %d\n-1.0\n", header.kind, width, height) > 0;
    if (header.kind != '7')
        return std::fprintf(file, "P%c\n%d %d\n%d\n", header.kind, width, height, header.maxval) >
               0;
    const char *type = header.image == 3    ? "RGB"
                       : header.maxval == 1 ? "BLACKANDWHITE"
                                            : "GRAYSCALE";
    return std::fprintf(
               file, "P7\nWIDTH %d\nHEIGHT %d\nDEPTH %d\nMAXVAL %d\nTUPLTYPE %s%s\nENDHDR\n", width,
               height, depth(header), header.maxval, type, header.matte > 0 ? "_ALPHA" : "") > 0;
}

} // namespace pnm
