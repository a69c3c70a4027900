// packet_encoder.h - the run-length code, writing: the bytes of a plane in, packets out, of any
// length and without branches. It works from a list of the boundaries of runs, so that nothing
// depends on the data but how far the pointers move.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>

#include "drivers/mox/row_codec.h"
#include "drivers/mox/run_boundaries.h"

namespace zor::mox {

// Encodes one plane with a kind of vectors. The bytes are handed over in blocks, which bounds the
// memory and keeps it in the cache:
//
//     PacketEncoder<V> encoder(out);
//     for (...)
//         encoder.encode(block, count, last, block);
//     out = encoder.end();
template<class V>
class PacketEncoder {
public:
    static constexpr ptrdiff_t block_size = 2048;

    // What a block has to be a multiple of, unless it is the last one.
    static constexpr ptrdiff_t group = RunBoundaries<V>::group;

    // Bytes in front of a block that are needed: of the blocks before, as far as there are any.
    static constexpr ptrdiff_t front = 160;

    // Packets go to out; up to codec_slack bytes behind the last one are scratch.
    explicit PacketEncoder(uint8_t *out) : out_(out) {}

    // Encodes a block of 1 to block_size bytes. Up to codec_slack bytes behind it are read and have
    // no meaning. Where they cannot be read, tail is another block with that room, which has the
    // last tail_size bytes of this one at their place; otherwise it is the block itself. All
    // packets are out after the last block.
    void encode(const uint8_t *x, ptrdiff_t count, bool last, const uint8_t *tail);
    static constexpr ptrdiff_t tail_size = RunBoundaries<V>::tail_size;

    [[nodiscard]] uint8_t *end() const { return out_; }

private:
    static constexpr ptrdiff_t longest_packet = 128;
    static constexpr ptrdiff_t half_packet = longest_packet / 2;
    static constexpr ptrdiff_t shortest_run = RunBoundaries<V>::shortest_run;
    static_assert(half_packet == codec_slack, "a literal of one byte is written as half a packet");
    static_assert(front >= RunBoundaries<V>::front &&
                      front >= longest_packet + shortest_run - 1, // what may become a packet
                  "all that is read is there");

    // Smooth regions are runs that follow each other. Four of them are written at a time when none
    // needs a second packet.
    static constexpr ptrdiff_t batch = 4;

    // Past the end of the list, a place so far away that no batch reaches beyond the end.
    static constexpr int16_t far_away = INT16_MAX / 2;

    // Pairs are far apart where there are less than one in so many bytes.
    static constexpr ptrdiff_t sparse = 32;

    static void copy_half(const uint8_t *from, uint8_t *to);
    [[gnu::always_inline]] static inline uint8_t *put_literal(const uint8_t *x, ptrdiff_t control,
                                                              uint8_t *out);
    static uint8_t *put_whole_packets(uint8_t value, ptrdiff_t number, uint8_t *out);
    [[gnu::always_inline]] static inline uint8_t *put_run(uint8_t value, ptrdiff_t rest,
                                                          uint8_t *out);
    [[gnu::noinline]] static uint8_t *put_long_run(uint8_t value, ptrdiff_t rest, uint8_t *out) {
        return put_run(value, rest, out);
    }
    template<bool Sparse>
    [[gnu::always_inline]] static inline uint8_t *put_pair(const uint8_t *x,
                                                           const int16_t *boundary, uint8_t *out);
    static bool begins_batch(const int16_t *boundary);
    static void put_batch(const uint8_t *x, const int16_t *boundary, uint8_t *out);

    int16_t *put_packets(const uint8_t *x, int16_t *boundary, const int16_t *stop);
    int16_t *put_sparse_packets(const uint8_t *x, int16_t *boundary, const int16_t *stop);
    ptrdiff_t put_literals(const uint8_t *x, ptrdiff_t from, ptrdiff_t end, ptrdiff_t stop);
    void hold_back(const uint8_t *x, ptrdiff_t count);

    uint8_t *out_;
    ptrdiff_t pending_ = 0; // first byte without a packet, counted from the next block
    bool in_run_ = false;   // that byte begins a run, three bytes of which have been seen
    RunBoundaries<V> runs_;

