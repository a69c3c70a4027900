// driver.h - the driver "mem": images kept in memory under a name, for others in this process.
#pragma once

#include "zor/driver.h"

namespace zor::mem {

// Open the image of the handle's name. A new one is the writer's alone until closing publishes it.
// Return 1, or 0 on failure, reported.
int open_reader(ZOR_IMAGE *image);
int open_writer(ZOR_IMAGE *image);

} // namespace zor::mem
