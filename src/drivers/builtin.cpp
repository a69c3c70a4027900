// builtin.cpp - the table of drivers that the library carries and registers by itself.
#include "core/registry.h"

namespace zor {

// Every format comes from a module so far.
std::span<const ZOR_DRIVER> builtin_drivers() { return {}; }

} // namespace zor
