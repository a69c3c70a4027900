// system_win32.cpp - system.h for Windows.
#include <cstdlib>
#include <filesystem>

#include "support/system.h"
#include <windows.h>

void set_variable(const char *name, const char *value) {
    // Both environments: that of the C runtime and that of the process, which an empty value leaves.
    _putenv_s(name, value != nullptr ? value : "");
    SetEnvironmentVariableA(name, value);
}

std::string make_directory(const std::string &prefix) {
    for (unsigned i = 0;; ++i) {
        std::string name = prefix + std::to_string(GetCurrentProcessId() * 1000 + i);
        if (std::filesystem::create_directory(name))
            return name;
    }
}

void *this_program() { return GetModuleHandleA(nullptr); }

const char *const full_device = "";
