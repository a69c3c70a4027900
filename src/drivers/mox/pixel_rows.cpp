// pixel_rows.cpp - weaving rows into pixels and back, a vector of each row at a time.
#include "drivers/mox/pixel_rows.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace zor::mox {

namespace {

// Vectors of 16 bytes, which the compiler makes of what the processor has.
template<class Sample>
struct Lanes {
    static constexpr size_t count = 16 / sizeof(Sample);
    using Vector [[gnu::vector_size(16)]] = Sample;

    static Vector load(const uint8_t *from) {
        Vector vector;
        std::memcpy(&vector, from, sizeof vector);
        return vector;
    }
    static void store(uint8_t *to, Vector vector) { std::memcpy(to, &vector, sizeof vector); }

    // Lanes in turn, of the lower or upper halves of two vectors.
    template<size_t Half, size_t OtherHalf>
    static Vector zip(Vector a, Vector b) {
        return zip<Half, OtherHalf>(a, b, std::make_index_sequence<count>());
    }
    static Vector zip_low(Vector a, Vector b) { return zip<0, 0>(a, b); }
    static Vector zip_high(Vector a, Vector b) { return zip<1, 1>(a, b); }

private:
    template<size_t Half, size_t OtherHalf, size_t... I>
    static Vector zip(Vector a, Vector b, std::index_sequence<I...>) {
        constexpr size_t from[] = {Half * count / 2, count + OtherHalf * count / 2};
        return __builtin_shufflevector(a, b, static_cast<int>(I / 2 + from[I % 2])...);
    }
};

// Pixels of four samples.
template<class Sample>
void zip_four(typename Lanes<Sample>::Vector (&v)[4]) {
    using L = Lanes<Sample>;
    const auto ac = L::zip_low(v[0], v[2]);
    const auto ac_high = L::zip_high(v[0], v[2]);
    const auto bd = L::zip_low(v[1], v[3]);
    const auto bd_high = L::zip_high(v[1], v[3]);
    v[0] = L::zip_low(ac, bd);
    v[1] = L::zip_high(ac, bd);
    v[2] = L::zip_low(ac_high, bd_high);
    v[3] = L::zip_high(ac_high, bd_high);
}

// Stores pixels of four samples without the last one, 6 or 12 bytes and some to be overwritten at a
// time.
template<class Sample>
void store_three(const typename Lanes<Sample>::Vector (&v)[4], uint8_t *to) {
    constexpr size_t piece = sizeof(Sample) == 4 ? 16 : 8;
    for (const auto &four : v) {
        uint64_t words[2];
        std::memcpy(words, &four, sizeof words);
        if (sizeof(Sample) == 1)
            for (uint64_t &word : words)
                word = (word & 0xFFFFFF) | (word >> 8 & 0xFFFFFF000000);
        for (size_t at = 0; at < sizeof words; at += piece, to += piece / 4 * 3)
            std::memcpy(to, reinterpret_cast<const uint8_t *>(words) + at, piece);
    }
}

// Weaves the pixels of one vector of each row.
template<class Sample, size_t Count>
void weave_vectors(const uint8_t *const *rows, size_t at, uint8_t *to) {
    using L = Lanes<Sample>;
    typename L::Vector v[4] = {};
    for (size_t k = 0; k < Count; ++k)
        v[k] = L::load(rows[k] + at);
    if constexpr (Count == 2) {
        L::store(to, L::zip_low(v[0], v[1]));
        L::store(to + 16, L::zip_high(v[0], v[1]));
        return;
    }
    zip_four<Sample>(v);
    if constexpr (Count == 3)
        store_three<Sample>(v, to);
    else
        for (size_t k = 0; k < 4; ++k)
            L::store(to + 16 * k, v[k]);
}

// Shuffles all lanes of some vectors like a pack of cards: the first half with the second.
template<class Sample, size_t Count, size_t... I>
void shuffle(typename Lanes<Sample>::Vector (&v)[Count], std::index_sequence<I...>) {
    const typename Lanes<Sample>::Vector shuffled[] = {
        Lanes<Sample>::template zip<I % 2, (I + Count) % 2>(v[I / 2], v[(I + Count) / 2])...};
    std::copy_n(shuffled, Count, v);
}

// Takes as many apart. Shuffling n times takes lane i to lane i * 2^n modulo one less than there
// are lanes: as often as it takes to bring the first samples of all pixels together, and so all
// others.
template<class Sample, size_t Count>
void unweave_vectors(const uint8_t *from, uint8_t *const *rows, size_t at) {
    using L = Lanes<Sample>;
    typename L::Vector v[Count];
    for (size_t k = 0; k < Count; ++k)
        v[k] = L::load(from + 16 * k);
    for (size_t n = 1; n < L::count; n *= 2)
        shuffle<Sample>(v, std::make_index_sequence<Count>());
    for (size_t k = 0; k < Count; ++k)
        L::store(rows[k] + at, v[k]);
}

// The last pixels are moved sample by sample. There is one at least, for what store_three leaves
// behind its pixels.
template<class Sample, size_t Count>
void weave(const uint8_t *const *rows, int32_t count, uint8_t *pixels) {
    const size_t size = static_cast<size_t>(count) * sizeof(Sample);
    size_t at = 0;
    if constexpr (std::endian::native == std::endian::little || Count != 3)
        for (; at + 16 < size; at += 16)
            weave_vectors<Sample, Count>(rows, at, pixels + Count * at);
    for (; at < size; at += sizeof(Sample))
        for (size_t k = 0; k < Count; ++k)
            std::memcpy(pixels + Count * at + k * sizeof(Sample), rows[k] + at, sizeof(Sample));
}

template<class Sample, size_t Count>
void unweave(const uint8_t *pixels, int32_t count, uint8_t *const *rows) {
    const size_t size = static_cast<size_t>(count) * sizeof(Sample);
    size_t at = 0;
    for (; at + 16 <= size; at += 16)
        unweave_vectors<Sample, Count>(pixels + Count * at, rows, at);
    for (; at < size; at += sizeof(Sample))
        for (size_t k = 0; k < Count; ++k)
            std::memcpy(rows[k] + at, pixels + Count * at + k * sizeof(Sample), sizeof(Sample));
}

template<class Sample>
constexpr PixelMover movers[] = {{weave<Sample, 2>, unweave<Sample, 2>},
                                 {weave<Sample, 3>, unweave<Sample, 3>},
                                 {weave<Sample, 4>, unweave<Sample, 4>}};

const PixelMover *mover_of(int32_t count, int32_t sample_size) {
    const PixelMover *const all = sample_size == 1   ? movers<uint8_t>
                                  : sample_size == 2 ? movers<uint16_t>
                                  : sample_size == 4 ? movers<uint32_t>
                                                     : nullptr;
    return all != nullptr && count >= 2 && count <= most_in_pixel ? all + count - 2 : nullptr;
}

// Bytes of a channel's samples; 0 for one that there is not.
int32_t sample_size_of(const ChannelGroup (&groups)[num_groups], int32_t channel) {
    for (const ChannelGroup &group : groups) {
        if (channel < group.count)
            return group.codec->sample_size;
        channel -= group.count;
    }
    return 0;
}

uintptr_t address_of(const ZOR_PLANE &plane) { return reinterpret_cast<uintptr_t>(plane.samples); }

} // namespace

