// system.h - what tests ask of the operating system; system_posix.cpp and system_win32.cpp.
#pragma once

#include <string>

// Sets an environment variable of this process; null removes it.
void set_variable(const char *name, const char *value);

// Makes an empty directory whose path starts with that prefix.
std::string make_directory(const std::string &prefix);

// The running program, as the loader of modules knows it.
void *this_program();

// A device that is as good as a file on a full disk, or an empty text.
extern const char *const full_device;
