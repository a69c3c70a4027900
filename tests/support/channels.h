// channels.h - groups of channels: how tests write them down, and the samples of their rows.
#pragma once

#include <cstdint>

#include "zor/driver.h"

constexpr ZOR_CHANNELS none = {0, ZOR_C_INTEGER, 8};
constexpr ZOR_CHANNELS floats(int32_t count) { return {count, ZOR_C_FLOAT, 32}; }
constexpr ZOR_CHANNELS doubles(int32_t count) { return {count, ZOR_C_DOUBLE, 64}; }
constexpr ZOR_CHANNELS integers(int32_t count, int32_t bits) {
    return {count, ZOR_C_INTEGER, bits};
}

// The group that a row belongs to, of a description or anything else that has the three.
template<class Picture>
const ZOR_CHANNELS &group_of_row(const Picture &picture, int row) {
    if (row < picture.image.count)
        return picture.image;
    return row < picture.image.count + picture.matte.count ? picture.matte : picture.aux;
}
template<class Picture>
int count_rows(const Picture &picture) {
    return picture.image.count + picture.matte.count + picture.aux.count;
}

// Calls a function with a number of the type that the samples of a group have.
template<class Function>
auto with_sample(const ZOR_CHANNELS &group, Function function) {
    if (group.type != ZOR_C_INTEGER)
        return group.type == ZOR_C_FLOAT ? function(float{}) : function(double{});
    const int32_t size = ZOR_sample_size(group.type, group.bits);
    if (size == 1)
        return function(uint8_t{});
    return size == 2 ? function(uint16_t{}) : function(uint32_t{});
}
