// open.h - what the driver offers.
#pragma once

#include <zor/driver.h>

namespace tiffio {

constexpr int widths = static_cast<int>(0x8000FFFF); // of integers: 1 to 16 and 32 bits
constexpr int most_mattes = 32767;

// Whether a file, which stands at its beginning, is of this type.
bool has_signature(FILE *file);

int read_open(ZOR_IMAGE *image);
int write_open(ZOR_IMAGE *image);

} // namespace tiffio
