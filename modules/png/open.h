// open.h - the open functions of the driver.
#pragma once

#include <zor/driver.h>

namespace pngio {

int read_open(ZOR_IMAGE *image);
int write_open(ZOR_IMAGE *image);

} // namespace pngio
