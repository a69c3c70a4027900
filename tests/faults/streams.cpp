// streams.cpp - streams of the C library's own making, with functions of ours below.
#ifndef _GNU_SOURCE
#    define _GNU_SOURCE // fopencookie
#endif
#include "faults/streams.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "support/fault.h"

extern "C" {
std::FILE *__real_fopen(const char *path, const char *mode);
std::FILE *__real_fopen64(const char *path, const char *mode);
std::FILE *__wrap_fopen(const char *path, const char *mode);
std::FILE *__wrap_fopen64(const char *path, const char *mode);
}

// One file, for its stream.
struct FaultyFile {
    int descriptor;

    static FaultyFile &of(void *cookie) { return *static_cast<FaultyFile *>(cookie); }
    static bool fails(Call call) { return StreamFault::active->fails(call); }

    static ssize_t read(void *cookie, char *bytes, size_t size) {
        return fails(Call::read) ? -1 : ::read(of(cookie).descriptor, bytes, size);
    }
    // Returns what was written; less than asked is the failure.
    static ssize_t write(void *cookie, const char *bytes, size_t size) {
        if (fails(Call::write))
            return 0;
        const int64_t position = lseek(of(cookie).descriptor, 0, SEEK_CUR);
        const int64_t room = std::max<int64_t>(StreamFault::active->room_ - position, 0);
        const auto fitting = std::min(size, static_cast<size_t>(room));
        const ssize_t written = ::write(of(cookie).descriptor, bytes, fitting);
        if (fitting < size) {
            StreamFault::active->struck_ = true;
            errno = ENOSPC;
        }
        return std::max<ssize_t>(written, 0);
    }
    static int seek(void *cookie, off64_t *position, int origin) {
        if (fails(Call::seek))
            return -1;
        *position = lseek64(of(cookie).descriptor, *position, origin);
        return *position < 0 ? -1 : 0;
    }
    static int close(void *cookie) {
        ::close(of(cookie).descriptor);
        delete static_cast<FaultyFile *>(cookie);
        --StreamFault::active->open_files_;
        return fails(Call::close) ? -1 : 0;
    }
    static std::FILE *open(const char *path, const char *mode) {
        if (fails(Call::open))
            return nullptr;
        const bool writing = *mode == 'w';
        const int change = std::strchr(mode, '+') != nullptr ? O_RDWR : O_WRONLY;
        const int flags = writing                             ? change | O_CREAT | O_TRUNC
                          : std::strchr(mode, '+') != nullptr ? O_RDWR
                                                              : O_RDONLY;
        const int descriptor = ::open(path, flags | O_CLOEXEC, 0666);
        if (descriptor < 0)
            return nullptr;
        ++StreamFault::active->open_files_;
        return fopencookie(new FaultyFile{descriptor}, mode, {read, write, seek, close});
    }
};

StreamFault::~StreamFault() {
    active = nullptr;
    fault_points.count += struck_ ? 1 : 0;
}

bool StreamFault::fails(Call call) {
    if (left_ == 0 || call != call_)
        return false;
    if (left_ == 1) {
        left_ = all_ ? 1 : 0;
        struck_ = true;
        errno = call == Call::write ? ENOSPC : EIO;
        return true;
    }
    --left_;
    return false;
}

std::FILE *StreamFault::open(const char *path, const char *mode) {
    return active != nullptr ? FaultyFile::open(path, mode) : __real_fopen(path, mode);
}

std::FILE *__wrap_fopen(const char *path, const char *mode) {
    return StreamFault::open(path, mode);
}
std::FILE *__wrap_fopen64(const char *path, const char *mode) {
    return StreamFault::open(path, mode);
}
