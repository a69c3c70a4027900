// table.cpp - the pictures of this process, by name.
#include "drivers/mem/table.h"

#include "base/base/dst_dllist.h"
#include "platform/platform.h"
#include "zor/str.h"

using zor::platform::library_mutex;
using zor::platform::Lock;

namespace zor::mem {

namespace {

// Filled from the first publish until ZOR_exit.
dst_dllist pictures = {};

Picture *find(const char *name) {
    for (void *node = dst_dllist_first(&pictures); node != nullptr; node = dst_dllist_next(node)) {
        auto *picture = static_cast<Picture *>(node);
        if (STR_compare(picture->info.file_name, name) == 0)
            return picture;
    }
    return nullptr;
}

} // namespace

Picture *acquire(const char *name) {
    const Lock lock(library_mutex());
    Picture *picture = find(name);
    if (picture != nullptr)
        ++picture->users;
    return picture;
}

void publish(Picture *picture) {
    const Lock lock(library_mutex());
    if (Picture *old = find(picture->info.file_name)) {
        dst_dllist_remove(&pictures, old);
        release(old);
    }
    dst_dllist_append(&pictures, picture);
}

void release(Picture *picture) {
    const Lock lock(library_mutex());
    if (--picture->users == 0)
        free_picture(picture);
}

void clear_table() {
    const Lock lock(library_mutex());
    while (void *node = dst_dllist_pop_first(&pictures))
        release(static_cast<Picture *>(node));
}

} // namespace zor::mem
