// scan.cpp - moving scanlines and rasters through an open image.
#include <type_traits>

#include "core/handle.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/driver.h"

using zor::platform::Lock;
using zor::platform::Mutex;

namespace {

// Runs one of the handle's line functions under its lock: call gets it and the driver's state.
// Direct scans go to the driver, which is not for them to reach past operators. A transfer that
// succeeds is remembered as the last one.
template<class Function, class Call>
int transfer(ZOR_IMAGE *image, Function ZOR_IMAGE::*function, int32_t y, Call call) {
    if (image == nullptr)
        return zor::set_status(ZOR_E_UNSUPPORTED);
    const Lock lock(static_cast<Mutex *>(image->lock));
    void *state = zor::slot_state(*image);
    if (image->*function == nullptr || state == nullptr)
        return zor::set_status(ZOR_E_UNSUPPORTED);
    if (!std::is_same_v<Function, ZOR_SCAN_FUNCTION> && zor::has_operators(*image))
        return zor::set_status(ZOR_E_UNSUPPORTED);
    const int result = call(image->*function, state);
    if (result == 0)
        image->last_scanline = y;
    return result;
}

int direct_transfer(ZOR_IMAGE *image, int32_t y, ZOR_WORD channels, ZOR_WORD first, ZOR_WORD last,
                    ZOR_WORD flags) {
    return transfer(image, &ZOR_IMAGE::direct_scan, y, [=](ZOR_DIRECT_FUNCTION scan, void *state) {
        return scan(state, y, channels, first, last, flags);
    });
}

// The same for rasters, which leave no last line behind. A driver without them, or operators in
// front of it, earn a warning and keep zor__err as it was.
template<class... Words>
int raster(ZOR_IMAGE *image, ZOR_RASTER_FUNCTION ZOR_IMAGE::*function, Words... words) {
    if (image == nullptr)
        return zor::set_status(ZOR_E_UNSUPPORTED);
    Lock lock(static_cast<Mutex *>(image->lock));
    void *state = zor::slot_state(*image);
    if (image->*function == nullptr || state == nullptr || zor::has_operators(*image)) {
        lock.unlock();
        const auto text = [](const char *given) { return given != nullptr ? given : ""; };
        ERR_report_cat(zor__msg_cat, ZOR_MSG_NO_RASTER, text(image->file_name), text(image->key));
        return ZOR_E_UNSUPPORTED;
    }
    const int result = (image->*function)(state, words...);
    image->last_scanline = -1;
    return result;
}

} // namespace

int ZOR_scan_read(ZOR_IMAGE *image, int32_t y, void ***rows) {
    return transfer(image, &ZOR_IMAGE::scan, y, [=](ZOR_SCAN_FUNCTION scan, void *state) {
        auto *where = reinterpret_cast<void **>(rows);
        // The handle knows its direction: one that writes takes these for the rows to be written.
        if (rows == nullptr || (image->mode & ZOR_MODE_READ) == 0)
            return scan(state, y, where);
        // A reader stores the address of its channel pointers; some driver may not.
        *rows = nullptr;
        const int result = scan(state, y, where);
        if (result != 0 || *rows != nullptr)
            return result;
        return int{zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, "the driver delivers none")};
    });
}

int ZOR_scan_write(ZOR_IMAGE *image, int32_t y, void **rows) {
    return transfer(image, &ZOR_IMAGE::scan, y,
                    [=](ZOR_SCAN_FUNCTION scan, void *state) { return scan(state, y, rows); });
}

int ZOR_direct_scan_read(ZOR_IMAGE *image, int32_t y, ZOR_WORD channels, ZOR_WORD first,
                         ZOR_WORD last, ZOR_WORD flags) {
    return direct_transfer(image, y, channels, first, last, flags);
}

int ZOR_direct_scan_write(ZOR_IMAGE *image, int32_t y, ZOR_WORD channels, ZOR_WORD first,
                          ZOR_WORD last, ZOR_WORD flags) {
    return direct_transfer(image, y, channels, first, last, flags);
}

int ZOR_get_raster(ZOR_IMAGE *image, ZOR_WORD channels, ZOR_WORD left, ZOR_WORD right,
                   ZOR_WORD bottom, ZOR_WORD top) {
    return raster(image, &ZOR_IMAGE::raster, channels, left, right, bottom, top);
}

int ZOR_get_region(ZOR_IMAGE *image, ZOR_WORD channels, ZOR_WORD left, ZOR_WORD right,
                   ZOR_WORD bottom, ZOR_WORD top) {
    return raster(image, &ZOR_IMAGE::region, channels, left, right, bottom, top);
}
