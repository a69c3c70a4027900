// hot_rows.h - the row kernels on one row that stays in the processor's nearest cache.
#pragma once

#include "paired.h"

namespace bench {

// Adds a pair for each kernel, by what it is used for, and each way of compiling the plain loops.
// The rows live as long as the program.
void add_hot_rows(Pairs *pairs);

} // namespace bench
