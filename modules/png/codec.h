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

namespace pngio {

// Why a call of libpng failed.
enum class Trouble {
    none,
    memory, // reported already
    ended,  // the file is too short
    file,   // the system's doing; see error
    data    // libpng's judgement of the file, or of what it was asked to write
};

// Lives at one address from create to destroy. Starts cleared except for image, file and
// largest_block.
struct Codec {
    ZOR_IMAGE *image;
    FILE *file;
    size_t largest_block; // a request of libpng for more counts as running out of memory
    png_structp png;
    png_infop info;
    Trouble trouble;
    int error;     // errno of a Trouble::file
    int warnings;  // counted, since a hostile file can cause any number of them
    char text[96]; // libpng's message of the failure
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

// Reports the failure of an open, and returns false.
bool fail_open(Codec &codec);

// What to say about the failure.
const char *reason(const Codec &codec);

} // namespace pngio
