// packet_encoder.cpp - finds runs with bit masks and writes packets of any length without branches.
//
// Comparing each byte with the one before gives a bit for every byte; a few shifts and logical
// operations turn a word of them into one in which only the boundaries of runs are set. Their
// places go into a list, and only then packets are written: with a list to work from, nothing
// depends on the data but how far the pointers move.
#include "drivers/mox/packet_encoder.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "drivers/mox/row_codec.h"
#include "drivers/mox/vec16.h"

namespace zor::mox {
namespace {

constexpr ptrdiff_t longest_packet = 128;
constexpr ptrdiff_t half_packet = longest_packet / 2;
constexpr ptrdiff_t shortest_run = 3;
static_assert(half_packet == codec_slack, "a literal of one byte is written as half a packet");

// As many comparisons as fit a register are handled together.
using Word = size_t;
constexpr int word_bits = sizeof(Word) * CHAR_BIT;

// Bit i tells whether x[i] equals x[i - 1].
Word equal_to_previous(const uint8_t *x) {
    Word bits = 0;
    for (int i = 0; i < word_bits; i += 16)
        bits |= Word{equal_bytes(load(x + i), load(x + i - 1))} << i;
    return bits;
}

// The places of the bits that are set in a byte, in rising order, and their number.
struct BitPlaces {
    alignas(16) int16_t places[256][8];
    uint8_t count[256];
};

constexpr BitPlaces find_bit_places() {
    BitPlaces table{};
    for (int byte = 0; byte < 256; ++byte)
        for (int i = 0; i < 8; ++i)
            if ((byte >> i & 1) != 0)
                table.places[byte][table.count[byte]++] = static_cast<int16_t>(i);
    return table;
}

constexpr BitPlaces bit_places = find_bit_places();

// Lists the places of all bits that are set, counted from first; writes up to 8 elements too many.
int16_t *list_bits(Word bits, ptrdiff_t first, int16_t *to) {
    Vec16 base = splat16(static_cast<int16_t>(first));
    for (int i = 0; i < word_bits; i += 8) {
        const size_t byte = bits >> i & 0xFF;
        store(add16(load(bit_places.places[byte]), base), to);
        to += bit_places.count[byte];
        base = add16(base, splat16(8));
    }
    return to;
}

void copy_half(const uint8_t *from, uint8_t *to) {
    for (ptrdiff_t i = 0; i < half_packet; i += 16)
        store(load(from + i), to + i);
}

uint8_t *put_long_literal(const uint8_t *x, ptrdiff_t count, uint8_t *out) {
    while (count > 0) {
        const ptrdiff_t length = std::min(count, longest_packet);
        *out = static_cast<uint8_t>(-length);
        copy_half(x, out + 1);
        if (length > half_packet)
            copy_half(x + half_packet, out + 1 + half_packet);
        out += 1 + length;
        x += length;
        count -= length;
    }
    return out;
}

// Also writes an empty literal, but does not move past it: what comes next takes its place.
uint8_t *put_literal(const uint8_t *x, ptrdiff_t count, uint8_t *out) {
    if (count > half_packet) [[unlikely]]
        return put_long_literal(x, count, out);
    *out = static_cast<uint8_t>(-count);
    copy_half(x, out + 1);
    return out + count + (count != 0 ? 1 : 0);
}

uint8_t *put_run(uint8_t value, ptrdiff_t count, uint8_t *out) {
    for (; count > longest_packet; count -= longest_packet, out += 2) {
        out[0] = longest_packet - 1;
        out[1] = value;
    }
    out[0] = static_cast<uint8_t>(count - 1);
    out[1] = value;
    return out + 2;
}

// Smooth regions are runs that follow each other. Four of them are written at a time when none
// needs a second packet.
constexpr ptrdiff_t batch = 4;

// Past the end of the list, a place so far away that no batch reaches beyond the end.
constexpr int16_t far_away = INT16_MAX / 2;

bool begins_batch(const int16_t *boundary) {
    // From the end of a run to where the next is recognised, and from there to its own end.
    constexpr int16_t to_run = shortest_run - 1;
    constexpr int16_t to_end = longest_packet - to_run;
    alignas(16) static constexpr int16_t limits[2 * batch] = {to_run, to_end, to_run, to_end,
                                                              to_run, to_end, to_run, to_end};
    return !any_greater16(subtract16(load(boundary + 1), load(boundary)), load(limits));
}

void put_batch(const uint8_t *x, const int16_t *boundary, uint8_t *out) {
    for (ptrdiff_t i = 0; i < 2 * batch; i += 2) {
        const ptrdiff_t end = boundary[i + 2];
        out[i] = static_cast<uint8_t>(end - boundary[i] - 1);
        out[i + 1] = x[end - 1];
    }
}

} // namespace

// Lists the boundaries in the first count bytes of the block: the third byte of every run and the
// byte after its last. Returns the end of the list.
const int16_t *PacketEncoder::find_boundaries(ptrdiff_t count) {
    const uint8_t *const x = block();
    int16_t *to = boundaries_;
    *to++ = static_cast<int16_t>(pending_);
    if (in_run_)
        *to++ = static_cast<int16_t>(pending_ + shortest_run - 1);
    Word before = equal_before_;
    for (ptrdiff_t i = 0; i < count; i += word_bits) {
        const Word equal = equal_to_previous(x + i);
        const Word equal1 = equal << 1 | before >> 1; // the same one byte earlier
        const Word equal2 = equal << 2 | before;      // and two
        before = equal >> (word_bits - 2);
        const Word boundaries = equal1 & (equal ^ equal2);
        if (boundaries != 0)
            to = list_bits(boundaries, held_ + i, to);
    }
    equal_before_ = before;
    store(splat16(far_away), to);
    return to;
}

// Writes the runs whose end is known and the literals before them. Returns where it stopped.
const int16_t *PacketEncoder::put_packets(const int16_t *boundary, const int16_t *stop) {
    const uint8_t *const x = bytes();
    uint8_t *out = out_;
    while (stop - boundary > 2) {
        if (begins_batch(boundary)) {
            put_batch(x, boundary, out);
            boundary += 2 * batch;
            out += 2 * batch;
            continue;
        }
        const ptrdiff_t literal = boundary[0];
        const ptrdiff_t run = boundary[1] - (shortest_run - 1);
        const ptrdiff_t end = boundary[2];
        out = put_literal(x + literal, run - literal, out);
        out = put_run(x[end - 1], end - run, out);
        boundary += 2;
    }
    out_ = out;
    return boundary;
}

// Between two blocks: what may still become part of a longer packet goes to the front.
void PacketEncoder::hold_back(ptrdiff_t end) {
    uint8_t *const x = bytes();
    ptrdiff_t keep = 1; // of a run one byte is enough
    if (in_run_) {
        while (end - pending_ > longest_packet) {
            out_ = put_run(x[end - 1], longest_packet, out_);
            pending_ += longest_packet;
        }
    } else {
        while (end - pending_ - (shortest_run - 1) > longest_packet) {
            out_ = put_literal(x + pending_, longest_packet, out_);
            pending_ += longest_packet;
        }
        keep = end - pending_;
    }
    std::memmove(x, x + end - keep, static_cast<size_t>(keep));
    pending_ -= end - keep;
    held_ = keep;
}

void PacketEncoder::encode(ptrdiff_t count, bool last) {
    uint8_t *const x = bytes();
    if (held_ == 0)
        x[-1] = static_cast<uint8_t>(~x[0]); // the first byte continues nothing
    const ptrdiff_t end = held_ + count;
    if (last) // a different byte after the last one ends a run there
        std::memset(x + end, static_cast<uint8_t>(~x[end - 1]), padding);

    const int16_t *const stop = find_boundaries(count + (last ? 1 : 0));
    const int16_t *const boundary = put_packets(boundaries_, stop);

    pending_ = boundary[0];
    in_run_ = !last && stop - boundary == 2;
    const ptrdiff_t literal_end = in_run_ ? boundary[1] - (shortest_run - 1)
                                  : last  ? end
                                          : pending_;
    if (literal_end > pending_)
        out_ = put_literal(x + pending_, literal_end - pending_, out_);
    pending_ = literal_end;
    if (!last)
        hold_back(end);
}

} // namespace zor::mox
