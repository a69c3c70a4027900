// system_win32.cpp - system.h for Windows.
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <io.h>
#include <malloc.h>

#include "support/system.h"
#include <windows.h>

void set_variable(const char *name, const char *value) {
    // Both environments: that of the C runtime and that of the process, which an empty value
    // leaves.
    _putenv_s(name, value != nullptr ? value : "");
    SetEnvironmentVariableA(name, value);
}

size_t block_size(void *block) { return block != nullptr ? _msize(block) : 0; }

Redirected::Redirected(std::FILE *target) {
    std::fflush(stdout);
    saved_ = _dup(1);
    _dup2(_fileno(target), 1);
    _setmode(1, _O_TEXT); // as at a program's start, whatever the file's
}

Redirected::~Redirected() {
    std::fflush(stdout);
    _dup2(saved_, 1);
    _close(saved_);
}

namespace {

std::filesystem::path path(const std::string &utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

} // namespace

int run_program(const std::vector<std::string> &arguments, const std::string &input,
                const std::string &output, const std::string &errors) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const auto open = [&](const std::string &name, DWORD access, DWORD how) {
        return CreateFileW(path(name).c_str(), access, FILE_SHARE_READ, &inherited, how,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    };
    STARTUPINFOW streams = {};
    streams.cb = sizeof streams;
    streams.dwFlags = STARTF_USESTDHANDLES;
    streams.hStdInput = open(input, GENERIC_READ, OPEN_EXISTING);
    streams.hStdOutput = open(output, GENERIC_WRITE, CREATE_ALWAYS);
    streams.hStdError = open(errors, GENERIC_WRITE, CREATE_ALWAYS);
    std::wstring line;
    for (const std::string &argument : arguments)
        line += (line.empty() ? L"\"" : L" \"") + path(argument).wstring() + L'"';
    PROCESS_INFORMATION child;
    const bool started = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        nullptr, &streams, &child) != 0;
    for (HANDLE stream : {streams.hStdInput, streams.hStdOutput, streams.hStdError})
        CloseHandle(stream);
    if (!started)
        return -1;
    DWORD code = 0;
    WaitForSingleObject(child.hProcess, INFINITE);
    GetExitCodeProcess(child.hProcess, &code);
    CloseHandle(child.hThread);
    CloseHandle(child.hProcess);
    return static_cast<int>(code);
}

FullPipe::FullPipe(const std::string &) : ends_{} {}
FullPipe::~FullPipe() = default;
void FullPipe::end() { ends_[1] = -1; }

void *this_program() { return GetModuleHandleA(nullptr); }

const char *const full_device = "";
const char *const name_below_a_file = "";
const char *const text_line_end = "\r\n";
