// channels.cpp - row buffers of images, and what channels there may be.
//
// The buffers of one description are one block:
//
//     ChannelBlock | pointer of each channel, null | row | spare | row | spare | ...
//
// Rows start at multiples of 64 bytes and have 64 spare bytes behind them, so that row code may
// move whole vectors.
#include "core/channels.h"

#include <cstring>

#include "base/base/owned.h"
#include "core/description.h"
#include "err/status.h"
#include "platform/platform.h"

using zor::platform::Lock;
using zor::platform::Mutex;

namespace {

constexpr size_t row_alignment = 64;

// In front of the channel pointers; links the blocks made for a handle.
struct ChannelBlock {
    ChannelBlock *next;
    void *padding; // keeps the pointers behind it where two pointers end
};

ChannelBlock *block_of(void **channels) { return reinterpret_cast<ChannelBlock *>(channels) - 1; }

void **channels_of(ChannelBlock *block) { return reinterpret_cast<void **>(block + 1); }

// Bytes from one row of a group to the next; 0 for an empty group.
uint64_t row_stride(const ZOR_CHANNELS &group, int32_t width) {
    if (group.count < 1)
        return 0;
    const auto bytes = static_cast<uint64_t>(width) *
                       static_cast<uint64_t>(ZOR_sample_size(group.type, group.bits));
    return (bytes + 2 * row_alignment - 1) / row_alignment * row_alignment;
}

// Adds the bytes of a group's rows to a size that stays at its largest value once the true one is
// beyond it.
uint64_t add_rows(uint64_t size, const ZOR_CHANNELS &group, int32_t width) {
    const uint64_t stride = row_stride(group, width);
    const auto count = static_cast<uint64_t>(group.count);
    if (stride != 0 && count > (UINT64_MAX - size) / stride)
        return UINT64_MAX;
    return size + stride * count;
}

} // namespace

int32_t ZOR_sample_size(int32_t type, int32_t bits) {
    switch (type) {
    case ZOR_C_INTEGER:
        if (bits < 1 || bits > 32)
            return 0;
        return bits <= 8 ? 1 : bits <= 16 ? 2 : 4;
    case ZOR_C_FLOAT:
        return 4;
    case ZOR_C_DOUBLE:
        return 8;
    default:
        return 0;
    }
}

namespace zor {

namespace {

bool is_right_type(const ZOR_CHANNELS &group, const GroupLimit &limit) {
    if (group.count < 0 || group.count > limit.count)
        return false;
    return group.count == 0 || (group.type >= ZOR_C_INTEGER && group.type <= ZOR_C_DOUBLE);
}

// The set has no bit for the widths of floats: those a driver refuses by itself.
bool is_right_width(const ZOR_CHANNELS &group, const GroupLimit &limit) {
    if (group.count == 0 || group.type != ZOR_C_INTEGER)
        return true;
    return group.bits >= 1 && group.bits <= 32 && (limit.widths >> (group.bits - 1) & 1U) != 0;
}

} // namespace

int32_t check_channels(const ZOR_IMAGE_DESC &desc, const ChannelLimits &limits, const char *who) {
    if (!is_right_type(desc.image, limits.image))
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_TYPE, who);
    if (!is_right_width(desc.image, limits.image))
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_WIDTH, who);
    if (!is_right_type(desc.matte, limits.matte))
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_TYPE, who);
    if (!is_right_width(desc.matte, limits.matte))
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_WIDTH, who);
    if (!is_right_type(desc.aux, limits.aux))
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_AUX_TYPE, who);
    if (!is_right_width(desc.aux, limits.aux))
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_AUX_WIDTH, who);
    return 0;
}

void settle_float_widths(ZOR_IMAGE_DESC *desc) {
    for (ZOR_CHANNELS *group : {&desc->image, &desc->matte, &desc->aux})
        if (group->type == ZOR_C_FLOAT || group->type == ZOR_C_DOUBLE)
            group->bits = group->type == ZOR_C_FLOAT ? 32 : 64;
}

void **latest_channels(const ZOR_IMAGE &image) {
    auto *block = static_cast<ChannelBlock *>(image.chan_buffers);
    return block != nullptr ? channels_of(block) : nullptr;
}

} // namespace zor

void **zor__chan_alloc(const ZOR_IMAGE_DESC *desc, int32_t width, const char *who) {
    if (zor::check_channels(*desc, zor::any_channels, who) != 0)
        return nullptr;
    width = width < 0 ? 0 : width;

    const ZOR_CHANNELS groups[] = {desc->image, desc->matte, desc->aux};
    int64_t num_channels = 0;
    for (const ZOR_CHANNELS &group : groups)
        num_channels += group.count;
    const auto num_pointers = static_cast<uint64_t>(num_channels) + 1;
    const uint64_t head = sizeof(ChannelBlock) + num_pointers * sizeof(void *);
    uint64_t size = head + row_alignment - 1;
    for (const ZOR_CHANNELS &group : groups)
        size = add_rows(size, group, width);
    // A size that cannot be had is asked for all the same, so that it is reported.
    auto *block = static_cast<ChannelBlock *>(
        ERR_malloc(size <= PTRDIFF_MAX ? static_cast<size_t>(size) : SIZE_MAX));
    if (block == nullptr) {
        zor::set_status(ZOR_E_MEMORY);
        return nullptr;
    }
    std::memset(block, 0, static_cast<size_t>(size));

    void **channels = channels_of(block);
    char *row = reinterpret_cast<char *>(block) + head;
    row += (row_alignment - reinterpret_cast<uintptr_t>(row) % row_alignment) % row_alignment;
    void **next = channels;
    for (const ZOR_CHANNELS &group : groups)
        for (int32_t i = 0; i < group.count; ++i, row += row_stride(group, width))
            *next++ = row;
    return channels;
}

void zor__chan_free(void **channels) {
    if (channels != nullptr)
        ERR_free(block_of(channels));
}

void **ZOR_chan_alloc(ZOR_IMAGE *image, int32_t sub_image) {
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, sub_image);
    if (desc == nullptr) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, image != nullptr ? image->key : "");
        return nullptr;
    }
    void **channels = zor__chan_alloc(desc, zor::window_width(*desc), image->key);
    if (channels != nullptr) {
        const Lock lock(static_cast<Mutex *>(image->lock));
        ChannelBlock *block = block_of(channels);
        block->next = static_cast<ChannelBlock *>(image->chan_buffers);
        image->chan_buffers = block;
    }
    return channels;
}

void ZOR_chan_free(ZOR_IMAGE *image, void **channels) {
    if (image == nullptr || channels == nullptr)
        return;
    const ChannelBlock *wanted = block_of(channels);
    const Lock lock(static_cast<Mutex *>(image->lock));
    ChannelBlock *before = nullptr;
    auto *block = static_cast<ChannelBlock *>(image->chan_buffers);
    while (block != nullptr && block != wanted) {
        before = block;
        block = block->next;
    }
    if (block == nullptr)
        return; // not one of this handle's
    if (before != nullptr)
        before->next = block->next;
    else
        image->chan_buffers = block->next;
    ERR_free(block);
}
