// loader_win32.cpp - modules through LoadLibrary.
#include <windows.h>

#include <cstring>

#include "system.h"

namespace zor {

const char module_suffix[] = ".dll";
const char search_path_separator = ';';

void *load_module(const std::string &path, std::string &error) {
    // The altered search path lets a module find libraries that lie beside it.
    const std::string name = std::filesystem::absolute(path).string();
    HMODULE handle = LoadLibraryExA(name.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (handle == nullptr)
        error = "system error " + std::to_string(GetLastError());
    return handle;
}

void unload_module(void *handle) { FreeLibrary(static_cast<HMODULE>(handle)); }

void *module_symbol(void *handle, const char *name) {
    const FARPROC address = GetProcAddress(static_cast<HMODULE>(handle), name);
    void *symbol;
    static_assert(sizeof symbol == sizeof address);
    std::memcpy(&symbol, &address, sizeof symbol);
    return symbol;
}

std::filesystem::path program_directory() {
    char name[MAX_PATH];
    const DWORD length = GetModuleFileNameA(nullptr, name, sizeof name);
    if (length == 0 || length == sizeof name)
        return {};
    return std::filesystem::path(std::string(name, length)).parent_path();
}

} // namespace zor
