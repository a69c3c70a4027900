// packet_encoder.h - the run-length code, writing: the bytes of a plane in, packets out.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zor::mox {

// Encodes one plane. The bytes are handed over in blocks, which bounds the memory and keeps it in
// the cache:
//
//     PacketEncoder encoder(out);
//     for (...) {
//         ...put the next block at encoder.block()...
//         encoder.encode(count, last);
//     }
//     out = encoder.end();
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
    static constexpr ptrdiff_t margin = 128;    // a run held back may begin in front of the bytes
    static constexpr ptrdiff_t most_held = 130; // a packet, and two bytes that may begin a run
    static constexpr ptrdiff_t padding = 64;    // whole words and vectors are read

    uint8_t *bytes() { return buffer_ + margin; }
    const int16_t *find_boundaries(ptrdiff_t count);
    const int16_t *put_packets(const int16_t *boundary, const int16_t *stop);
    void hold_back(ptrdiff_t end);

    uint8_t *out_;
    ptrdiff_t held_ = 0;      // bytes of earlier blocks in front of the block
    ptrdiff_t pending_ = 0;   // first byte without a packet; of a run it may lie before those held
    bool in_run_ = false;     // that byte begins a run, three bytes of which have been seen
    size_t equal_before_ = 0; // the last two bits of the comparison with the previous byte

    // The first byte without a packet; then, in turn, where runs are recognised and where they end,
    // which is no more than two places in three bytes.
    int16_t boundaries_[block_size];
    alignas(16) uint8_t buffer_[margin + most_held + block_size + padding];
};

} // namespace zor::mox
