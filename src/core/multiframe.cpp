// multiframe.cpp - a cache of reading handles of multi-frame files, which stay open after the
// application closed them and are given out again when the same file is opened the same way.
//
// Nobody uses an entry whose use count is 0, so its handle may be closed under the library's lock.
#include "core/multiframe.h"

#include <algorithm>
#include <cerrno>

#include "base/base/dst_array.h"
#include "base/base/owned.h"
#include "core/capabilities.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/str.h"

using zor::platform::FileStamp;
using zor::platform::library_mutex;
using zor::platform::Lock;

namespace zor {

namespace {

// An open file. What its handle has in own_settings are the settings it was opened with.
struct KeptFile {
    char *name; // as it was asked for; the handle knows the path that opened
    ZOR_IMAGE *image;
    int32_t uses;    // how many opens share the handle at present
    FileStamp stamp; // of the file when it was opened
};

// An empty array of pointers to entries, with room for five at first.
constexpr dst_array no_files = {sizeof(void *), 5, 0, 0};

// Process-wide, guarded by the library's lock. Set up by ZOR_init and emptied by ZOR_exit.
struct Cache {
    unsigned char enabled;
    int32_t limit;   // entries above which unused ones are closed
    dst_array sizes; // of files
    void *storage;

    [[nodiscard]] int32_t count() const { return sizes.count; }
    // From the least to the most recently used.
    [[nodiscard]] KeptFile **files() const { return static_cast<KeptFile **>(storage); }
};
Cache cache = {0, 0, no_files, nullptr};

void free_entry(KeptFile *file) {
    ERR_free(file->name);
    ERR_free(file);
}

// Removes an entry from the array only.
KeptFile *take_out(int32_t i) {
    KeptFile *file = cache.files()[i];
    std::copy(cache.files() + i + 1, cache.files() + cache.count(), cache.files() + i);
    --cache.sizes.count;
    return file;
}

// Closes for real the handle of an entry that was taken out. Whoever used it last has been told
// that all is well, and what the present caller wants has nothing to do with it: a failure is
// reported but leaves no status.
void close_file(KeptFile *file) {
    const int32_t before = status();
    ZOR_close_do_it(file->image);
    set_status(before);
    free_entry(file);
}

void evict(int32_t i) { close_file(take_out(i)); }

// Takes out the unused entry that is oldest; null when there is none.
KeptFile *take_unused() {
    for (int32_t i = 0; i < cache.count(); ++i)
        if (cache.files()[i]->uses == 0)
            return take_out(i);
    return nullptr;
}

// Evicts unused entries, oldest first, at most so many.
void evict_unused(int64_t most) {
    KeptFile *file = nullptr;
    for (; most > 0 && (file = take_unused()) != nullptr; --most)
        close_file(file);
}

// Drops all entries without closing their handles, and the room for them.
void forget_all() {
    for (int32_t i = 0; i < cache.count(); ++i)
        free_entry(cache.files()[i]);
    ERR_free(cache.storage);
    cache.storage = nullptr;
    cache.sizes = no_files;
}

// Index of a handle's entry, or -1.
int32_t find(const ZOR_IMAGE *image) {
    for (int32_t i = 0; i < cache.count(); ++i)
        if (cache.files()[i]->image == image)
            return i;
    return -1;
}

// Whether a request is for the file an entry stands for. The comparison of settings is one-sided,
// so it is made both ways; and a name means another file when it is taken as it stands, or given to
// another driver. To be too strict only costs an open.
bool answers(const KeptFile &file, const ZOR_INFO &info) {
    const ZOR_IMAGE &image = *file.image;
    return STR_compare(file.name, info.file_name) == 0 &&
           (info.key == nullptr || STR_compare(info.key, image.key) == 0) &&
           (info.complete_path != 0) == (image.complete_path != 0) &&
           ZOR_cap_setting_compare(image.own_settings, info.cap_settings) != 0 &&
           ZOR_cap_setting_compare(info.cap_settings, image.own_settings) != 0;
}

// The stamp of the file behind a handle; a failure is reported.
bool read_stamp(const ZOR_IMAGE &image, FileStamp *stamp) {
    const bool good = platform::file_stamp(image.file_name, stamp);
    if (!good)
        ERR_report_errno(errno, image.file_name);
    return good;
}

// Fills a cleared entry, and an array element for it. False on failure, reported, with all that
// was made in the entry.
bool fill_entry(KeptFile *file, const ZOR_IMAGE &image, const ZOR_INFO &info) {
    file->name = STR_save(info.file_name);
    if (file->name == nullptr)
        ERR_report_cat(zor__msg_cat, ZOR_MSG_NO_MEMORY);
    return file->name != nullptr && read_stamp(image, &file->stamp) &&
           dst_array_grow(&cache.sizes, 1, &cache.storage) != 0;
}

} // namespace

bool multiframe_withdraw(const ZOR_IMAGE *image) {
    const Lock lock(library_mutex());
    const int32_t i = find(image);
    if (i >= 0 && cache.files()[i]->uses > 1)
        return false;
    if (i >= 0)
        free_entry(take_out(i));
    return true;
}

void multiframe_shut() {
    const auto next = [] {
        const Lock lock(library_mutex());
        return take_unused();
    };
    while (KeptFile *file = next())
        close_file(file); // what is reported comes when the lock is free
    ZOR_multiframe_init();
}

} // namespace zor

