// colour.h - gamma, primaries and the shape of pixels between files and handles.
#pragma once

#include "codec.h"

namespace tiffio {

// Takes what the current page says about its primaries; what it does not say stays as it is.
void read_primaries(Codec &codec);

// Takes the exponent of the current page's transfer function, if it is one of a power.
//   bits  of the page's integer samples
void read_gamma(const Codec &codec, int32_t bits, ZOR_RESPONSE_CURVE *curve);

// Width to height of the current page's pixels; 1 when it says nothing sensible.
double pixel_aspect(const Codec &codec);

// Put them into the page that is written. False when libtiff would not have them; the codec knows
// when memory ran out.
bool write_gamma(Codec &codec, int32_t bits);
bool write_primaries(Codec &codec);
bool write_pixel_aspect(Codec &codec);

} // namespace tiffio