Pixels find_pixels(const ZOR_RASTER &raster, const ChannelGroup (&groups)[num_groups]) {
    const int32_t size = sample_size_of(groups, 0);
    if (size == 0 || raster.planes[0].column_step > ZOR_WORD{most_in_pixel} * size)
        return {};
    const ZOR_PLANE *const planes = raster.planes;
    Pixels pixels;
    pixels.count = static_cast<int32_t>(planes[0].column_step / size);
    if (pixels.count > raster.num_planes || mover_of(pixels.count, size) == nullptr)
        return {};
    uintptr_t first = address_of(planes[0]);
    for (int32_t k = 1; k < pixels.count; ++k)
        first = std::min(first, address_of(planes[k]));
    uint32_t met = 0;
    for (int32_t k = 0; k < pixels.count; ++k) {
        const uintptr_t offset = address_of(planes[k]) - first;
        const uintptr_t place = offset / static_cast<uintptr_t>(size);
        if (planes[k].samples == nullptr || sample_size_of(groups, k) != size ||
            planes[k].column_step != ZOR_WORD{pixels.count} * size ||
            planes[k].row_step != planes[0].row_step ||
            offset % static_cast<uintptr_t>(size) != 0 ||
            place >= static_cast<uintptr_t>(pixels.count))
            return {};
        pixels.channels[place] = k;
        met |= 1U << place;
    }
    if (met + 1 != 1U << pixels.count)
        return {};
    pixels.mover = mover_of(pixels.count, size);
    return pixels;
}

} // namespace zor::mox
