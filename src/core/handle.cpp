// handle.cpp - image handles: what they are made of, and looking into them.
#include "core/handle.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/base/owned.h"
#include "core/capabilities.h"
#include "core/channels.h"
#include "core/description.h"
#include "err/status.h"
#include "platform/platform.h"

namespace zor {

ZOR_IMAGE *new_handle(int32_t mode) {
    auto *record = allocate<HandleRecord>();
    if (record == nullptr)
        return nullptr;
    std::memset(record, 0, sizeof *record);
    ZOR_IMAGE *image = &record->image;
    image->lock = platform::mutex_create();
    if (image->lock == nullptr) {
        ERR_free(record);
        return nullptr;
    }
    image->data = &image->own_slot;
    image->num_slots = 1;
    image->mode = mode;
    return image;
}

void discard_handle(ZOR_IMAGE *image) {
    if (image == nullptr)
        return;
    auto *lock = static_cast<platform::Mutex *>(image->lock);
    zor__free_obj(image);
    platform::mutex_unlock(lock);
    platform::mutex_destroy(lock);
}

namespace {

// Room is made in powers of two, so that a driver which finds its sub-images one by one does not
// copy them over and over; the count alone tells the room there is.
int64_t room_for(int32_t count) {
    return count < 1 ? 0 : static_cast<int64_t>(std::bit_ceil(static_cast<uint32_t>(count)));
}

bool grow_slots(ZOR_IMAGE *image, int32_t count) {
    if (count == 1 || room_for(count) == room_for(image->num_slots))
        return true;
    auto **slots = allocate<void *>(room_for(count));
    if (slots == nullptr)
        return false;
    std::memcpy(slots, image->data, static_cast<size_t>(image->num_slots) * sizeof *slots);
    if (image->data != &image->own_slot)
        ERR_free(image->data);
    image->data = slots;
    return true;
}

bool grow_descriptions(ZOR_IMAGE *image, int32_t count) {
    if (room_for(count) == room_for(image->num_images))
        return true;
    auto *grown = reallocate(image->images, room_for(count));
    if (grown != nullptr)
        image->images = grown;
    return grown != nullptr;
}

} // namespace

} // namespace zor

int zor__build_handle(ZOR_IMAGE *image, int32_t num_images) {
    if (num_images < 1 || num_images < image->num_images || num_images < image->num_slots)
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, image->key);
    if (!zor::grow_slots(image, num_images) || !zor::grow_descriptions(image, num_images))
        return zor::set_status(ZOR_E_MEMORY);
    for (; image->num_slots < num_images; ++image->num_slots)
        image->data[image->num_slots] = nullptr;
    for (; image->num_images < num_images; ++image->num_images)
        std::memset(&image->images[image->num_images], 0, sizeof *image->images);
    return 0;
}

void zor__free_obj(ZOR_IMAGE *image) {
    if (image == nullptr)
        return;
    for (const zor::SharedText &text : zor::shared_texts)
        ERR_free(image->*text.of_image);
    ERR_free(image->open_name);
    zor::free_settings(image->own_settings);
    const int32_t count = std::min(ZOR_image_count(image), image->num_slots); // made together
    for (int32_t i = 0; i < count; ++i) {
        zor::free_description_texts(&image->images[i]);
        ZOR_response_curve_done(&image->images[i].curve);
    }
    ERR_free(image->images);
    if (image->data != &image->own_slot)
        ERR_free(image->data);
    while (void **channels = zor::latest_channels(*image))
        ZOR_chan_free(image, channels);
    ERR_free(image);
}

int32_t ZOR_image_count(const ZOR_IMAGE *image) {
    return image != nullptr && image->images != nullptr ? image->num_images : 0;
}

const ZOR_IMAGE_DESC *ZOR_image_desc(const ZOR_IMAGE *image, int32_t index) {
    return index >= 0 && index < ZOR_image_count(image) ? &image->images[index] : nullptr;
}

int32_t ZOR_image_num_frames(const ZOR_IMAGE *image) {
    return image != nullptr ? image->num_frames : 0;
}

const ZOR_FORMAT *ZOR_image_format(const ZOR_IMAGE *image) {
    return image != nullptr ? image->format : nullptr;
}
