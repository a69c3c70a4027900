// packet_encoder.h - the run-length code, writing: the bytes of a plane in, packets out. Finds runs
// with bit masks and writes packets of any length without branches.
//
// Comparing each byte with the one before gives a bit for every byte; a few shifts and logical
// operations turn a word of them into one in which only the boundaries of runs are set. Their
// places go into a list, and only then packets are written: with a list to work from, nothing
// depends on the data but how far the pointers move.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "drivers/mox/bit_places.h"
#include "drivers/mox/row_codec.h"

namespace zor::mox {

// Encodes one plane with a kind of vectors. The bytes are handed over in blocks, which bounds the
// memory and keeps it in the cache:
//
//     PacketEncoder<V> encoder(out);
//     for (...) {
//         ...put the next block at encoder.block()...
//         encoder.encode(count, last);
//     }
//     out = encoder.end();
template<class V>
class PacketEncoder {
public:
    static constexpr ptrdiff_t block_size = 2048;

    // Packets go to out; up to codec_slack bytes behind the last one are scratch.
    explicit PacketEncoder(uint8_t *out) : out_(out) {}

    [[nodiscard]] uint8_t *block() { return bytes() + held_; }

    // Encodes the block of count bytes: block_size, or any number from 1 to that in the last block.
    // All packets are out after the last block.
    void encode(ptrdiff_t count, bool last);

    [[nodiscard]] uint8_t *end() const { return out_; }

private:
    static constexpr ptrdiff_t longest_packet = 128;
    static constexpr ptrdiff_t half_packet = longest_packet / 2;
    static constexpr ptrdiff_t shortest_run = 3;
    static_assert(half_packet == codec_slack, "a literal of one byte is written as half a packet");

    static constexpr ptrdiff_t margin = 128;    // a run held back may begin in front of the bytes
    static constexpr ptrdiff_t most_held = 130; // a packet, and two bytes that may begin a run
    static constexpr ptrdiff_t padding = 64;    // whole words and vectors are read

    // As many comparisons as fit a register are handled together.
    using Word = size_t;

    // Smooth regions are runs that follow each other. Four of them are written at a time when none
    // needs a second packet.
    static constexpr ptrdiff_t batch = 4;

    // Past the end of the list, a place so far away that no batch reaches beyond the end.
    static constexpr int16_t far_away = INT16_MAX / 2;

    static Word equal_to_previous(const uint8_t *x);
    static void copy_half(const uint8_t *from, uint8_t *to);
    [[gnu::always_inline]] static inline uint8_t *put_literal(const uint8_t *x, ptrdiff_t control,
                                                              uint8_t *out);
    [[gnu::noinline]] static uint8_t *put_runs(uint8_t value, ptrdiff_t count, uint8_t *out);
    [[gnu::always_inline]] static inline uint8_t *put_pair(const uint8_t *x,
                                                           const int16_t *boundary, uint8_t *out);
    static bool begins_batch(const int16_t *boundary);
    static void put_batch(const uint8_t *x, const int16_t *boundary, uint8_t *out);

    uint8_t *bytes() { return buffer_ + margin; }
    const int16_t *find_boundaries(ptrdiff_t count, bool last);
    const int16_t *put_packets(const int16_t *boundary, const int16_t *stop);
    void hold_back(ptrdiff_t end);

    uint8_t *out_;
    ptrdiff_t held_ = 0;      // bytes of earlier blocks in front of the block
    ptrdiff_t pending_ = 0;   // first byte without a packet; of a run it may lie before those held
    bool in_run_ = false;     // that byte begins a run, three bytes of which have been seen
    Word equal_before_ = 0;   // what the word of bytes before compared like with those in front
    Word in_runs_before_ = 0; // and which of them were found to belong to runs

