// handle.h - making image handles out of info records, and freeing them.
#pragma once

#include <memory>

#include "zor/driver.h"

namespace zor {

// A text that info records and handles both carry.
struct SharedText {
    char *ZOR_INFO::*of_info;
    char *ZOR_IMAGE::*of_image;
};
inline constexpr SharedText shared_texts[] = {
    {&ZOR_INFO::key, &ZOR_IMAGE::key},
    {&ZOR_INFO::file_name, &ZOR_IMAGE::file_name},
    {&ZOR_INFO::name, &ZOR_IMAGE::name},
    {&ZOR_INFO::extension, &ZOR_IMAGE::extension},
    {&ZOR_INFO::description, &ZOR_IMAGE::description},
    {&ZOR_INFO::program, &ZOR_IMAGE::program},
    {&ZOR_INFO::machine, &ZOR_IMAGE::machine},
    {&ZOR_INFO::user, &ZOR_IMAGE::user},
    {&ZOR_INFO::date, &ZOR_IMAGE::date},
    {&ZOR_INFO::time, &ZOR_IMAGE::time},
    {&ZOR_INFO::filter, &ZOR_IMAGE::filter},
    {&ZOR_INFO::compression, &ZOR_IMAGE::compression},
};

// Copies the words that both carry, whichever way: field and job, the add-extension and reserved
// words, primaries, frame count and rate.
template<class To, class From>
void copy_shared_words(To *to, const From &from) {
    to->field_flag = from.field_flag;
    to->job_number = from.job_number;
    to->add_extension = from.add_extension;
    to->reserved9 = from.reserved9;
    to->frame_count = from.frame_count;
    to->frame_rate = from.frame_rate;
    for (int i = 0; i < 12; ++i)
        to->primaries[i] = from.primaries[i];
    for (int i = 0; i < 3; ++i) {
        to->reserved16[i] = from.reserved16[i];
        to->reserved18[i] = from.reserved18[i];
    }
}

bool is_initialised(const ZOR_INFO &info);

// What the library keeps behind a handle, whose own layout is fixed.
struct HandleRecord {
    ZOR_IMAGE image; // first: the handle's address is the record's
    ZOR_MOVE_FUNCTION move;
};

// A cleared handle with its lock and its one data slot; null when memory ran out (reported). The
// calling thread holds the lock until ZOR_open gives the handle out: elsewhere a handle's lock is
// taken before the library's, and the driver's open function runs under the library's.
ZOR_IMAGE *new_handle(int32_t mode);

// Whether operators are pushed. Samples and frames that came from the driver directly would not be
// what the description tells of then.
inline bool has_operators(const ZOR_IMAGE &image) { return image.driver_state != nullptr; }

// The state in a data slot; null when the driver left none, and then no function is called with it.
inline void *slot_state(const ZOR_IMAGE &image, int32_t slot = 0) {
    return image.data != nullptr ? image.data[slot] : nullptr;
}

// What a driver's functions get, scan apart: what it left in slot 0, where operators put their own.
inline void *driver_state(const ZOR_IMAGE &image) {
    return image.driver_state != nullptr ? image.driver_state : slot_state(image);
}

// Frees a handle that no driver has opened, lock included. Null is ignored.
void discard_handle(ZOR_IMAGE *image);

// Has the driver close and free a handle whose lock the calling thread holds, and frees the lock.
int close_held_handle(ZOR_IMAGE *image);

struct DiscardHandle {
    void operator()(ZOR_IMAGE *image) const { discard_handle(image); }
};
using NewHandle = std::unique_ptr<ZOR_IMAGE, DiscardHandle>;

} // namespace zor
