// posix.cpp - the platform functions on POSIX systems.
#include "platform/platform.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <new>
#include <pthread.h>
#include <pwd.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include "zor/err.h"

namespace zor::platform {

struct Mutex {
    pthread_mutex_t handle;
};

namespace {

void init_recursive(pthread_mutex_t *handle) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(handle, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

} // namespace

bool mutex_try_lock(Mutex *mutex) { return pthread_mutex_trylock(&mutex->handle) == 0; }

Mutex *mutex_create() {
    auto *mutex = static_cast<Mutex *>(ERR_malloc(sizeof(Mutex)));
    if (mutex == nullptr)
        return nullptr;
    init_recursive(&mutex->handle);
    // Nobody else knows it, so there is no wait, and no order to keep with locks already held.
    mutex_try_lock(mutex);
    return mutex;
}

void mutex_destroy(Mutex *mutex) {
    if (mutex == nullptr)
        return;
    pthread_mutex_destroy(&mutex->handle);
    ERR_free(mutex);
}

void mutex_lock(Mutex *mutex) { pthread_mutex_lock(&mutex->handle); }

void mutex_unlock(Mutex *mutex) { pthread_mutex_unlock(&mutex->handle); }

Mutex *library_mutex() {
    static Mutex *const mutex = [] {
        static Mutex storage;
        init_recursive(&storage.handle);
        return &storage;
    }();
    return mutex;
}

struct Monitor::State {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
};

Monitor::Monitor() : state_() {
    static_assert(sizeof(State) <= sizeof state_);
    new (state_) State;
}
Monitor::~Monitor() {
    pthread_cond_destroy(&state().condition);
    pthread_mutex_destroy(&state().mutex);
}
Monitor::State &Monitor::state() { return *std::launder(reinterpret_cast<State *>(state_)); }
void Monitor::lock() { pthread_mutex_lock(&state().mutex); }
void Monitor::unlock() { pthread_mutex_unlock(&state().mutex); }
void Monitor::wait() { pthread_cond_wait(&state().condition, &state().mutex); }
void Monitor::wake_all() { pthread_cond_broadcast(&state().condition); }

namespace {

struct Work {
    void (*function)(void *data);
    void *data;
};

void *run_work(void *argument) {
    const auto *work = static_cast<const Work *>(argument);
    work->function(work->data);
    return nullptr;
}

} // namespace

void run_on_threads(int count, void (*work)(void *data), void *data) {
    Work same = {work, data};
    pthread_t threads[most_threads];
    int started = 0;
    if (count > 1) {
        // The application's signals are for its own threads, but for those of a thread's own
        // faults.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        constexpr int own[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
        for (const int number : own)
            sigdelset(&all, number);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        while (started + 1 < count &&
               pthread_create(&threads[started], nullptr, run_work, &same) == 0)
            ++started;
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    work(data);
    while (started > 0)
        pthread_join(threads[--started], nullptr);
}

int processor_count() {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0)
        return CPU_COUNT(&set);
    const long count = sysconf(_SC_NPROCESSORS_ONLN);
    return count > 0 ? static_cast<int>(count) : 1;
}

BinaryMode::BinaryMode() : saved_(0) {}
BinaryMode::~BinaryMode() { static_cast<void>(saved_); }

FILE *open_file(const char *path, const char *mode) {
    FILE *file = std::fopen(path, mode);
    struct stat status;
    // Opening a directory for reading succeeds, and only reading it fails.
    if (file == nullptr || mode[0] != 'r' || fstat(fileno(file), &status) != 0 ||
        !S_ISDIR(status.st_mode))
        return file;
    std::fclose(file);
    errno = EISDIR;
    return nullptr;
}

int seek_file(FILE *file, int64_t position, int origin) {
    return fseeko(file, static_cast<off_t>(position), origin);
}

int64_t tell_file(FILE *file) { return ftello(file); }

int64_t length_of_opened(FILE *file) {
    struct stat status;
    if (fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode))
        return status.st_size; // in one call of the system's
    if (fseeko(file, 0, SEEK_END) != 0)
        return -1;
    const off_t length = ftello(file);
    return fseeko(file, 0, SEEK_SET) == 0 ? length : -1;
}

size_t read_at(FILE *file, int64_t position, void *bytes, size_t size) {
    auto *to = static_cast<char *>(bytes);
    size_t done = 0;
    while (done < size) {
        const ssize_t got = pread(fileno(file), to + done, size - done,
                                  static_cast<off_t>(position) + static_cast<off_t>(done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<size_t>(got);
    }
    return done;
}

int remove_file(const char *path) {
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
        return -1;
    return std::remove(path);
}

void hold_binary(FILE *) {}

void release_binary(FILE *) {}

int file_exists(const char *path) {
    struct stat status;
    if (stat(path, &status) == 0)
        return 1;
    return errno == ENOENT ? 0 : -1;
}

bool file_stamp(const char *path, FileStamp *stamp) {
    struct stat status;
    if (stat(path, &status) != 0)
        return false;
    *stamp = {status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
    return true;
}

bool is_absolute(const char *path) { return path[0] == '/'; }

void *module_symbol(void *module, const char *name) {
    // dlsym also looks in the libraries that the module depends on; only its own symbols count.
    void *address = dlsym(module, name);
    link_map *owner = nullptr;
    link_map *own = nullptr;
    Dl_info info;
    if (address == nullptr ||
        dladdr1(address, &info, reinterpret_cast<void **>(&owner), RTLD_DL_LINKMAP) == 0 ||
        dlinfo(module, RTLD_DI_LINKMAP, static_cast<void *>(&own)) != 0 || owner != own)
        return nullptr;
    return address;
}

void fatal_box(const char *, const char *) {} // the standard error stream has it already

bool user_name(char *buffer, size_t size) {
    // getpwuid itself is not safe beside other threads; the environment is the second choice.
    char storage[4096];
    passwd record;
    passwd *found = nullptr;
    const char *name = nullptr;
    if (getpwuid_r(geteuid(), &record, storage, sizeof storage, &found) == 0 && found != nullptr)
        name = found->pw_name;
    if (name == nullptr)
        name = std::getenv("USER");
    if (name == nullptr)
        return false;
    std::snprintf(buffer, size, "%s", name);
    return true;
}

bool host_name(char *buffer, size_t size) {
    if (gethostname(buffer, size) != 0)
        return false;
    buffer[size - 1] = '\0'; // a name that was cut may lack it
    return true;
}

uint32_t tick_count() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000U +
                                 static_cast<uint64_t>(now.tv_nsec) / 1000000U);
}

int error_text_count() { return 134; } // the system numbers its errors from 0 to 133

const char *error_text(int number) { return std::strerror(number); }

bool local_time(int64_t seconds, std::tm *result) {
    const auto time = static_cast<time_t>(seconds);
    return time == seconds && localtime_r(&time, result) != nullptr;
}

} // namespace zor::platform
