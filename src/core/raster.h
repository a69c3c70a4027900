// raster.h - requests for many lines, checked and completed.
#pragma once

#include "base/base/owned.h"
#include "zor/driver.h"

namespace zor {

// A raster as drivers get it, with planes of its own.
struct CheckedRaster {
    ZOR_RASTER raster;
    Owned<ZOR_PLANE> planes;
};

// Checks a request against the description of its sub-image and completes it. Returns 0, or a
// negative status, reported.
int32_t check_raster(const ZOR_IMAGE &image, const ZOR_RASTER &asked, CheckedRaster *checked);

// The same for planes without gaps, one for each of an array of pointers, and the calling thread.
// Of the request the sub-image and the window count.
int32_t check_raster(const ZOR_IMAGE &image, const ZOR_RASTER &asked, void *const *channels,
                     CheckedRaster *checked);

} // namespace zor
