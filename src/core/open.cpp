// open.cpp - opening images: choosing the driver, and reading.
#include "core/open.h"

#include <cstdio>
#include <cstring>

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

// Checks what a driver says of its images, and fills in what it left open, so that nobody above has
// to ask. False on failure, reported.
bool complete_descriptions(ZOR_IMAGE *image) {
    if (image->images == nullptr)
        image->num_images = 0;
    for (int32_t i = 0; i < image->num_images; ++i) {
        if (!has_sound_windows(image->images[i]))
            return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, image->key) == 0;
        if (!complete_description(&image->images[i], FMT_def_input_gamma()))
            return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY) == 0;
    }
    return true;
}

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
    if (!complete_descriptions(image.get())) {
        const int32_t status = zor__err;
        if (image->close != nullptr)
            close_held_handle(image.release()); // an opened handle is the driver's to free
        set_status(status);
        return nullptr;
    }
    image->last_scanline = before_first_line(*image);
    return image.release();
}

} // namespace zor

ZOR_IMAGE *ZOR_open(const ZOR_INFO *info, const char *mode) {
    zor::set_status(ZOR_OK);
    if (!zor::start_on_demand("ZOR_open"))
        return nullptr;
    const zor::platform::Lock lock(zor::platform::library_mutex());
    const zor::platform::BinaryMode binary;

    if (info != nullptr)
        zor::warn_uninitialised(*info);
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

    ZOR_IMAGE *image = reading ? zor::open_for_reading(*info) : zor::open_for_writing(*info);
    if (image != nullptr) {
        image->format = ZOR_find(image->key); // extensions count too, as in every such search
        zor::platform::mutex_unlock(static_cast<zor::platform::Mutex *>(image->lock));
    }
    return image;
}
