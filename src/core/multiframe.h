// multiframe.h - what the core does with its cache of open multi-frame files beyond the calls
// that driver.h declares.
#pragma once

#include "zor/driver.h"

namespace zor {

// Takes a handle that is about to be closed and opened again out of the cache, under the library's
// lock, so that closing it is final. Returns false, and leaves it there, when others use it as
// well.
bool multiframe_withdraw(const ZOR_IMAGE *image);

// Closes what nobody uses, forgets the rest and turns the cache off. The library's lock is free
// while a handle is closed.
void multiframe_shut();

} // namespace zor
