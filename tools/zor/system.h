// system.h - what the zor command needs of the operating system; one implementation for each.
#pragma once

#include <cstdio>
#include <span>
#include <string>
#include <vector>

namespace zor {

// The program's arguments as UTF-8; the first is its name, even if the system has none.
std::vector<std::string> arguments(int argc, char **argv);

// fopen and remove with names in UTF-8.
std::FILE *open_file(const std::string &path, const char *mode);
int remove_file(const std::string &path);

// Makes an empty file that nobody has made before, for the user alone if confidential. Returns 0 or
// an errno value.
int create_new_file(const std::string &path, bool confidential);

// The standard output stream, for binary data from now on.
std::FILE *binary_standard_output();

// Whether what is said on the standard error stream goes straight to a person.
bool standard_error_is_terminal();

// Whether the standard output is a terminal that draws characters in any colour.
bool standard_output_draws_colours();

// A terminal's size in characters; 0 where it is not known.
struct TerminalSize {
    int columns, lines;
};

// That of the standard output.
TerminalSize standard_output_size();

// The signals that ask a program to stop.
std::span<const int> stop_signals();

// Writing to a pipe that nobody reads any more fails from now on instead of ending the program.
void ignore_broken_pipes();

} // namespace zor
