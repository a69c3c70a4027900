// channel_groups.h - the three kinds of channels of a sub-image and how their rows are coded.
#pragma once

#include <cstdint>

#include "drivers/mox/row_codec.h"
#include "zor/driver.h"

namespace zor::mox {

constexpr int num_groups = 3; // colour, matte, auxiliary: the order of their records in a file

// The channels of one kind.
struct ChannelGroup {
    const RowCodec *codec; // null when there are none
    int32_t count;
};

// A description's channels of a kind, counted from 0.
ZOR_CHANNELS &group_channels(ZOR_IMAGE_DESC *desc, int kind);

// Report that the format, named by its key, cannot hold a kind's type or width. Return false.
bool refuse_type(int kind, const char *key);
bool refuse_width(int kind, const char *key);

// Chooses the coding of every channel. Float channels, whose files may say anything, get their true
// width in the description. False when a type or width does not exist: reported, with the status
// ZOR_E_UNSUPPORTED. Types and widths of empty groups do not matter.
bool choose_codecs(ZOR_IMAGE_DESC *desc, const char *key, ChannelGroup (&groups)[num_groups]);

} // namespace zor::mox
