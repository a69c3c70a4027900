// samples.h - samples between a row for each channel and pixels in which the channels take turns.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace driver {

// Takes a channel's samples, which stand step bytes apart, into a row.
template<class Sample>
void gather(const uint8_t *bytes, size_t step, int32_t count, void *row) {
    auto *samples = static_cast<Sample *>(row);
    for (int32_t x = 0; x < count; ++x, bytes += step)
        std::memcpy(&samples[x], bytes, sizeof(Sample));
}

// Puts a row's samples step bytes apart, each changed on the way.
template<class In, class Out, class Change>
void scatter(const void *row, int32_t count, uint8_t *bytes, size_t step, Change change) {
    const auto *samples = static_cast<const In *>(row);
    for (int32_t x = 0; x < count; ++x, bytes += step) {
        const auto sample = static_cast<Out>(change(samples[x]));
        std::memcpy(bytes, &sample, sizeof sample);
    }
}

// Brings an integer sample from one width to another, both 1 to 32 bits. Narrower samples are
// widened by repeating their bits, so that shifting them back gives the same samples; wider ones
// are scaled down. Samples that do not fit their width count as the largest.
inline uint32_t change_width(uint32_t value, int32_t from, int32_t to) {
    const auto largest = static_cast<uint32_t>((uint64_t{1} << from) - 1);
    value = std::min(value, largest);
    if (from > to) {
        const uint64_t full = (uint64_t{1} << to) - 1;
        return static_cast<uint32_t>((value * full + largest / 2) / largest);
    }
    value <<= to - from;
    for (int32_t filled = from; filled < to; filled *= 2)
        value |= value >> filled;
    return value;
}

// The integer type that holds samples of so many bits, as the library holds them: calls use with a
// value of that type.
template<class Use>
void with_integer_type(int32_t bits, Use use) {
    if (bits > 16)
        use(uint32_t{});
    else if (bits > 8)
        use(uint16_t{});
    else
        use(uint8_t{});
}

// Puts a row of integers of one width into pixels of another.
inline void scatter_integers(const void *row, int32_t count, int32_t from, int32_t to,
                             uint8_t *bytes, size_t step) {
    with_integer_type(from, [&](auto in) {
        with_integer_type(to, [&](auto out) {
            using In = decltype(in);
            using Out = decltype(out);
            if (from == to && from == 8 * static_cast<int32_t>(sizeof(In)))
                scatter<In, In>(row, count, bytes, step, [](In sample) { return sample; });
            else
                scatter<In, Out>(row, count, bytes, step,
                                 [=](In sample) { return change_width(sample, from, to); });
        });
    });
}

// The smallest of the widths 1, 2, 4, 8, 16 and 32 that files use which holds so many bits. Only
// one channel alone has less than whole bytes.
inline int32_t file_width(int32_t bits, int32_t channels) {
    int32_t width = channels == 1 ? 1 : 8;
    while (width < bits)
        width *= 2;
    return width;
}

} // namespace driver
