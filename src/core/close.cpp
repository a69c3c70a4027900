// close.cpp - closing images. The driver's close function frees the handle; its lock is a block of
// its own so that it can be let go of afterwards.
#include "core/handle.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/driver.h"

using zor::platform::Mutex;

int zor::close_held_handle(ZOR_IMAGE *image) {
    auto *lock = static_cast<Mutex *>(image->lock);
    const int result = image->close(image);
    platform::mutex_unlock(lock);
    platform::mutex_destroy(lock);
    return result;
}

int ZOR_close_do_it(ZOR_IMAGE *image) {
    if (image == nullptr || image->close == nullptr)
        return zor::set_status(ZOR_E_UNSUPPORTED);
    auto *lock = static_cast<Mutex *>(image->lock);
    // The driver may take it, to free channel buffers, and the caller may hold the library's: not
    // waiting for it keeps that from being the wrong order. There is nobody to wait for.
    const bool held = zor::platform::mutex_try_lock(lock);
    const int result = image->close(image);
    if (held)
        zor::platform::mutex_unlock(lock);
    zor::platform::mutex_destroy(lock);
    return result;
}

int ZOR_close(ZOR_IMAGE *image) {
    if (image == nullptr)
        return zor::set_status(ZOR_E_UNSUPPORTED);
    auto *handle_lock = static_cast<Mutex *>(image->lock);
    zor::platform::mutex_lock(handle_lock);
    const zor::platform::Lock lock(zor::platform::library_mutex());
    if (ZOR_multiframe_used() != 0) {
        // First, for the handle may be gone afterwards, or be somebody else's.
        zor::platform::mutex_unlock(handle_lock);
        return ZOR_multiframe_set_closed(image);
    }
    if (image->close == nullptr) {
        zor::platform::mutex_unlock(handle_lock);
        return zor::set_status(ZOR_E_UNSUPPORTED);
    }
    return zor::close_held_handle(image);
}
