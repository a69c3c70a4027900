// packet_decoder.h - the run-length code, reading: packets in, the bytes of a plane out.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zor::mox {

constexpr ptrdiff_t longest_packet = 128; // bytes of a plane that one packet stands for

// Packets that may be decoded at once, in bytes of the plane, where so many are asked for.
constexpr ptrdiff_t packet_batch = 4 * longest_packet;

// Where decoding stands in a record and where the bytes go. May read and write codec_slack bytes
// past either end.
struct PacketReader {
    const uint8_t *in;
    const uint8_t *last; // byte of the record
    uint8_t *to;
    uint8_t *stop; // of the plane, or of the room there is
};

// Whether the next packet is a literal of the longest kind, all of it there.
inline bool starts_with_full_literal(const PacketReader &reader) {
    return reader.last - reader.in >= longest_packet && *reader.in == 0x80;
}

// Decodes packets until enough is reached; may go on from there, up to the stop. False when the
// record ends too early or a packet exceeds the stop.
bool decode_packets(PacketReader &reader, const uint8_t *enough);

// Decodes up to the stops of count readers, at most most_rows. They take turns, which is faster
// than one after the other while their packets are short.
bool decode_side_by_side(PacketReader *readers, int count);

} // namespace zor::mox
