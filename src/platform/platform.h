// platform.h - all that the library asks of the operating system. Two implementations, posix.cpp
// and win32.cpp, offer the same functions; no other file knows which system it runs on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>

namespace zor::platform {

// Mutexes ------------------------------------------------------------------------------------

// A recursive mutex in a block of its own. mutex_create returns it held by the calling thread, or
// null when memory ran out (reported). A mutex is destroyed unlocked; null is ignored.
struct Mutex;
Mutex *mutex_create();
void mutex_destroy(Mutex *mutex);
void mutex_lock(Mutex *mutex);     // waits without time-out
bool mutex_try_lock(Mutex *mutex); // does not wait; false when another thread holds it
void mutex_unlock(Mutex *mutex);

// The one lock of the library. It exists from load to unload, so that it may be taken before the
// library is started.
Mutex *library_mutex();

// Holds a mutex for the length of a scope, or until unlock().
class Lock {
public:
    explicit Lock(Mutex *mutex) : mutex_(mutex) { mutex_lock(mutex); }
    ~Lock() { unlock(); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;
    void unlock() {
        if (mutex_ != nullptr)
            mutex_unlock(mutex_);
        mutex_ = nullptr;
    }

private:
    Mutex *mutex_;
};

// A lock that takes no memory and cannot fail, with something to wait for while it is held. Not
// recursive. It holds for a scope with std::lock_guard.
class Monitor {
public:
    Monitor();
    ~Monitor();
    Monitor(const Monitor &) = delete;
    Monitor &operator=(const Monitor &) = delete;
    void lock();
    void unlock();
    void wait(); // lets go of the lock until wake_all, or now and then for no reason
    void wake_all();

private:
    struct State;
    State &state();
    alignas(16) unsigned char state_[112];
};

// Threads ------------------------------------------------------------------------------------

constexpr int most_threads = 64;

// Calls work on count threads at the same time, 1 to most_threads, of which the calling one is one,
// and returns when all of them have returned. Where the system grants fewer threads there are fewer
// calls.
void run_on_threads(int count, void (*work)(void *data), void *data);

// Processors that this process may use; at least 1.
int processor_count();

// Files --------------------------------------------------------------------------------------

// Switches the runtime's default file mode to binary for the length of a scope, where there is such
// a thing.
class BinaryMode {
public:
    BinaryMode();
    ~BinaryMode();
    BinaryMode(const BinaryMode &) = delete;
    BinaryMode &operator=(const BinaryMode &) = delete;

private:
    int saved_;
};

// fopen, and fseek and ftell with 64-bit positions. Names are bytes as the application gave them;
// on Windows they are UTF-8, or else in the system's code page.
// remove_file deletes regular files only: a device that was written to is nobody's to delete.
FILE *open_file(const char *path, const char *mode);
int seek_file(FILE *file, int64_t position, int origin);
int64_t tell_file(FILE *file);
int remove_file(const char *path);

// Length of a file that has just been opened, which stands at its start afterwards as well; -1 for
// one that cannot be positioned.
int64_t length_of_opened(FILE *file);

// Reads size bytes at a position of a file that is open for reading without a buffer; several
// threads may at once. Returns how many there were up to the end of the file or a failure, which
// sets errno. Where the file stands afterwards is left open: position it before reading on.
size_t read_at(FILE *file, int64_t position, void *bytes, size_t size);

// Holds the standard input or output in binary mode, where there is such a thing. It is back in the
// mode it was in when it was released as often as it was held. What was written to it must have
// been flushed each time.
void hold_binary(FILE *stream);
void release_binary(FILE *stream);

// Whether a file exists: 1 it does, 0 it does not (no such file), -1 the system cannot tell.
int file_exists(const char *path);

// Tells one state of a file from another: its status-change time as finely as the system keeps it,
// or on Windows, where that is when the file was made, both that and when it was written.
struct FileStamp {
    int64_t changed;
    int64_t detail;
    bool operator==(const FileStamp &) const = default;
};

// Reads a file's stamp; false when the system cannot tell, errno saying why.
bool file_stamp(const char *path, FileStamp *stamp);

// Whether a path starts at a root of its own: a leading '/', and on Windows a leading backslash or
// a drive letter.
bool is_absolute(const char *path);

// Modules ------------------------------------------------------------------------------------

// Address of an exported symbol, or null. Function addresses are copied into function pointers with
// memcpy.
void *module_symbol(void *module, const char *name);

// The machine --------------------------------------------------------------------------------

// Shows "type, message", cut to what a box takes, where there is a box to show it in. The caller
// aborts.
void fatal_box(const char *type, const char *message);

// Name of the user and of the host; false when the system cannot tell.
bool user_name(char *buffer, size_t size);
bool host_name(char *buffer, size_t size);

// Milliseconds from an arbitrary start; wraps around. Differences are unsigned.
uint32_t tick_count();

// The system's texts for error numbers: how many there are, and the text of one in that range.
int error_text_count();
const char *error_text(int number);

// Seconds since 1970 as a calendar time of this place; false when it cannot be expressed.
bool local_time(int64_t seconds, std::tm *result);

} // namespace zor::platform
