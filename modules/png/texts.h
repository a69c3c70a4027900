// texts.h - texts between files and handles.
#pragma once

#include "codec.h"

namespace pngio {

// Takes the texts the handle has a place for. False, reported, when memory ran out.
bool read_texts(Codec &codec);

// Puts the handle's texts into the header, except those that only stand in for none. To be run
// guarded.
void write_texts(Codec &codec);

} // namespace pngio
