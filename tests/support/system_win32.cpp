// system_win32.cpp - system.h for Windows.
#include <cstdlib>
#include <filesystem>
#include <io.h>

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

Redirected::Redirected(std::FILE *target) {
    std::fflush(stdout);
    saved_ = _dup(1);
    _dup2(_fileno(target), 1);
}

Redirected::~Redirected() {
    std::fflush(stdout);
    _dup2(saved_, 1);
    _close(saved_);
}

FullPipe::FullPipe(const std::string &) : ends_{} {}
FullPipe::~FullPipe() = default;
void FullPipe::end() { ends_[1] = -1; }

void *this_program() { return GetModuleHandleA(nullptr); }

const char *const full_device = "";
const char *const endless_device = "";
const char *const name_below_a_file = "";
const char *const text_line_end = "\r\n";
