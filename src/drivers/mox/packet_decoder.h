// packet_decoder.h - the run-length code, reading: packets in, the bytes of a plane out, without
// asking what each packet is.
//
// The kinds and lengths of packets are close to random in photographs, so a branch on either is
// mispredicted all the time and costs more than the packet. But a literal is nearly always followed
// by a run. So packets are taken in pairs of a literal, which may be missing, and a run. As many
// bytes are moved for both as hardly any of them exceeds, and what is too much is overwritten by
// the next pair.
//
// The next pair can be found only after the control byte of this one has been loaded, so most of
// the time goes by waiting. Hence several readers take turns.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "drivers/mox/row_codec.h"

namespace zor::mox {

constexpr ptrdiff_t longest_packet = 128; // bytes of a plane that one packet stands for

// Packets that may be decoded at once, in bytes of the plane, where so many are asked for.
constexpr ptrdiff_t packet_batch = 4 * longest_packet;

// Where decoding stands in a record and where the bytes go.
struct PacketReader {
    const uint8_t *in;
    const uint8_t *last; // byte of the record
    uint8_t *to;
    uint8_t *stop; // of the plane, or of the room there is
};

// The decoder for a kind of vectors. Reads and writes up to codec_slack bytes past either end.
template<class V>
class PacketDecoder {
public:
    // Whether the next packet is a literal of the longest kind, all of it there.
    static bool starts_with_full_literal(const PacketReader &reader) {
        return reader.last - reader.in >= longest_packet && *reader.in == 0x80;
    }

    // Decodes packets until enough is reached; may go on from there, up to the stop. False when the
    // record ends too early or a packet exceeds the stop.
    static bool decode(PacketReader &reader, const uint8_t *enough) {
        PacketReader local = reader; // the compiler keeps it in registers
        while (local.to < enough)
            if (!decode_pair(local) && !decode_packet(local))
                return false;
        reader = local;
        return true;
    }

    // Decodes up to the stops of count readers, at most most_rows. They take turns, which is faster
    // than one after the other while their packets are short.
    static bool decode_side_by_side(PacketReader *readers, int count) {
        if (count == 3)
            decode_in_turn(readers, std::make_index_sequence<3>());
        else if (count == 2)
            decode_in_turn(readers, std::make_index_sequence<2>());
        for (int i = 0; i < count; ++i)
            if (!decode(readers[i], readers[i].stop))
                return false;
        return true;
    }

private:
    using Vec = typename V::Vec;

    static constexpr ptrdiff_t half_packet = longest_packet / 2;
    static_assert(half_packet == codec_slack, "a packet of one byte is moved as half a packet");

    static void copy_half(const uint8_t *from, uint8_t *to) {
        for (ptrdiff_t i = 0; i < half_packet; i += V::size)
            V::store(V::load(from + i), to + i);
    }

    static void fill_half(Vec value, uint8_t *to) {
        for (ptrdiff_t i = 0; i < half_packet; i += V::size)
            V::store(value, to + i);
    }

    // For count bytes, but by halves of a packet.
    static void copy_literal(const uint8_t *from, ptrdiff_t count, uint8_t *to) {
        copy_half(from, to);
        if (count > half_packet)
            copy_half(from + half_packet, to + half_packet);
    }

    static void fill_run(Vec value, ptrdiff_t count, uint8_t *to) {
        fill_half(value, to);
        if (count > half_packet)
            fill_half(value, to + half_packet);
    }

    // A number, not a character. NOLINTNEXTLINE(bugprone-signed-char-misuse)
    static ptrdiff_t control_at(const uint8_t *in) { return static_cast<int8_t>(*in); }

    // In flat regions runs follow each other; four at a time need not wait for one another.
    static constexpr ptrdiff_t batch = packet_batch / longest_packet;

    static bool starts_with_runs(const uint8_t *in) {
        uint64_t packets;
        std::memcpy(&packets, in, sizeof packets);
        return (packets & 0x0080008000800080) == 0;
    }

    static void decode_runs(PacketReader &reader) {
        for (ptrdiff_t i = 0; i < batch; ++i) {
            const ptrdiff_t count = control_at(reader.in) + 1;
            fill_run(V::splat8(reader.in[1]), count, reader.to);
            reader.in += 2;
            reader.to += count;
        }
    }

    // In noise full literals do.
    static void decode_full_literals(PacketReader &reader) {
        while (starts_with_full_literal(reader) && reader.stop - reader.to >= longest_packet) {
            copy_literal(reader.in + 1, longest_packet, reader.to);
            reader.in += 1 + longest_packet;
            reader.to += longest_packet;
        }
    }

    // Decodes a pair, or some more that go together. False, and nothing happens, when what comes
    // next is unusual: close to an end, or wrong. Nothing at all may be left: the first bytes are
    // in the slack.
    [[gnu::always_inline]] static inline bool decode_pair(PacketReader &reader) {
        const uint8_t *const in = reader.in;
        uint8_t *const to = reader.to;
        if (starts_with_runs(in) && reader.stop - to >= packet_batch &&
            reader.last - in > 2 * (batch - 1)) {
            decode_runs(reader);
            return true;
        }
        const ptrdiff_t control = control_at(in);
        // All ones for a literal; zero for a run, which is a pair whose literal is missing.
        const ptrdiff_t mask = control >> (sizeof control * CHAR_BIT - 1);
        const ptrdiff_t literal = -control & mask; // a condition would become a branch
        const uint8_t *const next = in + literal - mask;
        if (next >= reader.last) // may lie far outside; so may the ends below
            return false;
        uint8_t *const run = to + literal;
        const ptrdiff_t rest = *next; // bytes of the run after its first one
        uint8_t *const end = run + rest + 1;
        if (rest >= longest_packet) { // two literals, so the first one is of full length
            if (run > reader.stop)
                return false;
            copy_literal(in + 1, literal, to);
            reader.in = next;
            reader.to = run;
            decode_full_literals(reader);
            return true;
        }
        if (end > reader.stop)
            return false;
        copy_literal(in + 1, literal, to);
        const Vec value = V::splat8(next[1]);
        V::store(value, run);
        if (rest >= V::size)
            fill_run(value, rest + 1, run);
        reader.in = next + 2;
        reader.to = end;
        return true;
    }

    // Decodes a single packet. False when it is not all there, or too long.
    static bool decode_packet(PacketReader &reader) {
        const ptrdiff_t control = control_at(reader.in);
        const ptrdiff_t count = control < 0 ? -control : control + 1;
        const ptrdiff_t size = control < 0 ? count : 1;
        if (count > reader.stop - reader.to || size > reader.last - reader.in)
            return false;
        if (control < 0)
            copy_literal(reader.in + 1, count, reader.to);
        else
            fill_run(V::splat8(reader.in[1]), count, reader.to);
        reader.in += 1 + size;
        reader.to += count;
        return true;
    }

    // Decodes a pair of each reader in turn until one of them needs more care.
    template<size_t... I>
    static void decode_in_turn(PacketReader *readers, std::index_sequence<I...>) {
        PacketReader local[] = {readers[I]...}; // the compiler keeps them in registers
        while ((decode_pair(local[I]) && ...)) {
        }
        ((readers[I] = local[I]), ...);
    }
};

} // namespace zor::mox
