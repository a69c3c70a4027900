// streams.h - files of which calls to the system fail on purpose. The program is linked so that its
// fopen, the library's and the tool's among them, can be led here; modules get their files from the
// library. What fails is below the buffers of stdio, as it is in life.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <unistd.h>

#include "support/fault.h"

extern "C" std::FILE *__real_fopen(const char *path, const char *mode);

enum class Call { open, read, write, seek, close };
constexpr Call all_calls[] = {Call::open, Call::read, Call::write, Call::seek, Call::close};

// Faults of all files opened while this is there. One at a time.
class StreamFault {
public:
    // The n-th such call fails, counted from 1; with "all" also every later one.
    StreamFault(Call call, long n, bool all) : call_(call), left_(n), all_(all) { active = this; }
    // A disk on which no file has room for more bytes than that.
    explicit StreamFault(int64_t room) : room_(room) { active = this; }
    ~StreamFault() {
        active = nullptr;
        fault_points.count += struck_ ? 1 : 0;
    }
    StreamFault(const StreamFault &) = delete;
    StreamFault &operator=(const StreamFault &) = delete;

    [[nodiscard]] bool struck() const { return struck_; }

    // Files opened and not closed again.
    [[nodiscard]] int open_files() const { return open_files_; }

    // A file as the library opens them: a stream with functions of ours between it and another one,
    // of which only the descriptor is used. Null with errno on failure.
    static std::FILE *open(const char *path, const char *mode) {
        if (active != nullptr && active->fails(Call::open))
            return nullptr;
        std::FILE *const file = __real_fopen(path, mode);
        if (active == nullptr || file == nullptr)
            return file;
        ++active->open_files_;
        return fopencookie(file, mode, {read, write, seek, close});
    }

private:
    bool fails(Call call) {
        if (left_ == 0 || call != call_ || --left_ > 0)
            return false;
        left_ = all_ ? 1 : 0;
        struck_ = true;
        errno = call == Call::write ? ENOSPC : EIO;
        return true;
    }

    static int descriptor(void *file) { return fileno(static_cast<std::FILE *>(file)); }
    static ssize_t read(void *file, char *bytes, size_t size) {
        return active->fails(Call::read) ? -1 : ::read(descriptor(file), bytes, size);
    }
    // Returns what was written; less than asked is the failure.
    static ssize_t write(void *file, const char *bytes, size_t size) {
        if (active->fails(Call::write))
            return 0;
        const int64_t room = active->room_ - lseek(descriptor(file), 0, SEEK_CUR);
        const auto fitting = std::min(size, static_cast<size_t>(std::max<int64_t>(room, 0)));
        const ssize_t written = ::write(descriptor(file), bytes, fitting);
        if (fitting < size) {
            active->struck_ = true;
            errno = ENOSPC;
        }
        return std::max<ssize_t>(written, 0);
    }
    static int seek(void *file, off64_t *position, int origin) {
        if (active->fails(Call::seek))
            return -1;
        *position = lseek64(descriptor(file), *position, origin);
        return *position < 0 ? -1 : 0;
    }
    static int close(void *file) {
        std::fclose(static_cast<std::FILE *>(file));
        --active->open_files_;
        return active->fails(Call::close) ? -1 : 0;
    }

    inline static StreamFault *active = nullptr;
    Call call_ = Call::open;
    long left_ = 0;
    bool all_ = false;
    int64_t room_ = INT64_MAX;
    bool struck_ = false;
    int open_files_ = 0;
};
