// input.h - opening what a user names.
#pragma once

#include <string>

#include "handles.h"
#include "reports.h"

namespace zor {

// Whether a name stands for the standard input or output stream.
bool is_standard_input(const std::string &file);
bool is_standard_output(const std::string &file);

// Whether a name stands for a file proper: not for a stream, a pipe or a device, which give what
// they hold but once.
bool is_plain_file(const std::string &file);

// Opens an image for reading. Its format is the key's; without a key one that recognises the
// content, or else the one whose extension the name ends with. Failures are reported, as about the
// file; null then.
Image open_input(const std::string &file, const std::string &key, Reports &reports);

// The format from a module whose extension the name ends with, case aside; of several the one with
// the longest. Null when there is none.
const ZOR_FORMAT *format_of_name(const std::string &file);

// Whether a format is one that the library carries. None of these is a kind of file.
bool is_built_in(const ZOR_FORMAT &format);

// Replaces an owned text. Returns false when memory ran out (reported); the text is null then.
bool set_text(char *&field, const std::string &text);

} // namespace zor
