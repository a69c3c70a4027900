// driver.cpp - the driver "mem": images kept in memory under a name.
//
// Opens and closes come one at a time, under the library's lock. Scans need none: what others can
// see of a picture no longer changes, and a reader copies rows into buffers of its own.
#include "drivers/mem/driver.h"

#include <cerrno>

#include "base/base/owned.h"
#include "core/channels.h"
#include "core/description.h"
#include "core/file.h"
#include "drivers/mem/table.h"
#include "err/status.h"
#include "zor/str.h"

namespace zor::mem {

namespace {

// The content of a data slot.
struct Slot {
    Slot *all; // of the handle: the array this one is in
    Picture *picture;
    SubImage *sub;
    void **rows; // reading: the rows handed out; the handle's
};

int write_scanline(void *state, int y, void **rows) {
    auto *slot = static_cast<Slot *>(state);
    if (!has_row(*slot->sub, y))
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    store_row(slot->sub, y, rows);
    return 0;
}

int read_scanline(void *state, int y, void **rows) {
    auto *slot = static_cast<Slot *>(state);
    if (!has_row(*slot->sub, y))
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    load_row(*slot->sub, y, slot->rows);
    *rows = slot->rows;
    return 0;
}

// Frees the handle. Returns its picture.
Picture *end_handle(ZOR_IMAGE *image) {
    auto *slot = static_cast<Slot *>(image->data[0]);
    Picture *picture = slot->picture;
    ERR_free(slot->all);
    zor__free_obj(image);
    return picture;
}

int close_writer(ZOR_IMAGE *image) {
    publish(end_handle(image));
    return 0;
}

int close_reader(ZOR_IMAGE *image) {
    release(end_handle(image));
    return 0;
}

// Images have no directories: the name is what it says, with the extension as for files.
bool settle_name(ZOR_IMAGE *image) {
    const bool named = STR_length(image->file_name) > 0;
    char *name = named ? path_in(*image, nullptr, image->file_name) : nullptr;
    if (name == nullptr) {
        fail_open(*image, named ? ENOMEM : ENOENT);
        return false;
    }
    drop_text(&image->file_name);
    image->file_name = name;
    return true;
}

// Gives each sub-image its slot; reading, with rows to hand out. False on failure, reported.
bool fill_slots(ZOR_IMAGE *image, Picture *picture) {
    const bool reading = (image->mode & ZOR_MODE_READ) != 0;
    auto *slots = allocate<Slot>(image->num_images);
    if (slots == nullptr)
        return set_status(ZOR_E_MEMORY) == 0;
    for (int32_t i = 0; i < image->num_images; ++i) {
        slots[i] = {slots, picture, &picture->subs[i],
                    reading ? ZOR_chan_alloc(image, i) : nullptr};
        if (reading && slots[i].rows == nullptr) {
            ERR_free(slots);
            return false;
        }
    }
    for (int32_t i = 0; i < image->num_images; ++i)
        image->data[i] = &slots[i];
    return true;
}

} // namespace

int open_reader(ZOR_IMAGE *image) {
    if (!settle_name(image))
        return 0;
    Picture *picture = acquire(image->file_name);
    if (picture == nullptr) {
        fail_open(*image, ENOENT);
        return 0;
    }
    if (!describe_handle(image, *picture) || !fill_slots(image, picture)) {
        release(picture);
        return 0;
    }
    image->scan = read_scanline;
    image->close = close_reader;
    return 1;
}

int open_writer(ZOR_IMAGE *image) {
    if (!settle_name(image))
        return 0;
    for (int32_t i = 0; i < image->num_images; ++i) {
        image->images[i].chan_flag = 1;
        settle_float_widths(&image->images[i]);
    }
    Picture *picture = new_picture(*image);
    if (picture == nullptr)
        return 0;
    if (!fill_slots(image, picture)) {
        release(picture);
        return 0;
    }
    image->scan = write_scanline;
    image->close = close_writer;
    return 1;
}

} // namespace zor::mem
