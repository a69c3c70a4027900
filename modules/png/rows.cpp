// rows.cpp - between pixels in a row and a row for each channel.
#include "rows.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace pngio {

namespace {

template<class Sample>
void unpack(const uint8_t *bytes, int32_t width, int32_t channels, void *const *rows) {
    const size_t step = static_cast<size_t>(channels) * sizeof(Sample);
    for (int32_t k = 0; k < channels; ++k) {
        auto *row = static_cast<Sample *>(rows[k]);
        const uint8_t *from = bytes + static_cast<size_t>(k) * sizeof(Sample);
        for (int32_t x = 0; x < width; ++x, from += step)
            std::memcpy(&row[x], from, sizeof(Sample));
    }
}

// Brings a sample from one width to another.
uint32_t convert(uint32_t value, int32_t from, int32_t to) {
    const uint32_t largest = (1U << from) - 1;
    value = std::min(value, largest);
    if (from > to) {
        const uint32_t full = (1U << to) - 1;
        return (value * full + largest / 2) / largest;
    }
    value <<= to - from;
    for (int32_t filled = from; filled < to; filled *= 2)
        value |= value >> filled;
    return value;
}

template<class In, class Out>
void pack_channel(const void *samples, int32_t width, int32_t from, int32_t to, uint8_t *bytes,
                  size_t step) {
    const auto *row = static_cast<const In *>(samples);
    const auto put = [&](auto change) {
        uint8_t *pixel = bytes;
        for (int32_t x = 0; x < width; ++x, pixel += step) {
            const auto sample = static_cast<Out>(change(row[x]));
            std::memcpy(pixel, &sample, sizeof sample);
        }
    };
    if (from == to && from == 8 * static_cast<int32_t>(sizeof(In)))
        put([](In sample) { return sample; });
    else
        put([=](In sample) { return convert(sample, from, to); });
}

} // namespace

void unpack_row(const uint8_t *bytes, int32_t width, int32_t channels, int32_t bits,
                void *const *rows) {
    if (bits > 8)
        unpack<uint16_t>(bytes, width, channels, rows);
    else
        unpack<uint8_t>(bytes, width, channels, rows);
}

int32_t depth_for(const Packing &packing) {
    const bool plain_grey = packing.colours == 1 && packing.mattes == 0;
    int32_t depth = plain_grey ? 1 : 8; // pixels of several channels have whole bytes
    while (depth < packing.colour_bits)
        depth *= 2;
    return depth;
}

void pack_row(const Packing &packing, void *const *rows, uint8_t *bytes) {
    const bool wide = packing.depth > 8;
    const size_t size = wide ? 2 : 1;
    const int32_t channels = packing.colours + packing.mattes;
    for (int32_t k = 0; k < channels; ++k) {
        const int32_t bits = k < packing.colours ? packing.colour_bits : packing.matte_bits;
        const auto pack =
            bits > 8 ? (wide ? pack_channel<uint16_t, uint16_t> : pack_channel<uint16_t, uint8_t>)
                     : (wide ? pack_channel<uint8_t, uint16_t> : pack_channel<uint8_t, uint8_t>);
        pack(rows[k], packing.width, bits, packing.depth, bytes + static_cast<size_t>(k) * size,
             static_cast<size_t>(channels) * size);
    }
}

} // namespace pngio
