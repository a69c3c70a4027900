// channels.h - row buffers of images, and what channels there may be.
#pragma once

#include <initializer_list>

#include "zor/driver.h"

namespace zor {

// What a format, or memory, can hold of one kind of channel.
struct GroupLimit {
    int32_t count;
    uint32_t widths; // of integers: bit n - 1 for n bits
};
struct ChannelLimits {
    GroupLimit image, matte, aux;
};

// All that rows can hold.
inline constexpr GroupLimit any_group = {INT32_MAX, UINT32_MAX};
inline constexpr ChannelLimits any_channels = {any_group, any_group, any_group};

// Refuses the first group, in the order image, matte, auxiliary, that is over its limits or of a
// type that does not exist; types and widths of empty groups do not matter. Returns 0, or
// ZOR_E_UNSUPPORTED with the group's message reported for who.
int32_t check_channels(const ZOR_IMAGE_DESC &desc, const ChannelLimits &limits, const char *who);

// Gives floats the width they have in memory, whatever the request called it.
void settle_float_widths(ZOR_IMAGE_DESC *desc);

// Calls function(channel, sample size in bytes) for every channel, in the order of the rows.
template<class Function>
void for_each_channel(const ZOR_IMAGE_DESC &desc, Function function) {
    int32_t channel = 0;
    for (const ZOR_CHANNELS *group : {&desc.image, &desc.matte, &desc.aux})
        for (int32_t i = 0; i < group->count; ++i)
            function(channel++, static_cast<size_t>(ZOR_sample_size(group->type, group->bits)));
}

// The buffers made latest for a handle; null when there are none.
void **latest_channels(const ZOR_IMAGE &image);

} // namespace zor
