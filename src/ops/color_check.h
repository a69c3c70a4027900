// color_check.h - what the operators that correct 8-bit colours ask of an image.
#pragma once

#include "zor/curve.h"
#include "zor/records.h"

namespace zor {

// Clears zor__err, and tells whether an operator can correct the image's colours to a curve.
// Reports a handle without an image and colours wider than 8 bits (ZOR_E_UNSUPPORTED); no integers,
// no colours and no curve are refused silently.
//   name  of the operator
bool can_correct(const ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve, const char *name);

} // namespace zor
