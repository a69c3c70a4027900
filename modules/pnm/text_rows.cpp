// text_rows.cpp - rows of text files.
#include "lexer.h"
#include "rows.h"

namespace pnm {

namespace {

// Digits of a bitmap need no space between them. 1 is black.
TextRow read_bits(Lexer &lexer, const Header &header, uint8_t *row) {
    for (int32_t x = 0; x < header.width; ++x) {
        const int c = lexer.next_solid();
        if (c != '0' && c != '1')
            return c == EOF ? TextRow::ended : TextRow::damaged;
        row[x] = c == '0' ? 1 : 0;
    }
    return TextRow::complete;
}

template<class Sample>
TextRow read_numbers(Lexer &lexer, const Header &header, void *const *rows) {
    for (int32_t x = 0; x < header.width; ++x)
        for (int32_t k = 0; k < header.image; ++k) {
            int c = lexer.next_solid();
            if (c == EOF)
                return TextRow::ended;
            const int64_t value = lexer.number(&c, header.maxval);
            if (value < 0 || value > header.maxval || (c != EOF && !is_space(c)))
                return TextRow::damaged;
            static_cast<Sample *>(rows[k])[x] = static_cast<Sample>(value);
        }
    return spread_samples(header, rows) ? TextRow::complete : TextRow::damaged;
}

} // namespace

TextRow read_text_row(FILE *file, const Header &header, void *const *rows) {
    Lexer lexer(file);
    if (header.kind == '1')
        return read_bits(lexer, header, static_cast<uint8_t *>(rows[0]));
    return header.maxval > 255 ? read_numbers<uint16_t>(lexer, header, rows)
                               : read_numbers<uint8_t>(lexer, header, rows);
}

} // namespace pnm
