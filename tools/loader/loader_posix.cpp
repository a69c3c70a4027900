// loader_posix.cpp - modules through dlopen.
#include <cstdlib>
#include <dlfcn.h>

#include "system.h"

namespace zor {

const char module_suffix[] = ".so";
const char search_path_separator = ':';

std::string environment_text(const char *name) {
    const char *text = std::getenv(name);
    return text != nullptr ? text : "";
}

void *load_module(const std::string &path, std::string &error) {
    // Without a directory dlopen would search the system's places.
    const std::filesystem::path file(path);
    const std::string name = file.has_parent_path() ? path : "./" + path;
    void *handle = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char *reason = dlerror();
        error = reason != nullptr ? reason : "unknown reason";
    }
    return handle;
}

void unload_module(void *handle) { dlclose(handle); }

void *module_symbol(void *handle, const char *name) { return dlsym(handle, name); }

std::filesystem::path program_directory() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path() : program.parent_path();
}

} // namespace zor
