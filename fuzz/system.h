// system.h - what fuzz targets ask of the operating system; system_posix.cpp and system_win32.cpp.
// What does not work there ends the program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// What a block that malloc gave takes up.
size_t block_size(void *block);

// The running program, as the loader of modules knows it.
void *this_program();

// Takes the home directory away, so that nobody's configuration is read.
void leave_home();

// Sets a variable of the environment, "NAME=value" of at most 1000 characters; always the same one.
void set_variable(const char *assignment);

// Puts an input into the configuration file of a home directory made for it, which goes when the
// program ends.
void put_configuration(const uint8_t *data, size_t size);

// Puts an input into a file, in memory where there is such a place. Returns its name.
std::string put_file(const uint8_t *data, size_t size);
