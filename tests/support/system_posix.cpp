// system_posix.cpp - system.h for POSIX systems.
#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <memory>

#include "support/system.h"

// The environment keeps what it is given, and setenv every value there ever was.
void set_variable(const char *name, const char *value) {
    static auto &kept = *new std::map<std::string, std::unique_ptr<char[]>>;
    if (value == nullptr) {
        unsetenv(name);
        return;
    }
    const std::string assignment = std::string(name) + '=' + value;
    auto next = std::make_unique<char[]>(assignment.size() + 1);
    assignment.copy(next.get(), assignment.size());
    putenv(next.get());
    kept[name] = std::move(next);
}

size_t block_size(void *block) { return malloc_usable_size(block); }

Redirected::Redirected(std::FILE *target) {
    std::fflush(stdout);
    saved_ = dup(STDOUT_FILENO);
    dup2(fileno(target), STDOUT_FILENO);
}

Redirected::~Redirected() {
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
}

int run_program(const std::vector<std::string> &arguments, const std::string &input,
                const std::string &output, const std::string &errors) {
    std::vector<char *> words;
    for (const std::string &argument : arguments)
        words.push_back(const_cast<char *>(argument.c_str()));
    words.push_back(nullptr);
    constexpr int create = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(), create, 0666);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, errors.c_str(), create, 0666);
    pid_t child;
    int status = -1;
    if (posix_spawn(&child, words[0], &files, nullptr, words.data(), environ) == 0)
        waitpid(child, &status, 0);
    posix_spawn_file_actions_destroy(&files);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

FullPipe::FullPipe(const std::string &bytes) {
    if (pipe(ends_) == 0 &&
        write(ends_[1], bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()))
        name = "/proc/self/fd/" + std::to_string(ends_[0]);
}

FullPipe::~FullPipe() {
    end();
    close(ends_[0]);
}

void FullPipe::end() {
    if (ends_[1] >= 0)
        close(ends_[1]);
    ends_[1] = -1;
}

void *this_program() { return dlopen(nullptr, RTLD_NOW); }

const char *const full_device = "/dev/full";
const char *const name_below_a_file = "/etc/passwd/below.tape";
const char *const text_line_end = "\n";
