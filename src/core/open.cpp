// open.cpp - opening images: choosing the driver, and reading.
#include "core/open.h"

#include <cstdio>
#include <cstring>

#include "core/channels.h"
#include "core/description.h"
#include "core/handle.h"
#include "core/registry.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/fmt.h"
#include "zor/str.h"

namespace zor {

namespace {

bool ends_with(const char *text, const char *end) {
    const size_t length = std::strlen(text);
    const size_t end_length = std::strlen(end);
    return length >= end_length && std::strcmp(text + (length - end_length), end) == 0;
}

// An empty extension ends every name and so tells nothing.
const ZOR_DRIVER *find_by_extension(std::span<const ZOR_DRIVER> drivers, const char *file_name) {
    for (const ZOR_DRIVER &driver : drivers)
        if (driver.extension[0] != '\0' && ends_with(file_name, driver.extension))
            return &driver;
    return nullptr;
}

// The driver for a name when no key was given; falls back on the default key.
const ZOR_DRIVER *choose_without_key(ZOR_IMAGE *image) {
    const ZOR_DRIVER *driver = nullptr;
    if (image->file_name != nullptr)
        driver = find_by_extension(module_drivers(), image->file_name);
    if (driver == nullptr && image->file_name != nullptr)
        driver = find_by_extension(builtin_drivers(), image->file_name);
    if (driver != nullptr)
        return driver;
    if (!save_text(&image->key, ZOR_def_key())) {
        fail_memory();
        return nullptr;
    }
    return find_by_key(module_drivers(), image->key); // never a built-in one
}

} // namespace

ZOR_IMAGE *fail_memory() {
    zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
    return nullptr;
}

const ZOR_DRIVER *choose_driver(ZOR_IMAGE *image) {
    const ZOR_DRIVER *driver = nullptr;
    if (image->key == nullptr) {
        driver = choose_without_key(image);
        if (driver == nullptr && image->key == nullptr)
            return nullptr; // out of memory
    } else {
        driver = find_driver(image->key);
    }
    if (driver == nullptr)
        zor__fail(ZOR_E_KEY, ZOR_MSG_INVALID_TYPE, image->key);
    return driver;
}

bool adopt_driver(ZOR_IMAGE *image, const ZOR_DRIVER &driver) {
    drop_text(&image->key);
    if (save_text(&image->key, driver.key) &&
        (image->extension != nullptr || save_text(&image->extension, driver.extension)))
        return true;
    fail_memory();
    return false;
}

namespace {

void warn_uninitialised(const ZOR_INFO &info) {
    if (is_initialised(info))
        return;
    std::fputs("ZOR_open: application programming error.\n"
               "The application must call ZOR_info_init or ZOR_info_alloc\n"
               "on the info structure before passing it to ZOR_open.\n",
               stderr);
}

// The line before the first one in file order.
int32_t before_first_line(const ZOR_IMAGE &image) {
    if (image.images == nullptr || (image.images[0].orientation & ZOR_ORIENTATION_RISING) != 0)
        return -1;
    return image.images[0].win_top + 1;
}

} // namespace

bool accept_descriptions(NewHandle *image) {
    const int32_t status = check_descriptions(image->get());
    if (status == 0)
        return true;
    if ((*image)->close != nullptr)
        close_held_handle(image->release()); // an opened handle is the driver's to free
    else
        clear_descriptions(image->get()); // as many as there are will be freed
    set_status(status);
    return false;
}

ZOR_IMAGE *open_for_reading(const ZOR_INFO &info) {
    NewHandle image(new_handle(ZOR_MODE_READ));
    if (image == nullptr) {
        set_status(ZOR_E_MEMORY);
        return nullptr;
    }
    if (!save_text(&image->key, info.key) || !save_text(&image->file_name, info.file_name) ||
        !save_text(&image->open_name, info.file_name))
        return fail_memory();
    // Files say little about these: until the driver finds more, a fresh record's values hold.
    ZOR_INFO fresh;
    ZOR_info_init(&fresh);
    copy_shared_words(image.get(), fresh);
    image->complete_path = info.complete_path;
    image->cap_settings = info.cap_settings;
    image->first_frame = info.first_frame;

    const ZOR_DRIVER *driver = choose_driver(image.get());
    if (driver == nullptr)
        return nullptr;
    if (driver->read_open == nullptr) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, driver->key);
        return nullptr;
    }
    if (!adopt_driver(image.get(), *driver) || driver->read_open(image.get()) <= 0)
        return nullptr;
    if (!accept_descriptions(&image))
        return nullptr;
    image->last_scanline = before_first_line(*image);
    ZOR_multiframe_add(image.get(), &info);
    return image.release();
}

namespace {

enum class Reuse { kept_handles, nothing };

// All of ZOR_open that happens under the library's lock.
//   is_kept  receives whether the handle is one the cache gave out, which others may be using
ZOR_IMAGE *open_image(const ZOR_INFO *info, const char *mode, Reuse reuse, bool *is_kept) {
    const platform::Lock lock(platform::library_mutex());
    const platform::BinaryMode binary;

    if (info != nullptr)
        warn_uninitialised(*info);
    const bool reading = mode != nullptr && std::strcmp(mode, "r") == 0;
    const bool writing = mode != nullptr && std::strcmp(mode, "w") == 0;
    if (!reading && !writing) {
        zor__fail(ZOR_E_ARGUMENT, ZOR_MSG_BAD_MODE, mode != nullptr ? mode : "(null)");
        return nullptr;
    }
    if (info == nullptr) {
        zor__fail(ZOR_E_OPEN, ZOR_MSG_FIELD_MISSING, "info");
        return nullptr;
    }

    ZOR_IMAGE *image = nullptr;
    if (reading && reuse == Reuse::kept_handles)
        image = ZOR_multiframe_open(info);
    *is_kept = image != nullptr;
    if (!*is_kept)
        image = reading ? open_for_reading(*info) : open_for_writing(*info);
    if (image == nullptr)
        return nullptr;
    const ZOR_FORMAT *format = ZOR_find(image->key); // extensions count too, as in every search
    if (!*is_kept) {
        image->format = format;
        platform::mutex_unlock(static_cast<platform::Mutex *>(image->lock));
    }
    return image;
}

ZOR_IMAGE *open_image(const ZOR_INFO *info, const char *mode, Reuse reuse) {
    set_status(ZOR_OK);
    if (!start_on_demand("ZOR_open"))
        return nullptr;
    bool is_kept = false;
    ZOR_IMAGE *image = open_image(info, mode, reuse, &is_kept);
    if (is_kept) {
        // Starts over, and is otherwise as it was left. Its lock is taken here only, because it
        // comes before the library's.
        const platform::Lock lock(static_cast<platform::Mutex *>(image->lock));
        image->last_scanline = before_first_line(*image);
    }
    return image;
}

} // namespace

ZOR_IMAGE *open_again(const ZOR_INFO &info) { return open_image(&info, "r", Reuse::nothing); }

} // namespace zor

ZOR_IMAGE *ZOR_open(const ZOR_INFO *info, const char *mode) {
    return zor::open_image(info, mode, zor::Reuse::kept_handles);
}
