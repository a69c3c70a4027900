// system_posix.cpp - system.h for POSIX systems.
#include <dlfcn.h>

#include <cstdlib>

#include "support/system.h"

void set_variable(const char *name, const char *value) {
    value != nullptr ? setenv(name, value, 1) : unsetenv(name);
}

std::string make_directory(const std::string &prefix) {
    std::string name = prefix + "XXXXXX";
    return mkdtemp(name.data()) != nullptr ? name : "";
}

void *this_program() { return dlopen(nullptr, RTLD_NOW); }

const char *const full_device = "/dev/full";
