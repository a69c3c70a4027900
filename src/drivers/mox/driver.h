// driver.h - the two sides of the MOX driver.
#pragma once

#include "zor/driver.h"

namespace zor::mox {

// Most sub-images of a file. Far more than anyone needs; keeps hostile files from taking for ever.
constexpr int32_t max_sub_images = 65536;

// Whether a handle is of the sibling variant "mob": by its key, or by its file name's extension.
bool is_mob(const ZOR_IMAGE &image);

// Open the handle's file and install the functions of the reader or writer. Return 1; 0 on failure,
// reported, with everything but the handle released.
int open_reader(ZOR_IMAGE *image);
int open_writer(ZOR_IMAGE *image);

// The time since a file was opened as it goes into the header: hours, minutes, seconds.
void format_elapsed(char (&text)[12], uint32_t seconds);

} // namespace zor::mox
