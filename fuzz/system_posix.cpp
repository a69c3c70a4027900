// system_posix.cpp - system.h for POSIX systems.
#include "system.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

std::string home = "/tmp/zor_fuzz_XXXXXX";

int make_configuration() {
    if (mkdtemp(home.data()) == nullptr)
        return -1;
    setenv("HOME", home.c_str(), 1);
    std::atexit([] {
        unlink((home + "/.zorrc").c_str());
        rmdir(home.c_str());
    });
    return open((home + "/.zorrc").c_str(), O_RDWR | O_CREAT, 0600);
}

void put(int file, const uint8_t *data, size_t size) {
    if (file < 0 || ftruncate(file, 0) != 0 ||
        pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
        std::abort();
}

} // namespace

size_t block_size(void *block) { return malloc_usable_size(block); }

void *this_program() { return dlopen(nullptr, RTLD_NOW); }

void leave_home() { unsetenv("HOME"); }

void set_variable(const char *assignment) {
    static char kept[1001]; // the environment's from now on; setenv would keep every value
    std::snprintf(kept, sizeof kept, "%s", assignment);
    putenv(kept);
}

void put_configuration(const uint8_t *data, size_t size) {
    static const int file = make_configuration();
    put(file, data, size);
}

std::string put_file(const uint8_t *data, size_t size) {
    static const int file = memfd_create("input", 0);
    put(file, data, size);
    return "/proc/self/fd/" + std::to_string(file);
}
