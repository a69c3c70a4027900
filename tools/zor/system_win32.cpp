// system_win32.cpp - the command's system functions on Windows.
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <shellapi.h>

#include "system.h"

namespace zor {

namespace {

std::string utf8(const wchar_t *text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.resize(result.size() - 1); // without the terminator
    return result;
}

std::wstring wide(const std::string &text) {
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
    std::wstring result(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, result.data(), size);
    return result;
}

} // namespace

// What main is handed has gone through the system's code page, which holds a few languages' names
// only.
std::vector<std::string> arguments(int argc, char **argv) {
    wchar_t **words = CommandLineToArgvW(GetCommandLineW(), &argc);
    if (words == nullptr)
        return {argv, argv + argc};
    std::vector<std::string> result;
    for (int i = 0; i < argc; ++i)
        result.push_back(utf8(words[i]));
    LocalFree(words);
    return result;
}

std::FILE *open_file(const std::string &path, const char *mode) {
    return _wfopen(wide(path).c_str(), wide(mode).c_str());
}

int remove_file(const std::string &path) { return _wremove(wide(path).c_str()); }

int create_new_file(const std::string &path, bool /*confidential*/) {
    const int descriptor = _wopen(wide(path).c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY,
                                  _S_IREAD | _S_IWRITE);
    if (descriptor < 0)
        return errno;
    _close(descriptor);
    return 0;
}

std::FILE *binary_standard_output() {
    _setmode(1, _O_BINARY);
    return stdout;
}

bool standard_error_is_terminal() { return _isatty(2) != 0; }

// Asking for it turns it on, in the encoding that our texts have.
bool standard_output_draws_colours() {
    const DWORD draws_escapes = 4; // ENABLE_VIRTUAL_TERMINAL_PROCESSING, which old headers lack
    HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) != 0 &&
           SetConsoleMode(console, mode | draws_escapes) != 0 && SetConsoleOutputCP(CP_UTF8) != 0;
}

TerminalSize standard_output_size() {
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) == 0)
        return {0, 0};
    return {info.srWindow.Right - info.srWindow.Left + 1,
            info.srWindow.Bottom - info.srWindow.Top + 1};
}

std::span<const int> stop_signals() {
    static const int signals[] = {SIGINT, SIGTERM};
    return signals;
}

void ignore_broken_pipes() {} // that is how it is here

} // namespace zor
