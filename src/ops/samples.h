// samples.h - how operators look at a description: groups of channels, storage of samples, and the
// part of the picture that is in use.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "zor/records.h"

namespace zor {

// Groups in the order in which their rows come.
enum Group { COLOUR, MATTE, AUX, num_groups };

inline std::array<ZOR_CHANNELS *, num_groups> groups_of(ZOR_IMAGE_DESC &desc) {
    return {&desc.image, &desc.matte, &desc.aux};
}
inline std::array<ZOR_CHANNELS, num_groups> copy_groups(const ZOR_IMAGE_DESC &desc) {
    return {desc.image, desc.matte, desc.aux};
}
inline void put_groups(ZOR_IMAGE_DESC &desc, const std::array<ZOR_CHANNELS, num_groups> &groups) {
    desc.image = groups[COLOUR];
    desc.matte = groups[MATTE];
    desc.aux = groups[AUX];
}

// Index of a group's first row.
inline int32_t first_channel(const ZOR_IMAGE_DESC &desc, Group group) {
    return group == COLOUR ? 0 : desc.image.count + (group == AUX ? desc.matte.count : 0);
}

inline bool is_integer(const ZOR_CHANNELS &group) { return group.type == ZOR_C_INTEGER; }
inline bool is_float(const ZOR_CHANNELS &group) {
    return group.type == ZOR_C_FLOAT || group.type == ZOR_C_DOUBLE;
}

// Channels that share a row: colours may be interleaved in the first one.
inline int32_t channels_per_row(const ZOR_IMAGE_DESC &desc, Group group) {
    return group == COLOUR && desc.chan_flag == 0 ? std::max(desc.image.count, 1) : 1;
}

inline int32_t row_width(const ZOR_IMAGE_DESC &desc) { return desc.win_right - desc.win_left + 1; }

// Largest value of an integer of so many bits, 0 to 32.
inline constexpr std::array<double, 33> max_value = [] {
    std::array<double, 33> table{};
    for (size_t bits = 0; bits < table.size(); ++bits)
        table[bits] = static_cast<double>((uint64_t{1} << bits) - 1);
    return table;
}();

// What a group's samples have for 1: the largest value of integers.
inline double largest_value(const ZOR_CHANNELS &group) {
    const bool integers = is_integer(group) && group.bits >= 0 && group.bits <= 32;
    return integers ? max_value[static_cast<size_t>(group.bits)] : 1.0;
}

// A value, 0 or more, truncated to an integer sample that can hold it.
template<class Sample>
Sample truncate_to(double value) {
    if constexpr (sizeof(Sample) < 4)
        return static_cast<Sample>(static_cast<int32_t>(value)); // can be vectorised
    else
        return static_cast<Sample>(value);
}

// A value as an integer sample: rounded, and clamped to [0, largest]; 0 for NaN.
template<class Sample>
Sample to_sample(double value, double largest) {
    const double positive = value > 0 ? value : 0;
    return truncate_to<Sample>((positive < largest ? positive : largest) + 0.5);
}

// A float as an integer sample: clamped to [0, 1], 0 for NaN, in the type that there is, of which
// more fit in a register; times the largest sample and rounded.
template<class Float>
Float clamp_to_unit(Float value) {
    const Float positive = value > 0 ? value : 0;
    return positive < 1 ? positive : 1;
}
template<class Integer, class Float>
Integer round_unit(Float value, double largest) {
    return truncate_to<Integer>(static_cast<double>(clamp_to_unit(value)) * largest + 0.5);
}

// The active window as rows see it: so many samples from an offset on, in so many lines.
struct ActivePart {
    int32_t bottom, top;
    int32_t offset, count;
    [[nodiscard]] bool has_line(int y) const { return y >= bottom && y <= top; }
};

// Kept inside the window, whatever a driver says.
inline ActivePart active_part(const ZOR_IMAGE_DESC &desc) {
    const int32_t left = std::clamp(desc.act_left, desc.win_left, desc.win_right);
    const int32_t right = std::clamp(desc.act_right, left, desc.win_right);
    return {desc.act_bottom, desc.act_top, left - desc.win_left, right - left + 1};
}

// A row of a channel-pointer array as samples of a type.
template<class Sample>
Sample *samples(void *const *rows, int32_t channel) {
    return static_cast<Sample *>(rows[channel]);
}

// Calls choose with a value of the type that holds a group's samples, and returns what it returns,
// by which row functions are chosen once at push:
//
//     record->convert = choose_by_sample(group, []<class Sample>(Sample) { return &row<Sample>; });
//
// A value-initialised result for a group whose samples cannot be held.
template<class Choose>
auto choose_by_sample(const ZOR_CHANNELS &group, Choose choose) -> decltype(choose(uint8_t{})) {
    switch (group.type) {
    case ZOR_C_INTEGER:
        if (group.bits < 1 || group.bits > 32)
            return {};
        if (group.bits <= 8)
            return choose(uint8_t{});
        return group.bits <= 16 ? choose(uint16_t{}) : choose(uint32_t{});
    case ZOR_C_FLOAT:
        return choose(float{});
    case ZOR_C_DOUBLE:
        return choose(double{});
    default:
        return {};
    }
}

} // namespace zor
