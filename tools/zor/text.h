// text.h - texts for people: what files say may hold anything, and must not steer a terminal.
#pragma once

#include <string>
#include <vector>

namespace zor {

// The text with control characters written as \xNN.
std::string printable(const std::string &text);

// Appends to a list within a text, with a separator unless it is the first.
void add_to_list(std::string &list, const std::string &item, const char *separator = ", ");

// Prints rows of cells on the standard output, the columns lined up; indent is put in front.
void print_table(const std::vector<std::vector<std::string>> &rows, const std::string &indent = {});

} // namespace zor
