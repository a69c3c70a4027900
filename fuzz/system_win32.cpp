// system_win32.cpp - system.h for Windows.
#include "system.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <windows.h>

namespace fs = std::filesystem;

namespace {

// A directory of this program's own, removed at the end.
const fs::path &directory() {
    static const fs::path path =
        fs::temp_directory_path() / ("zor_fuzz_" + std::to_string(GetCurrentProcessId()));
    static const bool made = fs::create_directory(path);
    static const int kept = std::atexit([] { fs::remove_all(directory()); });
    if (!made || kept != 0)
        std::abort();
    return path;
}

std::string put(const fs::path &path, const uint8_t *data, size_t size) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
    if (!file.flush())
        std::abort();
    return path.string();
}

} // namespace

size_t block_size(void *block) { return block != nullptr ? _msize(block) : 0; }

void *this_program() { return GetModuleHandleA(nullptr); }

void leave_home() { _putenv_s("HOME", ""); }

void set_variable(const char *assignment) { _putenv(assignment); }

void put_configuration(const uint8_t *data, size_t size) {
    _putenv_s("HOME", directory().string().c_str());
    put(directory() / ".zorrc", data, size);
}

std::string put_file(const uint8_t *data, size_t size) {
    return put(directory() / "input", data, size);
}
