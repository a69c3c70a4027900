// streams.h - files of which calls to the system fail on purpose. Programs of these tests are
// linked so that their fopen, the library's and the tool's among them, ends here; modules get their
// files from the library. What fails is below the buffers of stdio, as it is in life.
#pragma once

#include <cstdint>
#include <cstdio>

enum class Call { open, read, write, seek, close };
constexpr Call all_calls[] = {Call::open, Call::read, Call::write, Call::seek, Call::close};

// Faults of all files opened while this is there. One at a time.
class StreamFault {
public:
    // The n-th such call fails, counted from 1; with "all" also every later one.
    StreamFault(Call call, long n, bool all) : call_(call), left_(n), all_(all) { active = this; }
    // A disk on which no file has room for more bytes than that.
    explicit StreamFault(int64_t room) : room_(room) { active = this; }
    ~StreamFault();
    StreamFault(const StreamFault &) = delete;
    StreamFault &operator=(const StreamFault &) = delete;

    [[nodiscard]] bool struck() const { return struck_; }

    // Files opened and not closed again.
    [[nodiscard]] int open_files() const { return open_files_; }

    // A file as the library opens them. Null with errno on failure.
    static std::FILE *open(const char *path, const char *mode);

private:
    friend struct FaultyFile;
    bool fails(Call call);

    inline static StreamFault *active = nullptr;
    Call call_ = Call::open;
    long left_ = 0;
    bool all_ = false;
    int64_t room_ = INT64_MAX;
    bool struck_ = false;
    int open_files_ = 0;
};
