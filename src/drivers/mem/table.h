// table.h - the pictures of this process, by name.
//
// A picture lives as long as it has users: the table itself and every handle it is open in. So one
// can be replaced, or the table cleared, while others still read it. Functions take the library's
// lock.
#pragma once

#include "drivers/mem/picture.h"

namespace zor::mem {

// The picture of that name, with one more user; null when there is none.
Picture *acquire(const char *name);

// Puts a picture into the table, where an older one of its name makes room. The caller's use of it
// becomes the table's. Cannot fail.
void publish(Picture *picture);

// Ends one use.
void release(Picture *picture);

// Ends the table's use of every picture.
void clear_table();

} // namespace zor::mem
