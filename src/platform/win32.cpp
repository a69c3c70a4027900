// win32.cpp - the platform functions on Windows.
#include "platform/platform.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <io.h>
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

namespace {

// A file name for the wide functions. What is not UTF-8 is taken for the system's code page, which
// the environment and other programs hand out. A name too long for the system is left empty, and so
// names no file.
class WideName {
public:
    explicit WideName(const char *name) {
        if (!convert(CP_UTF8, MB_ERR_INVALID_CHARS, name) && !convert(CP_ACP, 0, name))
            text_[0] = L'\0';
    }
    [[nodiscard]] const wchar_t *get() const { return text_; }

private:
    bool convert(UINT code_page, DWORD flags, const char *name) {
        return MultiByteToWideChar(code_page, flags, name, -1, text_, most) != 0;
    }

    static constexpr int most = 32768; // the longest path there is, with its terminator
    wchar_t text_[most];
};

bool file_status(const char *path, struct __stat64 *status) {
    return _wstat64(WideName(path).get(), status) == 0;
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
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    return system.dwNumberOfProcessors > 0 ? static_cast<int>(system.dwNumberOfProcessors) : 1;
}

BinaryMode::BinaryMode() : saved_(_fmode) { _fmode = _O_BINARY; }
BinaryMode::~BinaryMode() { _fmode = saved_; }

FILE *open_file(const char *path, const char *mode) {
    return _wfopen(WideName(path).get(), WideName(mode).get());
}

int seek_file(FILE *file, int64_t position, int origin) {
    return _fseeki64(file, position, origin);
}

int64_t tell_file(FILE *file) { return _ftelli64(file); }

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
    return _wremove(WideName(path).get());
}

int make_binary(FILE *file) { return _setmode(_fileno(file), _O_BINARY); }

void restore_mode(FILE *file, int mode) {
    if (mode != -1) // the stream has no file behind it
        _setmode(_fileno(file), mode);
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

void fatal_box(const char *text) { MessageBoxA(nullptr, text, "Fatal Error", MB_OK); }

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

// Nothing is built up at load: threads need not be announced to the library.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        DisableThreadLibraryCalls(instance);
    return TRUE;
}
