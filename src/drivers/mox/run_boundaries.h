// run_boundaries.h - where runs of equal bytes begin and end.
//
// Comparing each byte with the one before gives a bit for every byte; a few shifts and logical
// operations turn a word of them into one in which only the boundaries of runs are set. Their
// places go into a list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "drivers/mox/bit_places.h"
#include "drivers/mox/row_codec.h"

namespace zor::mox {

// Finds the boundaries of runs in a plane that comes in blocks, with a kind of vectors.
template<class V>
class RunBoundaries {
public:
    static constexpr ptrdiff_t shortest_run = 3;

    // Bytes that are looked at together. All blocks but the last one are multiples of it.
    static constexpr ptrdiff_t group = ptrdiff_t{4} * word_bits;

    // What is read in front of a block that is shorter than a word; the values do not matter.
    static constexpr ptrdiff_t front = word_bits;

    // Lists the boundaries in the next count bytes of the plane: the third byte of every run and
    // the byte after its last, counted from x. Returns the end of the list; up to 12 elements
    // behind it are scratch. Those before near_end are codec_slack bytes or more before the end of
    // the block, the others less than tail_size. Reads the byte in front of x if there is one in
    // the plane, and the one behind the first word.
    int16_t *list(const uint8_t *x, ptrdiff_t count, int16_t *to, int16_t **near_end);
    static constexpr ptrdiff_t tail_size = group + codec_slack;

    // Whether the last byte so far belongs to a run.
    [[nodiscard]] bool in_run() const { return in_runs_ >> (word_bits - 1) != 0; }

private:
    // As many comparisons as fit a register are handled together.
    using Word = size_t;

    static Word equal_to_previous(const uint8_t *x);
    static Word shifted(Word bits, Word before) { return bits << 1 | before >> (word_bits - 1); }
    Word boundaries(Word equal);

    Word equal_ = 0;   // how the last word of bytes compared with those in front of them
    Word in_runs_ = 0; // and which of them were found to belong to runs, from the third byte on
    int begin_ = 1;    // of the plane: its first byte has none to be compared with
};

// Bit i tells whether x[i] equals x[i - 1].
template<class V>
typename RunBoundaries<V>::Word RunBoundaries<V>::equal_to_previous(const uint8_t *x) {
    Word bits = 0;
    for (int i = 0; i < word_bits; i += V::size)
        bits |= Word{V::equal_bytes(x + i, x + i - 1)} << i;
    return bits;
}

template<class V>
typename RunBoundaries<V>::Word RunBoundaries<V>::boundaries(Word equal) {
    const Word in_runs = equal & shifted(equal, equal_);
    const Word found = in_runs ^ shifted(in_runs, in_runs_);
    equal_ = equal;
    in_runs_ = in_runs;
    return found;
}

template<class V>
int16_t *RunBoundaries<V>::list(const uint8_t *x, ptrdiff_t count, int16_t *to,
                                int16_t **near_end) {
    RunBoundaries local = *this; // the compiler keeps it in registers
    int16_t *before = to;
    ptrdiff_t i = 0;
    for (; i + group <= count; i += group) {
        before = to;
        if (local.in_run() &&
            V::all_are(x[i - 1], x + i, std::make_index_sequence<group / V::size>()))
            continue;
        Word found[4];
        found[0] = local.boundaries(equal_to_previous(x + i + local.begin_) << local.begin_);
        local.begin_ = 0;
        for (ptrdiff_t k = 1; k < 4; ++k)
            found[k] = local.boundaries(equal_to_previous(x + i + k * word_bits));
        if ((found[0] | found[1] | found[2] | found[3]) != 0)
            to = V::list_bits(found, i, to);
    }
    *near_end = count - i < static_cast<ptrdiff_t>(codec_slack) ? before : to;
    for (; i + word_bits <= count; i += word_bits) {
        const Word equal = equal_to_previous(x + i + local.begin_) << local.begin_;
        local.begin_ = 0;
        to = V::list_bits(local.boundaries(equal), i, to);
    }
    if (i < count) { // none of the bytes behind the last one is like it
        const Word equal = equal_to_previous(x + count - word_bits) >> (i + word_bits - count);
        to = V::list_bits(local.boundaries(equal & ~static_cast<Word>(local.begin_)), i, to);
    }
    *this = local;
    return to;
}

} // namespace zor::mox
