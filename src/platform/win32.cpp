// win32.cpp - the platform functions on Windows.
#include "platform/platform.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <io.h>
#include <iterator>
#include <new>
#include <process.h>
#include <sys/stat.h>

// winsock2.h must come before windows.h.
#include <winsock2.h>

#include <windows.h>

#include "zor/messages.h"

namespace zor::platform {

struct Mutex {
    HANDLE handle;
};

Mutex *mutex_create() {
    auto *mutex = static_cast<Mutex *>(ERR_malloc(sizeof(Mutex)));
    if (mutex == nullptr)
        return nullptr;
    mutex->handle = CreateMutexA(nullptr, TRUE, nullptr);
    if (mutex->handle == nullptr) {
        ERR_report_cat(zor__msg_cat, ZOR_MSG_NO_MEMORY);
        ERR_free(mutex);
        return nullptr;
    }
    return mutex;
}

void mutex_destroy(Mutex *mutex) {
    if (mutex == nullptr)
        return;
    CloseHandle(mutex->handle);
    ERR_free(mutex);
}

void mutex_lock(Mutex *mutex) { WaitForSingleObject(mutex->handle, INFINITE); }

bool mutex_try_lock(Mutex *mutex) {
    const DWORD result = WaitForSingleObject(mutex->handle, 0);
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

void mutex_unlock(Mutex *mutex) { ReleaseMutex(mutex->handle); }

Mutex *library_mutex() {
    static Mutex mutex = {CreateMutexA(nullptr, FALSE, nullptr)};
    return &mutex;
}

struct Monitor::State {
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE condition = CONDITION_VARIABLE_INIT;
};

Monitor::Monitor() : state_() {
    static_assert(sizeof(State) <= sizeof state_);
    new (state_) State;
}
Monitor::~Monitor() = default; // they hold nothing
Monitor::State &Monitor::state() { return *std::launder(reinterpret_cast<State *>(state_)); }
void Monitor::lock() { AcquireSRWLockExclusive(&state().lock); }
void Monitor::unlock() { ReleaseSRWLockExclusive(&state().lock); }
void Monitor::wait() { SleepConditionVariableSRW(&state().condition, &state().lock, INFINITE, 0); }
void Monitor::wake_all() { WakeAllConditionVariable(&state().condition); }

namespace {

// A file name for the wide functions. What stands between slashes and is not UTF-8 is taken for the
// system's code page, which the environment and other programs hand out: a folder of theirs and a
// name of the application's are in one path. A name too long for the system is left empty, and so
// names no file.
class WideName {
public:
    explicit WideName(const char *name) {
        if (std::strlen(name) >= most_bytes)
            return;
        const size_t length = convert(name, nullptr, 0);
        if (length > most)
            return;
        wchar_t *text = short_;
        if (length > MAX_PATH)
            text = long_ = static_cast<wchar_t *>(ERR_malloc(length * sizeof(wchar_t)));
        no_memory_ = text == nullptr;
        if (text != nullptr)
            convert(name, text, length);
    }
    ~WideName() { ERR_free(long_); }
    WideName(const WideName &) = delete;
    WideName &operator=(const WideName &) = delete;
    [[nodiscard]] const wchar_t *get() const { return long_ != nullptr ? long_ : short_; }
    // Whether the name is there; when memory ran out for it, errno says so.
    [[nodiscard]] bool ready() const {
        if (no_memory_)
            errno = ENOMEM;
        return !no_memory_;
    }

private:
    // Returns the length with the terminator; without a text, that is all it does.
    static size_t convert(const char *name, wchar_t *text, size_t room) {
        size_t length = 0;
        const char *const end = name + std::strlen(name) + 1;
        for (const char *part = name; part != end;) {
            const char *slash = std::strchr(part, '/');
            const char *next = slash != nullptr ? slash + 1 : end;
            const auto size = static_cast<int>(next - part);
            wchar_t *to = text != nullptr ? text + length : nullptr;
            const auto left = static_cast<int>(room != 0 ? room - length : 0);
            int added = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, part, size, to, left);
            if (added == 0)
                added = MultiByteToWideChar(CP_ACP, 0, part, size, to, left);
            length += static_cast<size_t>(added);
            part = next;
        }
        return length;
    }

    static constexpr size_t most = 32768; // the longest path there is, with its terminator
    static constexpr size_t most_bytes = 4 * most;
    wchar_t short_[MAX_PATH] = {}; // no more of it on the stack, which may be a small thread's
    wchar_t *long_ = nullptr;
    bool no_memory_ = false;
};

bool file_status(const char *path, struct __stat64 *status) {
    const WideName name(path);
    return name.ready() && _wstat64(name.get(), status) == 0;
}

} // namespace

namespace {

struct Work {
    void (*function)(void *data);
    void *data;
};

unsigned __stdcall run_work(void *argument) {
    const auto *work = static_cast<const Work *>(argument);
    work->function(work->data);
    return 0;
}

} // namespace

void run_on_threads(int count, void (*work)(void *data), void *data) {
    Work same = {work, data};
    HANDLE threads[most_threads];
    int started = 0;
    for (; started + 1 < count; ++started) {
        const uintptr_t thread = _beginthreadex(nullptr, 0, run_work, &same, 0, nullptr);
        if (thread == 0)
            break;
        threads[started] = reinterpret_cast<HANDLE>(thread);
    }
    work(data);
    while (started > 0) {
        WaitForSingleObject(threads[--started], INFINITE);
        CloseHandle(threads[started]);
    }
}

int processor_count() {
    DWORD_PTR mine = 0;
    DWORD_PTR all = 0;
    GetProcessAffinityMask(GetCurrentProcess(), &mine, &all);
    return std::max(std::popcount(mine), 1);
}

BinaryMode::BinaryMode() : saved_(_fmode) { _fmode = _O_BINARY; }
BinaryMode::~BinaryMode() { _fmode = saved_; }

FILE *open_file(const char *path, const char *mode) {
    wchar_t wide_mode[8];
    if (MultiByteToWideChar(CP_UTF8, 0, mode, -1, wide_mode, std::size(wide_mode)) == 0) {
        errno = EINVAL;
        return nullptr;
    }
    const WideName name(path);
    return name.ready() ? _wfopen(name.get(), wide_mode) : nullptr;
}

int seek_file(FILE *file, int64_t position, int origin) {
    return _fseeki64(file, position, origin);
}

int64_t tell_file(FILE *file) { return _ftelli64(file); }

int64_t length_of_opened(FILE *file) {
    if (_fseeki64(file, 0, SEEK_END) != 0)
        return -1;
    const int64_t length = _ftelli64(file);
    return _fseeki64(file, 0, SEEK_SET) == 0 ? length : -1;
}

size_t read_at(FILE *file, int64_t position, void *bytes, size_t size) {
    auto *const handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
    auto *to = static_cast<char *>(bytes);
    size_t done = 0;
    while (done < size) {
        const uint64_t at = static_cast<uint64_t>(position) + done;
        OVERLAPPED place = {};
        place.Offset = static_cast<DWORD>(at & 0xFFFFFFFFU);
        place.OffsetHigh = static_cast<DWORD>(at >> 32);
        DWORD got = 0;
        const BOOL good =
            ReadFile(handle, to + done, static_cast<DWORD>(size - done), &got, &place);
        if (good == FALSE && GetLastError() != ERROR_HANDLE_EOF)
            errno = EIO;
        if (good == FALSE || got == 0)
            break;
        done += got;
    }
    return done;
}

int remove_file(const char *path) {
    struct __stat64 status;
    if (!file_status(path, &status) || (status.st_mode & _S_IFMT) != _S_IFREG)
        return -1;
    const WideName name(path);
    return name.ready() ? _wremove(name.get()) : -1;
}

namespace {

// A standard stream belongs to the process, and several images may be open on it.
struct Held {
    int count;
    int mode; // before; -1 when the stream has no file behind it
};

Held &held(FILE *stream) {
    static Held streams[2]; // under the library's lock
    return streams[stream == stdin ? 0 : 1];
}

} // namespace

void hold_binary(FILE *stream) {
    const Lock lock(library_mutex());
    if (Held &state = held(stream); state.count++ == 0)
        state.mode = _fileno(stream) >= 0 ? _setmode(_fileno(stream), _O_BINARY) : -1;
}

void release_binary(FILE *stream) {
    const Lock lock(library_mutex());
    Held &state = held(stream);
    if (state.count > 0 && --state.count == 0 && state.mode != -1)
        _setmode(_fileno(stream), state.mode);
}

int file_exists(const char *path) {
    struct __stat64 status;
    if (file_status(path, &status))
        return 1;
    return errno == ENOENT ? 0 : -1;
}

bool file_stamp(const char *path, FileStamp *stamp) {
    struct __stat64 status;
    if (!file_status(path, &status))
        return false;
    *stamp = {status.st_ctime, status.st_mtime};
    return true;
}

bool is_absolute(const char *path) {
    if (path[0] == '/' || path[0] == '\\')
        return true;
    return std::isalpha(static_cast<unsigned char>(path[0])) != 0 && path[1] == ':';
}

void *module_symbol(void *module, const char *name) {
    const FARPROC address = GetProcAddress(static_cast<HMODULE>(module), name);
    void *symbol;
    static_assert(sizeof symbol == sizeof address);
    std::memcpy(&symbol, &address, sizeof symbol);
    return symbol;
}

void fatal_box(const char *type, const char *message) {
    char text[1024]; // wsprintf writes no more, but it need not end what it cuts
    wsprintfA(text, "%.10s, %.1000s\n", type, message);
    MessageBoxA(nullptr, text, "Fatal Error", MB_OK);
}

bool user_name(char *buffer, size_t size) {
    auto length = static_cast<DWORD>(size);
    return GetUserNameA(buffer, &length) != 0;
}

bool host_name(char *buffer, size_t size) {
    // The socket library answers only between start-up and clean-up; both are counted.
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0)
        return false;
    const bool known = gethostname(buffer, static_cast<int>(size)) == 0;
    WSACleanup();
    return known;
}

uint32_t tick_count() { return GetTickCount(); }

int error_text_count() { return _sys_nerr; }

const char *error_text(int number) { return std::strerror(number); }

bool local_time(int64_t seconds, std::tm *result) {
    const __time64_t time = seconds;
    return _localtime64_s(result, &time) == 0;
}

} // namespace zor::platform

// Nothing is built up at load: threads need not be announced to the library. When the DLL is let go
// of, but the process lives on, the lock goes with it.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID process_ends) {
    if (reason == DLL_PROCESS_ATTACH)
        DisableThreadLibraryCalls(instance);
    else if (reason == DLL_PROCESS_DETACH && process_ends == nullptr)
        CloseHandle(zor::platform::library_mutex()->handle);
    return TRUE;
}
