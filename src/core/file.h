// file.h - the paths behind images.
#pragma once

#include "zor/driver.h"

namespace zor {

// The path that a name stands for in a directory (null: the current one): the name as it is when
// the handle calls it complete, otherwise with the extension added. A new string; null when memory
// ran out.
char *path_in(const ZOR_IMAGE &image, const char *directory, const char *name);

// Reports that the handle's file cannot be opened, and sets zor__err.
//   reason  an errno value; ENOMEM is reported as lack of memory
void fail_open(const ZOR_IMAGE &image, int reason);

} // namespace zor
