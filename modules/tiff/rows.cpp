// rows.cpp - between lines of a file and a row for each channel.
#include "rows.h"

#include "shared/samples.h"

namespace tiffio {

namespace {

// A piece of a line: samples of one kind, at equal distances, most significant bit first.
struct Piece {
    const uint8_t *bytes;
    int64_t first, step; // bits
    int32_t count;
};

uint32_t sample_at(const Piece &piece, int32_t bits, int32_t x) {
    const int64_t begin = piece.first + x * piece.step;
    const int64_t end = begin + bits;
    uint32_t value = 0;
    for (int64_t byte = begin / 8; byte < (end + 7) / 8; ++byte)
        value = value << 8 | piece.bytes[byte];
    return value >> ((8 - end % 8) % 8) & ((1U << bits) - 1);
}

// Samples that do not fill their bytes.
template<class Sample>
void gather_bits(const Piece &piece, int32_t bits, void *row) {
    auto *samples = static_cast<Sample *>(row);
    for (int32_t x = 0; x < piece.count; ++x)
        samples[x] = static_cast<Sample>(sample_at(piece, bits, x));
}

// The same where no sample is in two bytes.
void gather_small(const Piece &piece, int32_t bits, void *row) {
    auto *samples = static_cast<uint8_t *>(row);
    const uint32_t mask = (1U << bits) - 1;
    int64_t bit = piece.first;
    for (int32_t x = 0; x < piece.count; ++x, bit += piece.step) {
        const uint32_t byte = piece.bytes[bit >> 3];
        samples[x] = static_cast<uint8_t>(byte >> (8 - bits - (bit & 7)) & mask);
    }
}

void gather(const Piece &piece, int32_t bits, void *row) {
    const uint8_t *bytes = piece.bytes + piece.first / 8;
    const auto step = static_cast<size_t>(piece.step / 8);
    switch (bits) {
    case 1:
    case 2:
    case 4:
        return gather_small(piece, bits, row);
    case 8:
        return driver::gather<uint8_t>(bytes, step, piece.count, row);
    case 16:
        return driver::gather<uint16_t>(bytes, step, piece.count, row);
    case 32:
        return driver::gather<uint32_t>(bytes, step, piece.count, row);
    case 64:
        return driver::gather<uint64_t>(bytes, step, piece.count, row);
    default:
        return bits > 8 ? gather_bits<uint16_t>(piece, bits, row)
                        : gather_bits<uint8_t>(piece, bits, row);
    }
}

// Indices of 16 bits are in the machine's byte order, narrower ones are bits.
template<class Sample>
void look_up(const Page &page, const Piece &piece, int32_t x, void *const *rows) {
    for (int32_t i = 0; i < piece.count; ++i) {
        uint16_t index = 0;
        if (page.bits == 16)
            std::memcpy(&index, piece.bytes + (piece.first + i * piece.step) / 8, sizeof index);
        else
            index = static_cast<uint16_t>(sample_at(piece, page.bits, i));
        for (int k = 0; k < 3; ++k)
            static_cast<Sample *>(rows[k])[x + i] =
                static_cast<Sample>(page.palette[k][index] >> page.palette_shift);
    }
}

// Takes one sample of each pixel of a piece.
void unpack_piece(const Page &page, const Piece &piece, int32_t sample, int32_t x,
                  void *const *rows) {
    const bool palette = page.palette[0] != nullptr;
    if (palette && sample == 0)
        return page.palette_bits > 8 ? look_up<uint16_t>(page, piece, x, rows)
                                     : look_up<uint8_t>(page, piece, x, rows);
    auto *row = static_cast<uint8_t *>(rows[palette ? sample + 2 : sample]);
    const int64_t offset = int64_t{x} * ZOR_sample_size(page.type, page.bits);
    gather(piece, page.bits, row + static_cast<size_t>(offset));
}

template<class Sample>
void invert(void *row, int32_t width, int32_t bits) {
    auto *samples = static_cast<Sample *>(row);
    const auto largest = static_cast<Sample>((uint64_t{1} << bits) - 1);
    for (int32_t x = 0; x < width; ++x)
        samples[x] = static_cast<Sample>(largest - samples[x]);
}

template<class Sample>
void reverse(void *row, int32_t width) {
    auto *samples = static_cast<Sample *>(row);
    std::reverse(samples, samples + width);
}

void reverse(void *row, int32_t width, int32_t sample_size) {
    switch (sample_size) {
    case 1:
        return reverse<uint8_t>(row, width);
    case 2:
        return reverse<uint16_t>(row, width);
    case 4:
        return reverse<uint32_t>(row, width);
    default:
        return reverse<uint64_t>(row, width);
    }
}

// Bits of the samples in a row that is handed out.
int32_t bits_of(const Page &page, int32_t channel) {
    return page.palette[0] != nullptr && channel < 3 ? page.palette_bits : page.bits;
}

} // namespace

void unpack_line(const Page &page, const Blocks &blocks, int32_t line, void *const *rows) {
    const uint8_t *block = blocks.band + (line - blocks.first) * page.line_bytes;
    const int32_t in_block = page.planar ? 1 : page.samples;
    for (int32_t plane = 0; plane < planes(page); ++plane)
        for (int32_t across = 0; across < blocks_across(page); ++across) {
            const auto x = static_cast<int32_t>(int64_t{across} * page.block_width);
            const int32_t count = std::min(page.block_width, page.width - x);
            for (int32_t k = 0; k < in_block; ++k)
                unpack_piece(page,
                             {block, int64_t{k} * page.bits, int64_t{in_block} * page.bits, count},
                             plane + k, x, rows);
            block += page.block_bytes;
        }
    if (page.inverted)
        driver::with_integer_type(page.bits, [&](auto sample) {
            invert<decltype(sample)>(rows[0], page.width, page.bits);
        });
    for (int32_t k = 0; k < channels(page) && page.mirrored; ++k)
        reverse(rows[k], page.width, ZOR_sample_size(page.type, bits_of(page, k)));
}

int64_t line_bytes(const Packing &packing) {
    const int64_t samples = int64_t{packing.width} * (packing.image.count + packing.matte.count);
    return (samples * packing.bits + 7) / 8;
}

namespace {

// Puts samples of one byte each next to one another.
void squeeze(uint8_t *bytes, int32_t count, int32_t bits) {
    const int32_t in_byte = 8 / bits;
    for (int32_t x = 0; x < count; x += in_byte) {
        uint32_t packed = 0;
        for (int32_t i = 0; i < in_byte; ++i)
            packed = packed << bits | (x + i < count ? bytes[x + i] : 0U);
        bytes[x / in_byte] = static_cast<uint8_t>(packed);
    }
}

} // namespace

void pack_line(const Packing &packing, void *const *rows, uint8_t *bytes) {
    const auto keep = [](auto sample) { return sample; };
    const int32_t channels = packing.image.count + packing.matte.count;
    const size_t size = static_cast<size_t>(std::max(packing.bits, 8)) / 8;
    const size_t step = static_cast<size_t>(channels) * size;
    for (int32_t k = 0; k < channels; ++k, bytes += size) {
        const int32_t from = k < packing.image.count ? packing.image.bits : packing.matte.bits;
        if (packing.image.type == ZOR_C_FLOAT)
            driver::scatter<uint32_t, uint32_t>(rows[k], packing.width, bytes, step, keep);
        else if (packing.image.type == ZOR_C_DOUBLE)
            driver::scatter<uint64_t, uint64_t>(rows[k], packing.width, bytes, step, keep);
        else
            driver::scatter_integers(rows[k], packing.width, from, packing.bits, bytes, step);
    }
    if (packing.bits < 8)
        squeeze(bytes - step, packing.width, packing.bits);
}

} // namespace tiffio
