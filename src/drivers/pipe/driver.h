// driver.h - the driver "pipe": one image on the standard output, for a process that reads it.
#pragma once

#include "zor/driver.h"

namespace zor::pipe {

// Reading is accepted and does nothing: the handle has no image and no functions, so scanning and
// closing it are refused by the library and it stays for good.
int open_reader(ZOR_IMAGE *image);

// Installs the functions of a writer. Returns 1, or 0 on failure, reported. Nothing is written
// before the first scanline.
int open_writer(ZOR_IMAGE *image);

} // namespace zor::pipe
