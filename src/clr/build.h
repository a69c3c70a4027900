// build.h - the weights of all sample spaces, from what the configuration file left.
#pragma once

#include "clr/configuration.h"

namespace zor::clr {

// Checks the settings and fills the arrays of every space.
Outcome build_spaces(Reading &reading);

} // namespace zor::clr
