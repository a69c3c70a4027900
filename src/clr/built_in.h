// built_in.h - the sample spaces that need no configuration file.
#pragma once

#include <cstdint>

namespace zor::clr {

// Spaces of 1 to so many bins are built in.
constexpr int32_t num_built_in = 10;

// The arrays of one, laid out as those of Bins, with the weights for the built-in settings.
const float *built_in_block(int32_t n);

} // namespace zor::clr
