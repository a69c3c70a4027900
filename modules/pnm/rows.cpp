// rows.cpp - rows of binary files.
#include "rows.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace pnm {

namespace {

// A number from one range of integers to another, both from 0 and up to 16 bits wide.
uint32_t rescale(uint32_t value, uint32_t from, uint32_t to) {
    return (value * to + from / 2) / from;
}

// Samples of more than one byte have their most significant byte first.
template<class Sample>
uint32_t load(const uint8_t *bytes) {
    if constexpr (sizeof(Sample) == 1)
        return bytes[0];
    else
        return static_cast<uint32_t>(bytes[0] << 8 | bytes[1]);
}

template<class Sample>
void store(uint8_t *bytes, uint32_t value) {
    if constexpr (sizeof(Sample) == 1) {
        bytes[0] = static_cast<uint8_t>(value);
    } else {
        bytes[0] = static_cast<uint8_t>(value >> 8);
        bytes[1] = static_cast<uint8_t>(value);
    }
}

template<class Sample>
void unpack_integers(const Header &header, const uint8_t *bytes, void *const *rows) {
    const int32_t channels = depth(header);
    const size_t step = static_cast<size_t>(channels) * sizeof(Sample);
    for (int32_t k = 0; k < channels; ++k) {
        auto *row = static_cast<Sample *>(rows[k]);
        const uint8_t *from = bytes + static_cast<size_t>(k) * sizeof(Sample);
        for (int32_t x = 0; x < header.width; ++x, from += step)
            row[x] = static_cast<Sample>(load<Sample>(from));
    }
}

// In a bitmap a set bit is black.
void unpack_bits(const Header &header, const uint8_t *bytes, void *const *rows) {
    auto *row = static_cast<uint8_t *>(rows[0]);
    for (int32_t x = 0; x < header.width; ++x)
        row[x] = (bytes[x / 8] >> (7 - x % 8) & 1) ^ 1;
}

void unpack_floats(const Header &header, const uint8_t *bytes, void *const *rows) {
    const int32_t channels = depth(header);
    const int first = header.little_endian ? 0 : 24; // where the first byte of four goes
    const int step = header.little_endian ? 8 : -8;
    for (int32_t k = 0; k < channels; ++k) {
        auto *row = static_cast<float *>(rows[k]);
        const uint8_t *from = bytes + static_cast<size_t>(k) * 4;
        for (int32_t x = 0; x < header.width; ++x, from += static_cast<size_t>(channels) * 4) {
            uint32_t value = 0;
            for (int i = 0; i < 4; ++i)
                value |= static_cast<uint32_t>(from[i]) << (first + i * step);
            row[x] = std::bit_cast<float>(value);
        }
    }
}

template<class Sample>
bool spread(const Header &header, void *const *rows) {
    const auto maxval = static_cast<uint32_t>(header.maxval);
    const uint32_t full = (1U << sample_bits(header)) - 1;
    if (maxval == full && full == static_cast<Sample>(~0U))
        return true; // whatever the type holds is right
    const int32_t channels = depth(header);
    for (int32_t k = 0; k < channels; ++k) {
        auto *row = static_cast<Sample *>(rows[k]);
        Sample largest = 0;
        for (int32_t x = 0; x < header.width; ++x)
            largest = std::max(largest, row[x]);
        if (largest > maxval)
            return false;
        if (maxval == full)
            continue;
        for (int32_t x = 0; x < header.width; ++x)
            row[x] = static_cast<Sample>(rescale(row[x], maxval, full));
    }
    return true;
}

// Puts one channel into a row of the file.
//   in_largest   largest sample coming in; out_largest of the file
//   step         bytes from pixel to pixel
template<class In, class Out>
void pack_channel(const void *samples, int32_t width, uint32_t in_largest, uint32_t out_largest,
                  uint8_t *to, size_t step) {
    const auto *row = static_cast<const In *>(samples);
    if (in_largest == out_largest) {
        for (int32_t x = 0; x < width; ++x, to += step)
            store<Out>(to, std::min<uint32_t>(row[x], in_largest));
        return;
    }
    for (int32_t x = 0; x < width; ++x, to += step)
        store<Out>(to, rescale(std::min<uint32_t>(row[x], in_largest), in_largest, out_largest));
}

void pack_integers(const Header &header, int32_t matte_bits, void *const *rows, uint8_t *bytes) {
    const auto largest = static_cast<uint32_t>(header.maxval);
    const bool wide = largest > 255;
    const size_t size = wide ? 2 : 1;
    const int32_t channels = depth(header);
    for (int32_t k = 0; k < channels; ++k) {
        const uint32_t in = k < header.image ? largest : (1U << matte_bits) - 1;
        const auto pack =
            in > 255 ? (wide ? pack_channel<uint16_t, uint16_t> : pack_channel<uint16_t, uint8_t>)
                     : (wide ? pack_channel<uint8_t, uint16_t> : pack_channel<uint8_t, uint8_t>);
        pack(rows[k], header.width, in, largest, bytes + static_cast<size_t>(k) * size,
             static_cast<size_t>(channels) * size);
    }
}

void pack_bits(const Header &header, const void *samples, uint8_t *bytes) {
    const auto *row = static_cast<const uint8_t *>(samples);
    std::memset(bytes, 0, static_cast<size_t>(row_bytes(header)));
    for (int32_t x = 0; x < header.width; ++x)
        if (row[x] == 0)
            bytes[x / 8] = static_cast<uint8_t>(bytes[x / 8] | 0x80 >> x % 8);
}

// Written with the least significant byte first.
void pack_floats(const Header &header, void *const *rows, uint8_t *bytes) {
    const int32_t channels = depth(header);
    for (int32_t k = 0; k < channels; ++k) {
        const auto *row = static_cast<const float *>(rows[k]);
        uint8_t *to = bytes + static_cast<size_t>(k) * 4;
        for (int32_t x = 0; x < header.width; ++x, to += static_cast<size_t>(channels) * 4) {
            const auto value = std::bit_cast<uint32_t>(row[x]);
            for (int i = 0; i < 4; ++i)
                to[i] = static_cast<uint8_t>(value >> (8 * i));
        }
    }
}

} // namespace

bool spread_samples(const Header &header, void *const *rows) {
    return header.maxval > 255 ? spread<uint16_t>(header, rows) : spread<uint8_t>(header, rows);
}

bool unpack_row(const Header &header, const uint8_t *bytes, void *const *rows) {
    if (header.kind == '4') {
        unpack_bits(header, bytes, rows);
        return true;
    }
    if (is_float(header)) {
        unpack_floats(header, bytes, rows);
        return true;
    }
    if (header.maxval > 255)
        unpack_integers<uint16_t>(header, bytes, rows);
    else
        unpack_integers<uint8_t>(header, bytes, rows);
    return spread_samples(header, rows);
}

void pack_row(const Header &header, int32_t matte_bits, void *const *rows, uint8_t *bytes) {
    if (header.kind == '4')
        pack_bits(header, rows[0], bytes);
    else if (is_float(header))
        pack_floats(header, rows, bytes);
    else
        pack_integers(header, matte_bits, rows, bytes);
}

} // namespace pnm
