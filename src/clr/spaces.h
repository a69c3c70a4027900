// spaces.h - the sample spaces of the colour database.
#pragma once

#include <cstdint>

#include "clr/weights.h"
#include "zor/clr.h"

namespace zor::clr {

// What a configuration file may ask for; far above what has a use.
constexpr int32_t most_bins = 4096;

// A sample space, in one piece of memory with the block of its arrays.
struct Space {
    CLR_SAMPLES samples;
    float *block;

    [[nodiscard]] Bins bins() const { return lay_out(samples.n, block); }
};
static_assert(sizeof(void *) != 4 || sizeof(CLR_SAMPLES) == 24);

// A new space, all of its numbers 0: a start that ends halfway leaves nothing undefined. Freed with
// ERR_free. Null, reported, when memory ran out.
Space *make_space(int32_t n);

// All spaces, one for each number of bins that has one. Looked up by that number, since a file may
// define thousands, and each of them again and again.
class Spaces {
public:
    [[nodiscard]] Space *find(int32_t n) const {
        return n >= 1 && n <= highest_ ? by_n_[n] : nullptr;
    }

    // Takes a space over in place of one with as many bins; null leaves none. n is 1 to most_bins.
    void set(int32_t n, Space *space);

    void clear();

    // The largest number of bins of a space that there may be.
    [[nodiscard]] int32_t highest() const { return highest_; }

private:
    Space *by_n_[most_bins + 1] = {}; // owned; entry 0 is not used
    int32_t highest_ = 0;
};

} // namespace zor::clr
