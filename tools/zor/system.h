// system.h - what the zor command needs of the operating system; one implementation for each.
#pragma once

#include <cstdio>
#include <string>

namespace zor {

// Makes an empty file that nobody has made before, for the user alone if confidential. Returns 0 or an errno value.
int create_new_file(const std::string &path, bool confidential);

// The standard output stream, for binary data from now on.
std::FILE *binary_standard_output();

// From now on a reader that goes away makes writing fail instead of ending the program.
void ignore_broken_pipes();

} // namespace zor