using zor::cache;

void ZOR_multiframe_init(void) { ZOR_multiframe_set(0, 0); }

void ZOR_multiframe_set(unsigned char enabled, int32_t limit) {
    const Lock lock(library_mutex());
    zor::forget_all();
    cache.enabled = enabled;
    cache.limit = limit;
}

unsigned char ZOR_multiframe_used(void) {
    const Lock lock(library_mutex());
    return cache.enabled;
}

ZOR_IMAGE *ZOR_multiframe_open(const ZOR_INFO *info) {
    const Lock lock(library_mutex());
    if (cache.enabled == 0)
        return nullptr;
    zor::KeptFile **end = cache.files() + cache.count();
    zor::KeptFile **found =
        std::find_if(cache.files(), end, [info](auto *file) { return answers(*file, *info); });
    if (found == end)
        return nullptr;

    zor::KeptFile *file = *found;
    FileStamp stamp;
    const bool unchanged = zor::read_stamp(*file->image, &stamp) && stamp == file->stamp;
    if (!unchanged && file->uses == 0) {
        zor::evict(static_cast<int32_t>(found - cache.files()));
        return nullptr;
    }
    // A changed file that is in use is shared all the same: there is one handle for each file.
    ++file->uses;
    std::rotate(found, found + 1, end);
    return file->image;
}

void ZOR_multiframe_add(ZOR_IMAGE *image, const ZOR_INFO *info) {
    const Lock lock(library_mutex());
    if (cache.enabled == 0)
        return;
    const ZOR_FORMAT *format = ZOR_find(image->key);
    if (format == nullptr || format->multi_frame == 0 || info->file_name == nullptr ||
        image->file_name == nullptr)
        return;
    if (image->close == nullptr) // kept, it would be lost: it stays with the application
        return;
    if (cache.count() >= cache.limit)
        zor::evict_unused(1);

    zor::Owned<zor::KeptFile> file(zor::allocate<zor::KeptFile>());
    ZOR_CAP_SETTING **settings;
    if (file == nullptr || !zor::copy_settings(&settings, info->cap_settings))
        return;
    *file = {nullptr, image, 1, {}};
    if (!zor::fill_entry(file.get(), *image, *info)) {
        ERR_free(file->name);
        zor::free_settings(settings);
        return;
    }
    // The application's list need not live as long as a handle that is kept.
    image->own_settings = settings;
    image->cap_settings = settings;
    cache.files()[cache.count() - 1] = file.release();
}

int ZOR_multiframe_set_closed(ZOR_IMAGE *image) {
    const Lock lock(library_mutex());
    if (cache.enabled == 0)
        return 0;
    const int32_t i = zor::find(image);
    if (i < 0)
        return ZOR_close_do_it(image);
    int32_t &uses = cache.files()[i]->uses;
    uses = std::max(uses - 1, 0); // closing once too often must not make it immortal
    zor::evict_unused(int64_t{cache.count()} - cache.limit);
    return 0;
}
