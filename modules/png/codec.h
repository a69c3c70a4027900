// codec.h - a libpng object together with all that its callbacks need.
//
// libpng leaves a failed call with longjmp. Every call that can fail therefore runs inside
// guarded(), which is where the jump ends; the code run there owns nothing that has a destructor.
#pragma once

#include <csetjmp>
#include <cstdint>
#include <cstdio>

#include <png.h>
#include <zor/driver.h>

#include "shared/trouble.h"

namespace pngio {

// Lives at one address from create to destroy. Starts cleared except for image, file and
// largest_block.
struct Codec {
    ZOR_IMAGE *image;
    FILE *file;
    size_t largest_block; // a request of libpng for more counts as running out of memory
    png_structp png;
    png_infop info;
    driver::Trouble trouble;
};

// Make the objects of libpng. False when that failed; zor__err is set.
bool create_reader(Codec &codec);
bool create_writer(Codec &codec);

// Free them. What create left null is ignored.
void destroy_reader(Codec &codec);
void destroy_writer(Codec &codec);

// Runs calls of libpng. False when one failed; the codec then knows why, and may only be destroyed.
template<class Action>
[[nodiscard]] bool guarded(Codec &codec, Action action) {
    if (setjmp(png_jmpbuf(codec.png)) != 0)
        return false;
    action();
    return true;
}

} // namespace pngio
