// system_posix.cpp - the command's system functions on POSIX systems.
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "system.h"

namespace zor {

std::vector<std::string> arguments(int argc, char **argv) {
    return argc > 0 ? std::vector<std::string>(argv, argv + argc) : std::vector<std::string>(1);
}

std::FILE *open_file(const std::string &path, const char *mode) {
    return std::fopen(path.c_str(), mode);
}

int remove_file(const std::string &path) { return std::remove(path.c_str()); }

int create_new_file(const std::string &path, bool confidential) {
    const mode_t mode = confidential ? 0600 : 0666;
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (descriptor < 0)
        return errno;
    close(descriptor);
    return 0;
}

std::FILE *binary_standard_output() { return stdout; }

bool standard_error_is_terminal() { return isatty(STDERR_FILENO) != 0; }

bool standard_output_draws_colours() {
    const auto is = [](const char *variable, const char *value) {
        const char *text = std::getenv(variable);
        return text != nullptr && std::strcmp(text, value) == 0;
    };
    return isatty(STDOUT_FILENO) != 0 && !is("TERM", "dumb") &&
           (is("COLORTERM", "truecolor") || is("COLORTERM", "24bit"));
}

TerminalSize standard_output_size() {
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0)
        return {0, 0};
    return {size.ws_col, size.ws_row};
}

std::span<const int> stop_signals() {
    static const int signals[] = {SIGINT, SIGTERM, SIGHUP};
    return signals;
}

void ignore_broken_pipes() { std::signal(SIGPIPE, SIG_IGN); }

} // namespace zor
