// file.h - the paths and standard streams behind images.
#pragma once

#include <cstdio>

#include "zor/driver.h"

namespace zor {

// The path that a name stands for in a directory (null: the current one): the name as it is when
// the handle calls it complete, otherwise with the extension added. A new string; null when memory
// ran out.
char *path_in(const ZOR_IMAGE &image, const char *directory, const char *name);

// Reports that the handle's file cannot be opened, and sets zor__err.
//   reason  an errno value; ENOMEM is reported as lack of memory
void fail_open(const ZOR_IMAGE &image, int reason);

// Takes the standard input or output for binary data, and gives it back in the mode it was in. What
// was written goes out before, the way it was meant to. Give one back as often as it was taken;
// that returns what fflush does.
FILE *take_stream(FILE *stream);
int give_stream_back(FILE *stream);

} // namespace zor
