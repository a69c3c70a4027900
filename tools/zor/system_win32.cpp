// system_win32.cpp - the command's system functions on Windows.
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

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

std::span<const int> stop_signals() {
    static const int signals[] = {SIGINT, SIGTERM};
    return signals;
}

void ignore_broken_pipes() {} // that is how it is here

} // namespace zor
