// system_win32.cpp - the command's system functions on Windows.
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <windows.h>

#include "system.h"

namespace zor {

int create_new_file(const std::string &path, bool /*confidential*/) {
    const int descriptor =
        _open(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
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
