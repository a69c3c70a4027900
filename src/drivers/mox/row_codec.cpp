// row_codec.cpp - the codings of the channel types, made of byte planes and packets.
#include "drivers/mox/row_codec.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "drivers/mox/byte_planes.h"
#include "drivers/mox/packet_decoder.h"
#include "drivers/mox/packet_encoder.h"
#include "zor/records.h"

namespace zor::mox {
namespace {

template<ptrdiff_t Size, ptrdiff_t Byte>
uint8_t *encode_plane(const uint8_t *samples, ptrdiff_t count, uint8_t *out) {
    PacketEncoder encoder(out);
    while (count > 0) {
        const ptrdiff_t n = std::min(count, PacketEncoder::block_size);
        take_plane<Size, Byte>(samples, n, encoder.block());
        encoder.encode(n, n == count);
        samples += n * Size;
        count -= n;
    }
    return encoder.end();
}

// The planes of a sample, the most significant one first.
template<ptrdiff_t Size>
using Planes = std::make_integer_sequence<ptrdiff_t, Size>;

template<ptrdiff_t Size, ptrdiff_t... I>
uint8_t *encode_planes(const uint8_t *samples, ptrdiff_t count, uint8_t *out,
                       std::integer_sequence<ptrdiff_t, I...>) {
    ((out = encode_plane<Size, Size - 1 - I>(samples, count, out)), ...);
    return out;
}

template<ptrdiff_t Size>
size_t encode_integers(const void *samples, int32_t count, uint8_t *out) {
    const auto *const bytes = static_cast<const uint8_t *>(samples);
    return static_cast<size_t>(encode_planes<Size>(bytes, count, out, Planes<Size>()) - out);
}

// For a plane of count bytes at the start of a record. One without data is as bad as one with a
// single byte, which makes no packet.
PacketReader reader_of(const EncodedRow &row, uint8_t *to, ptrdiff_t count) {
    return {row.data, row.data + std::max<size_t>(row.size, 1) - 1, to, to + count};
}

// Decodes the first plane of each record to its row, offset bytes from the start.
bool decode_first_planes(const EncodedRow *rows, int num_rows, int32_t count, ptrdiff_t offset,
                         PacketReader *readers) {
    for (int i = 0; i < num_rows; ++i)
        readers[i] = reader_of(rows[i], static_cast<uint8_t *>(rows[i].samples) + offset, count);
    return decode_side_by_side(readers, num_rows);
}

bool decode_bytes(const EncodedRow *rows, int num_rows, int32_t count) {
    PacketReader readers[most_rows];
    return decode_first_planes(rows, num_rows, count, 0, readers);
}

// Some bytes of a plane on their way into samples. Packets pay no heed to its size.
constexpr ptrdiff_t part_size = 1024;
struct Part {
    uint8_t bytes[part_size + packet_batch + codec_slack];
};

// Decodes the next part of a plane of which left bytes are to come. Returns its size, 0 on failure.
ptrdiff_t decode_part(PacketReader &reader, ptrdiff_t left, Part &part) {
    reader.to = part.bytes;
    reader.stop = part.bytes + std::min(left, part_size + packet_batch);
    if (!decode_packets(reader, part.bytes + std::min(left, part_size)))
        return 0;
    return reader.to - part.bytes;
}

// Decodes the low bytes of samples whose high bytes are in the second half of the row. Those of
// full literals, which noise is made of, come straight from the record.
bool decode_low_plane(PacketReader &reader, ptrdiff_t count, uint8_t *samples) {
    const uint8_t *const high = samples + count;
    Part part;
    for (ptrdiff_t i = 0; i < count;) {
        ptrdiff_t n = longest_packet;
        if (count - i >= n && starts_with_full_literal(reader)) {
            join_planes(high + i, reader.in + 1, n, samples + 2 * i);
            reader.in += 1 + n;
        } else {
            n = decode_part(reader, count - i, part);
            if (n == 0)
                return false;
            join_planes(high + i, part.bytes, n, samples + 2 * i);
        }
        i += n;
    }
    return true;
}

bool decode_words(const EncodedRow *rows, int num_rows, int32_t count) {
    // Noise has long packets, which need no company, and much data, which is best read in order.
    const auto is_noise = [count](const EncodedRow &row) {
        return row.size > 2 * static_cast<size_t>(count);
    };
    const int together = std::any_of(rows, rows + num_rows, is_noise) ? 1 : num_rows;
    PacketReader readers[most_rows];
    for (const EncodedRow *row = rows; row < rows + num_rows; row += together) {
        if (!decode_first_planes(row, together, count, count, readers))
            return false;
        for (int i = 0; i < together; ++i)
            if (!decode_low_plane(readers[i], count, static_cast<uint8_t *>(row[i].samples)))
                return false;
    }
    return true;
}

template<ptrdiff_t Byte>
bool decode_plane(PacketReader &reader, ptrdiff_t count, uint8_t *samples) {
    Part part;
    while (count > 0) {
        const ptrdiff_t n = decode_part(reader, count, part);
        if (n == 0)
            return false;
        put_plane<Byte>(part.bytes, n, samples);
        samples += 4 * n;
        count -= n;
    }
    return true;
}

bool decode_long_words(const EncodedRow *rows, int num_rows, int32_t count) {
    for (const EncodedRow *row = rows; row < rows + num_rows; ++row) {
        auto *const samples = static_cast<uint8_t *>(row->samples);
        PacketReader reader = reader_of(*row, nullptr, 0);
        if (!decode_plane<3>(reader, count, samples) || !decode_plane<2>(reader, count, samples) ||
            !decode_plane<1>(reader, count, samples) || !decode_plane<0>(reader, count, samples))
            return false;
    }
    return true;
}

// Literals of 128 add one byte to each; a run saves at least the control byte of the literal it
// cuts off. The bound, one in 127 and one more, is a little above what the encoder needs.
template<ptrdiff_t Size>
size_t max_encoded_integers(int32_t count) {
    const auto plane = static_cast<size_t>(count);
    return Size * (plane + plane / 127 + 1);
}

template<ptrdiff_t Size>
size_t size_of_floats(int32_t count) {
    return Size * static_cast<size_t>(count);
}

template<ptrdiff_t Size>
size_t encode_floats(const void *samples, int32_t count, uint8_t *out) {
    const size_t size = size_of_floats<Size>(count);
    std::memcpy(out, samples, size);
    return size;
}

template<ptrdiff_t Size>
bool decode_floats(const EncodedRow *rows, int num_rows, int32_t count) {
    const size_t wanted = size_of_floats<Size>(count);
    for (const EncodedRow *row = rows; row < rows + num_rows; ++row) {
        if (row->size < wanted)
            return false;
        std::memcpy(row->samples, row->data, wanted);
    }
    return true;
}

template<ptrdiff_t Size>
constexpr RowCodec integers = {Size, encode_integers<Size>,
                               Size == 1   ? decode_bytes
                               : Size == 2 ? decode_words
                                           : decode_long_words,
                               max_encoded_integers<Size>};
template<ptrdiff_t Size>
constexpr RowCodec floats = {Size, encode_floats<Size>, decode_floats<Size>, size_of_floats<Size>};

} // namespace

const RowCodec *row_codec(int32_t type, int32_t bits) {
    switch (type) {
    case ZOR_C_INTEGER:
        if (bits < 1 || bits > 32)
            return nullptr;
        return bits <= 8 ? &integers<1> : bits <= 16 ? &integers<2> : &integers<4>;
    case ZOR_C_FLOAT:
        return bits == 32 ? &floats<4> : nullptr;
    case ZOR_C_DOUBLE:
        return bits == 64 ? &floats<8> : nullptr;
    default:
        return nullptr;
    }
}

} // namespace zor::mox
