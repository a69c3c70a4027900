// options.h - what an application may choose for files that are written: the capabilities of the
// driver.
#pragma once

#include <zor/driver.h>

namespace tiffio {

// What is chosen, as libtiff numbers it.
struct Options {
    uint16_t compression;
    uint16_t alpha; // kind of the mattes
    const char *compression_name;
};

// The driver's capability function.
void capabilities(ZOR_CAPABILITY **list, int32_t *first, int32_t *second, int32_t *count);

// Takes the choices out of a handle's settings; what they leave open has its default. Returns 0 or
// a negative status, reported, for settings that the driver does not know.
int32_t choose(const ZOR_IMAGE *image, Options *options);

} // namespace tiffio
