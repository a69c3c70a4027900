// temporary_files.cpp - making and removing temporary files.
#include "temporary_files.h"

#include <cerrno>

#include "system.h"

namespace zor {

int TemporaryFiles::create(const std::string &path, bool confidential) {
    const std::lock_guard lock(mutex_);
    if (closed_)
        return ECANCELED;
    const auto place = paths_.insert(path);
    const int failure = create_new_file(path, confidential);
    if (failure != 0 && place.second)
        paths_.erase(place.first);
    return failure;
}

void TemporaryFiles::forget(const std::string &path) {
    const std::lock_guard lock(mutex_);
    paths_.erase(path);
}

void TemporaryFiles::remove_all() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    for (const std::string &path : paths_)
        remove_file(path);
    paths_.clear();
}

} // namespace zor
