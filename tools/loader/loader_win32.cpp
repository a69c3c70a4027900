// loader_win32.cpp - modules through LoadLibrary.
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <iterator>

#include "paths.h"
#include "system.h"

namespace zor {

const char module_suffix[] = ".dll";
const char search_path_separator = ';';

std::string environment_text(const char *name) {
    const wchar_t *text = _wgetenv(std::filesystem::path(name).c_str());
    return text != nullptr ? to_text(text) : "";
}

void *load_module(const std::string &path, std::string &error) {
    // The altered search path lets a module find libraries that lie beside it.
    HMODULE handle = LoadLibraryExW(std::filesystem::absolute(to_path(path)).c_str(), nullptr,
                                    LOAD_WITH_ALTERED_SEARCH_PATH);
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
    wchar_t name[32768]; // the longest path there is
    const DWORD length = GetModuleFileNameW(nullptr, name, std::size(name));
    if (length == 0 || length == std::size(name))
        return {};
    return std::filesystem::path(std::wstring(name, length)).parent_path();
}

} // namespace zor