    // The first byte without a packet; then, in turn, where runs are recognised and where they end,
    // which is no more than two places in three bytes.
    int16_t boundaries_[block_size];
    alignas(16) uint8_t buffer_[margin + most_held + block_size + padding];
};

// Bit i tells whether x[i] equals x[i - 1].
template<class V>
typename PacketEncoder<V>::Word PacketEncoder<V>::equal_to_previous(const uint8_t *x) {
    Word bits = 0;
    for (int i = 0; i < word_bits; i += V::size)
        bits |= Word{V::equal_bytes(x + i, x + i - 1)} << i;
    return bits;
}

template<class V>
void PacketEncoder<V>::copy_half(const uint8_t *from, uint8_t *to) {
    for (ptrdiff_t i = 0; i < half_packet; i += V::size)
        V::store(V::load(from + i), to + i);
}

// Literals for -control bytes. Also writes an empty one, but does not move past it: what comes next
// takes its place.
template<class V>
uint8_t *PacketEncoder<V>::put_literal(const uint8_t *x, ptrdiff_t control, uint8_t *out) {
    if (control < -half_packet) [[unlikely]] {
        for (; control < -longest_packet; control += longest_packet, x += longest_packet) {
            *out = static_cast<uint8_t>(-longest_packet);
            copy_half(x, out + 1);
            copy_half(x + half_packet, out + 1 + half_packet);
            out += 1 + longest_packet;
        }
        if (control < -half_packet)
            copy_half(x + half_packet, out + 1 + half_packet);
    }
    *out = static_cast<uint8_t>(control);
    copy_half(x, out + 1);
    // Past it and, but for an empty one, past its control byte.
    return out - control - (control >> (sizeof control * CHAR_BIT - 1));
}

// As many packets as a run needs.
template<class V>
uint8_t *PacketEncoder<V>::put_runs(uint8_t value, ptrdiff_t count, uint8_t *out) {
    for (; count > 0; count -= longest_packet, out += 2) {
        out[0] = static_cast<uint8_t>((count < longest_packet ? count : longest_packet) - 1);
        out[1] = value;
    }
    return out;
}

// A literal, which may be empty, and the run behind it.
template<class V>
uint8_t *PacketEncoder<V>::put_pair(const uint8_t *x, const int16_t *boundary, uint8_t *out) {
    const ptrdiff_t literal = boundary[0];
    const ptrdiff_t third = boundary[1];
    const ptrdiff_t end = boundary[2];
    const ptrdiff_t control = literal + (shortest_run - 1) - third; // minus the literal's length
    const ptrdiff_t rest = end - third + (shortest_run - 2);        // of the run without one byte
    out = put_literal(x + literal, control, out);
    const uint8_t value = x[end - 1];
    if (rest >= longest_packet) [[unlikely]]
        return put_runs(value, rest + 1, out);
    out[0] = static_cast<uint8_t>(rest);
    out[1] = value;
    return out + 2;
}

template<class V>
bool PacketEncoder<V>::begins_batch(const int16_t *boundary) {
    // From the end of a run to where the next is recognised, and from there to its own end.
    constexpr int16_t to_run = shortest_run - 1;
    constexpr int16_t to_end = longest_packet - to_run;
    alignas(16) static constexpr int16_t limits[2 * batch] = {to_run, to_end, to_run, to_end,
                                                              to_run, to_end, to_run, to_end};
    return !V::any_step_above(boundary + 1, limits);
}

template<class V>
void PacketEncoder<V>::put_batch(const uint8_t *x, const int16_t *boundary, uint8_t *out) {
    for (ptrdiff_t i = 0; i < 2 * batch; i += 2) {
        const ptrdiff_t end = boundary[i + 2];
        out[i] = static_cast<uint8_t>(end - boundary[i] - 1);
        out[i + 1] = x[end - 1];
    }
}

// Lists the boundaries in the block of count bytes: the third byte of every run and the byte after
// its last. Returns the end of the list.
template<class V>
const int16_t *PacketEncoder<V>::find_boundaries(ptrdiff_t count, bool last) {
    const uint8_t *const x = block();
    int16_t *to = boundaries_;
    *to++ = static_cast<int16_t>(pending_);
    if (in_run_)
        *to++ = static_cast<int16_t>(pending_ + shortest_run - 1);
    Word equal_before = equal_before_;
    Word in_runs_before = in_runs_before_;
    // With each bit in the place of the next one.
    const auto shifted = [](Word bits, Word before) {
        return bits << 1 | before >> (word_bits - 1);
    };
    for (const uint8_t *at = x; at < x + count; at += word_bits) {
        const Word equal = equal_to_previous(at);
        const Word in_runs = equal & shifted(equal, equal_before); // from their third byte on
        const Word boundaries = in_runs ^ shifted(in_runs, in_runs_before);
        equal_before = equal;
        in_runs_before = in_runs;
        if (boundaries != 0)
            to = V::list_bits(boundaries, at - bytes(), to);
    }
    equal_before_ = equal_before;
    in_runs_before_ = in_runs_before;
    if (last && in_runs_before >> (word_bits - 1) != 0)
        *to++ = static_cast<int16_t>(held_ + count);
    for (ptrdiff_t i = 0; i < 2 * batch; ++i)
        to[i] = far_away;
    return to;
}

// Writes the runs whose end is known and the literals before them. Returns where it stopped.
template<class V>
const int16_t *PacketEncoder<V>::put_packets(const int16_t *boundary, const int16_t *stop) {
    const uint8_t *const x = bytes();
    uint8_t *out = out_;
    stop -= 2; // a pair ends there at the latest
    while (boundary < stop) {
        if (begins_batch(boundary)) {
            put_batch(x, boundary, out);
            boundary += 2 * batch;
            out += 2 * batch;
            continue;
        }
        out = put_pair(x, boundary, out);
        boundary += 2;
        if (boundary < stop) { // looking for batches costs too much to do it for every pair
            out = put_pair(x, boundary, out);
            boundary += 2;
        }
    }
    out_ = out;
    return boundary;
}

// Between two blocks: what may still become part of a longer packet goes to the front.
template<class V>
void PacketEncoder<V>::hold_back(ptrdiff_t end) {
    uint8_t *const x = bytes();
    ptrdiff_t keep = 1; // of a run one byte is enough
    if (in_run_) {
        while (end - pending_ > longest_packet) {
            out_ = put_runs(x[end - 1], longest_packet, out_);
            pending_ += longest_packet;
        }
    } else {
        while (end - pending_ - (shortest_run - 1) > longest_packet) {
            out_ = put_literal(x + pending_, -longest_packet, out_);
            pending_ += longest_packet;
        }
        keep = end - pending_;
    }
    std::memmove(x, x + end - keep, static_cast<size_t>(keep));
    pending_ -= end - keep;
    held_ = keep;
}

template<class V>
void PacketEncoder<V>::encode(ptrdiff_t count, bool last) {
    uint8_t *const x = bytes();
    if (held_ == 0)
        x[-1] = static_cast<uint8_t>(~x[0]); // the first byte continues nothing
    const ptrdiff_t end = held_ + count;
    if (last) { // no byte is like the one before it there
        const uint64_t unlike = x[end - 1] * 0x0101010101010101U ^ 0x00FF00FF00FF00FFU;
        for (ptrdiff_t i = 0; i < padding; i += 8)
            std::memcpy(x + end + i, &unlike, sizeof unlike);
    }

    const int16_t *const stop = find_boundaries(count, last);
    const int16_t *const boundary = put_packets(boundaries_, stop);

    pending_ = boundary[0];
    in_run_ = !last && stop - boundary == 2;
    const ptrdiff_t literal_end = in_run_ ? boundary[1] - (shortest_run - 1)
                                  : last  ? end
                                          : pending_;
    if (literal_end > pending_)
        out_ = put_literal(x + pending_, pending_ - literal_end, out_);
    pending_ = literal_end;
    if (!last)
        hold_back(end);
}

} // namespace zor::mox
