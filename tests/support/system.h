// system.h - what tests ask of the operating system; system_posix.cpp and system_win32.cpp.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

// Sets an environment variable of this process; null removes it.
void set_variable(const char *name, const char *value);

// What a block that malloc gave takes up; 0 for none.
size_t block_size(void *block);

// Turns the standard output to an open file for a scope.
class Redirected {
public:
    explicit Redirected(std::FILE *target);
    ~Redirected();
    Redirected(Redirected &&) = delete;

private:
    int saved_;
};

// Runs a program to its end, without a shell, its standard streams turned to files; names and
// arguments, which hold no quotes, are UTF-8. Returns its exit code, or -1 when there is none.
int run_program(const std::vector<std::string> &arguments, const std::string &input,
                const std::string &output, const std::string &errors);

// A pipe that holds some bytes, no more than fit it, and a name that it can be opened by; an empty
// name where pipes have none. Once it is open, end() tells the reader that no more will come.
class FullPipe {
public:
    explicit FullPipe(const std::string &bytes);
    ~FullPipe();
    FullPipe(FullPipe &&) = delete;
    void end();

    std::string name;

private:
    int ends_[2];
};

// The running program, as the loader of modules knows it.
void *this_program();

// A device that is as good as a file on a full disk, and a name of which the system cannot say that
// there is no such file; empty texts where there is none.
extern const char *const full_device;
extern const char *const name_below_a_file;

// What a line ends with in files that are not opened as binary.
extern const char *const text_line_end;
