// seek.cpp - random access to files that can only be read in order.
#include <algorithm>
#include <cstdio>

#include "core/capabilities.h"
#include "core/description.h"
#include "core/handle.h"
#include "core/multiframe.h"
#include "core/open.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/driver.h"
#include "zor/str.h"

namespace {

bool is_rising(const ZOR_IMAGE &image) {
    return (image.images[0].orientation & ZOR_ORIENTATION_RISING) != 0;
}

// The line a sequential driver transfers next. A last line of -1 stands for none in rising files.
int64_t next_line(const ZOR_IMAGE &image) {
    const int64_t last = image.last_scanline;
    const int64_t bottom = image.images[0].win_bottom;
    if (is_rising(image))
        return last == -1 ? bottom : std::max(last + 1, bottom);
    return last - 1;
}

// Fills a request for the file of a handle; settings apart. False when memory ran out.
bool ask_again(ZOR_INFO *info, const ZOR_IMAGE &image) {
    ZOR_info_init(info);
    info->complete_path = 1;
    return zor::save_text(&info->key, image.format->key) &&
           zor::save_text(&info->file_name, image.file_name);
}

// Moves the settings list of a handle that is about to be closed into a request. A handle that
// stays, because others use it too, keeps its own, which is then copied.
//   own  receives the list when it is not the application's
// False when memory ran out (reported).
bool hand_settings_on(ZOR_INFO *info, ZOR_IMAGE *image, ZOR_CAP_SETTING ***own) {
    if (!zor::multiframe_withdraw(image)) {
        const bool good = zor::copy_settings(own, image->cap_settings);
        info->cap_settings = *own;
        return good;
    }
    info->cap_settings = image->cap_settings;
    *own = image->own_settings;
    image->cap_settings = nullptr;
    image->own_settings = nullptr;
    return true;
}

// Closes the file and opens it again, at its first line. The handle variable then holds the new
// handle, or null. Returns 0 or a negative status.
int reopen(ZOR_IMAGE **image) {
    ZOR_INFO info;
    ZOR_CAP_SETTING **own = nullptr;
    int32_t status = ZOR_OK;
    if (!ask_again(&info, **image))
        status = zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
    else if (!hand_settings_on(&info, *image, &own))
        status = zor::set_status(ZOR_E_MEMORY);
    if (status != ZOR_OK) {
        ZOR_info_cleanup(&info, 1);
        return status;
    }
    ZOR_close(*image);
    *image = zor::open_again(info);
    ZOR_info_cleanup(&info, 1);
    // The list goes with the new handle, unless the cache has made one for it.
    if (*image != nullptr && own != nullptr && (*image)->own_settings == nullptr)
        (*image)->own_settings = own;
    else
        zor::free_settings(own);
    status = zor::status();
    if (*image == nullptr)
        return status < 0 ? status : zor::set_status(ZOR_E_OPEN);
    return (*image)->images != nullptr ? 0 : zor::set_status(ZOR_E_UNSUPPORTED);
}

// Reads and drops the lines in front of the target. An image that is past it already reads nothing:
// the scan call that follows will complain.
int read_up_to(ZOR_IMAGE *image, int32_t target) {
    const bool rising = is_rising(*image);
    int64_t y = next_line(*image);
    while (rising ? y < target : y > target) {
        void **rows;
        const int result = ZOR_scan_read(image, static_cast<int32_t>(y), &rows);
        if (result != 0)
            return result;
        y += rising ? 1 : -1;
    }
    return 0;
}

} // namespace

int ZOR_seek(ZOR_IMAGE **variable, int32_t target) {
    ZOR_IMAGE *image = variable != nullptr ? *variable : nullptr;
    if (image == nullptr)
        return zor::set_status(ZOR_E_UNSUPPORTED);
    if (image->seek != nullptr) {
        const zor::platform::Lock lock(static_cast<zor::platform::Mutex *>(image->lock));
        void *state = zor::driver_state(*image);
        return state != nullptr ? image->seek(state, target) : zor::set_status(ZOR_E_UNSUPPORTED);
    }
    constexpr int32_t random_read = ZOR_ACCESS_READ | ZOR_ACCESS_RANDOM_READ;
    if (image->format != nullptr && (image->format->access & random_read) == random_read)
        return 0;
    // Opening a file that is being written again would destroy it.
    if ((image->mode & ZOR_MODE_READ) == 0 || image->images == nullptr ||
        image->format == nullptr || image->close == nullptr)
        return zor::set_status(ZOR_E_UNSUPPORTED);

    const bool rising = is_rising(*image);
    if (target == -1)
        target = rising ? image->images[0].win_bottom : image->images[0].win_top;
    // Both comparisons are strict: seeking to the line just transferred leaves things as they are.
    if (rising ? image->last_scanline > target : image->last_scanline < target) {
        const int result = reopen(variable);
        if (result != 0)
            return result;
        image = *variable;
        const int64_t next = next_line(*image);
        if (is_rising(*image) ? next > target : next < target)
            std::fputs("ZOR_seek: did not advance image pointer correctly\n", stderr);
    }
    return read_up_to(image, target);
}