    // The first byte without a packet; then, in turn, where runs are recognised and where they end,
    // which is no more than two places in three bytes.
    int16_t boundaries_[block_size];
};

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

// Whole packets of a run.
template<class V>
uint8_t *PacketEncoder<V>::put_whole_packets(uint8_t value, ptrdiff_t number, uint8_t *out) {
    const auto packets = V::splat_pair(longest_packet - 1, value);
    for (ptrdiff_t i = 0; i < 2 * number; i += V::size)
        V::store(packets, out + i);
    return out + 2 * number;
}

// As many packets as a run of one byte and the rest needs.
template<class V>
uint8_t *PacketEncoder<V>::put_run(uint8_t value, ptrdiff_t rest, uint8_t *out) {
    constexpr ptrdiff_t usual = 32; // bytes: no branch on how many packets are in them
    if (rest >= usual / 2 * longest_packet) [[unlikely]]
        put_whole_packets(value, rest / longest_packet, out);
    const auto packets = V::splat_pair(longest_packet - 1, value);
    for (ptrdiff_t i = 0; i < usual; i += V::size)
        V::store(packets, out + i);
    const auto more = static_cast<size_t>(rest);
    out += more / longest_packet * 2;
    out[0] = static_cast<uint8_t>(more % longest_packet);
    out[1] = value;
    return out + 2;
}

// A literal, which may be empty, and the run behind it.
template<class V>
template<bool Sparse>
uint8_t *PacketEncoder<V>::put_pair(const uint8_t *x, const int16_t *boundary, uint8_t *out) {
    const ptrdiff_t literal = boundary[0];
    const ptrdiff_t third = boundary[1];
    const ptrdiff_t end = boundary[2];
    const ptrdiff_t control = literal + (shortest_run - 1) - third; // minus the literal's length
    const ptrdiff_t rest = end - third + (shortest_run - 2);        // of the run without one byte
    out = put_literal(x + literal, control, out);
    const uint8_t value = x[end - 1];
    if constexpr (Sparse)
        return put_run(value, rest, out);
    if (rest >= longest_packet) [[unlikely]]
        return put_long_run(value, rest, out);
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

// Writes the runs whose end is known and the literals before them. Returns where it stopped.
template<class V>
int16_t *PacketEncoder<V>::put_packets(const uint8_t *x, int16_t *boundary, const int16_t *stop) {
    uint8_t *out = out_;
    stop -= 2; // a pair ends there at the latest
    while (boundary < stop) {
        if (begins_batch(boundary)) {
            put_batch(x, boundary, out);
            boundary += 2 * batch;
            out += 2 * batch;
            continue;
        }
        out = put_pair<false>(x, boundary, out);
        boundary += 2;
        if (boundary < stop) { // looking for batches costs too much to do it for every pair
            out = put_pair<false>(x, boundary, out);
            boundary += 2;
        }
    }
    out_ = out;
    return boundary;
}

template<class V>
int16_t *PacketEncoder<V>::put_sparse_packets(const uint8_t *x, int16_t *boundary,
                                              const int16_t *stop) {
    uint8_t *out = out_;
    for (; boundary < stop - 2; boundary += 2)
        out = put_pair<true>(x, boundary, out);
    out_ = out;
    return boundary;
}

// Between two blocks: writes what cannot become part of a longer packet.
template<class V>
void PacketEncoder<V>::hold_back(const uint8_t *x, ptrdiff_t count) {
    if (in_run_) {
        const ptrdiff_t whole = (count - pending_ - 1) / longest_packet;
        out_ = put_whole_packets(x[count - 1], whole, out_);
        pending_ += whole * longest_packet;
    } else {
        for (; count - pending_ - (shortest_run - 1) > longest_packet; pending_ += longest_packet)
            out_ = put_literal(x + pending_, -longest_packet, out_);
    }
    pending_ -= count;
}

// Writes the literals from a place to an end as far as they begin before a stop. Returns where the
// next one begins.
template<class V>
ptrdiff_t PacketEncoder<V>::put_literals(const uint8_t *x, ptrdiff_t from, ptrdiff_t end,
                                         ptrdiff_t stop) {
    if (from >= end || from >= stop)
        return from;
    const ptrdiff_t packets = (stop - from + longest_packet - 1) / longest_packet;
    const ptrdiff_t most = from + packets * longest_packet;
    const ptrdiff_t reached = end < most ? end : most;
    out_ = put_literal(x + from, from - reached, out_);
    return reached;
}

template<class V>
void PacketEncoder<V>::encode(const uint8_t *x, ptrdiff_t count, bool last, const uint8_t *tail) {
    int16_t *to = boundaries_;
    *to++ = static_cast<int16_t>(pending_);
    if (in_run_)
        *to++ = static_cast<int16_t>(pending_ + shortest_run - 1);
    int16_t *near_end;
    to = runs_.list(x, count, to, &near_end);
    if (last && runs_.in_run())
        *to++ = static_cast<int16_t>(count);
    for (ptrdiff_t i = 0; i < 2 * batch; ++i)
        to[i] = far_away;

    // Far apart, a branch on the length of a run misses more often than it saves.
    const auto put = (to - boundaries_) * (sparse / 2) < count ? &PacketEncoder::put_sparse_packets
                                                               : &PacketEncoder::put_packets;
    int16_t *boundary = boundaries_;
    if (tail != x) { // as far as nothing behind the block is read
        boundary = (this->*put)(x, boundary, near_end);
        const ptrdiff_t literal_end = to - boundary == 1 ? count : boundary[1] - (shortest_run - 1);
        *boundary =
            static_cast<int16_t>(put_literals(x, *boundary, literal_end, count - longest_packet));
    }
    boundary = (this->*put)(tail, boundary, to);

    pending_ = *boundary;
    in_run_ = !last && to - boundary == 2;
    if (last)
        put_literals(tail, pending_, count, count);
    else if (in_run_)
        pending_ = put_literals(x, pending_, boundary[1] - (shortest_run - 1), count);
    if (!last)
        hold_back(x, count);
}

} // namespace zor::mox
