// capabilities.h - checking what drivers offer, and settings lists that the library owns.
#pragma once

#include "zor/records.h"

namespace zor {

// Completes the names in all drivers' capability descriptors, counts the entries of their lists and
// notes the largest numbers the drivers gave. A driver whose descriptors are incomplete is reported
// and left as it is from there on; a list without its default value ends the process. Returns 0, or
// ZOR_E_MEMORY when a name could not be copied (reported).
int32_t check_capabilities();

// Gives the drivers back the names they had before, and frees the copies. The drivers must still be
// there.
void drop_capability_names();

// A copy of a whole settings list, null for a null or empty one. False when memory ran out
// (reported), with nothing left to free.
bool copy_settings(ZOR_CAP_SETTING ***copy, ZOR_CAP_SETTING *const *list);

// Frees a copied list with its settings; null is ignored.
void free_settings(ZOR_CAP_SETTING **list);

} // namespace zor
