// row_coding.h - the codings of integer channels, made of byte planes and packets, for a kind of
// vectors.
//
// What is here ends up in several versions, some of which not every processor can run. They have
// nothing in common but their source: all of it depends on V, which has no linkage, and calls no
// inline function that others might share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "drivers/mox/byte_planes.h"
#include "drivers/mox/packet_decoder.h"
#include "drivers/mox/packet_encoder.h"
#include "drivers/mox/row_codec.h"

namespace zor::mox {

template<class V>
class RowCoding {
public:
    template<ptrdiff_t Size>
    static size_t encode(const void *samples, int32_t count, uint8_t *out) {
        const auto *const bytes = static_cast<const uint8_t *>(samples);
        const auto planes = std::make_integer_sequence<ptrdiff_t, Size>();
        if constexpr (Size == 1)
            return static_cast<size_t>(encode_bytes(bytes, count, out) - out);
        return static_cast<size_t>(encode_planes<Size>(bytes, count, out, planes) - out);
    }

    // Literals of 128 add one byte to each; a run saves at least the control byte of the literal it
    // cuts off. The bound, one in 127 and one more, is a little above what the encoder needs.
    template<ptrdiff_t Size>
    static size_t max_encoded(int32_t count) {
        const auto plane = static_cast<size_t>(count);
        return Size * (plane + plane / 127 + 1);
    }

    static bool decode_bytes(const EncodedRow *rows, int num_rows, int32_t count) {
        PacketReader readers[most_rows];
        return decode_first_planes(rows, num_rows, count, 0, readers);
    }

    static bool decode_words(const EncodedRow *rows, int num_rows, int32_t count) {
        const int together = any_is_noise(rows, num_rows, count) ? 1 : num_rows;
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

    static bool decode_long_words(const EncodedRow *rows, int num_rows, int32_t count) {
        for (const EncodedRow *row = rows; row < rows + num_rows; ++row) {
            auto *const samples = static_cast<uint8_t *>(row->samples);
            PacketReader reader = reader_of(*row, nullptr, 0);
            if (!decode_plane<3>(reader, count, samples) ||
                !decode_plane<2>(reader, count, samples) ||
                !decode_plane<1>(reader, count, samples) ||
                !decode_plane<0>(reader, count, samples))
                return false;
        }
        return true;
    }

private:
    using Encoder = PacketEncoder<V>;
    using Decoder = PacketDecoder<V>;

    // Bytes of a plane on their way to the encoder, with room on either side.
    static constexpr ptrdiff_t front = Encoder::front;
    struct Block {
        alignas(32) uint8_t bytes[front + Encoder::block_size + codec_slack];
        uint8_t *start() { return bytes + front; }
    };

    template<ptrdiff_t Size, ptrdiff_t Byte>
    // The encoder writes there. NOLINTNEXTLINE(readability-non-const-parameter)
    static uint8_t *encode_plane(const uint8_t *samples, ptrdiff_t count, uint8_t *out) {
        Encoder encoder(out);
        Block block;
        while (count > 0) {
            const ptrdiff_t n = count < Encoder::block_size ? count : Encoder::block_size;
            take_plane<V, Size, Byte>(samples, n, block.start());
            encoder.encode(block.start(), n, n == count, block.start());
            if (n < count)
                copy<front>(block.start() + n - front, block.bytes);
            samples += n * Size;
            count -= n;
        }
        return encoder.end();
    }

    // Rows of bytes are encoded where they lie but for the end, behind which nothing can be read.
    // NOLINTNEXTLINE(readability-non-const-parameter)
    static uint8_t *encode_bytes(const uint8_t *x, ptrdiff_t count, uint8_t *out) {
        constexpr ptrdiff_t tail = Encoder::tail_size;
        if (count < tail)
            return encode_plane<1, 0>(x, count, out);
        Encoder encoder(out);
        while (count > Encoder::block_size) {
            const ptrdiff_t most = count - (tail / Encoder::group + 1) * Encoder::group;
            const ptrdiff_t n = most < Encoder::block_size ? most / Encoder::group * Encoder::group
                                                           : Encoder::block_size;
            encoder.encode(x, n, false, x);
            x += n;
            count -= n;
        }
        Block block;
        copy<tail>(x + count - tail, block.start() + count - tail);
        encoder.encode(x, count, true, block.start());
        return encoder.end();
    }

    // Whole vectors. Written out, or the compiler would take it for a memcpy of any length.
    template<size_t... I>
    static void copy(const uint8_t *from, uint8_t *to, std::index_sequence<I...> /*vectors*/) {
        (V::store(V::load(from + I * V::size), to + I * V::size), ...);
    }
    template<ptrdiff_t Count>
    static void copy(const uint8_t *from, uint8_t *to) {
        static_assert(Count % V::size == 0);
        copy(from, to, std::make_index_sequence<Count / V::size>());
    }

    // The most significant plane comes first.
    template<ptrdiff_t Size, ptrdiff_t... I>
    static uint8_t *encode_planes(const uint8_t *samples, ptrdiff_t count, uint8_t *out,
                                  std::integer_sequence<ptrdiff_t, I...>) {
        ((out = encode_plane<Size, Size - 1 - I>(samples, count, out)), ...);
        return out;
    }

    // For a plane of count bytes at the start of a record. One without data is as bad as one with a
    // single byte, which makes no packet.
    static PacketReader reader_of(const EncodedRow &row, uint8_t *to, ptrdiff_t count) {
        return {row.data, row.data + (row.size == 0 ? 0 : row.size - 1), to, to + count};
    }

    // Decodes the first plane of each record to its row, offset bytes from the start.
    static bool decode_first_planes(const EncodedRow *rows, int num_rows, int32_t count,
                                    ptrdiff_t offset, PacketReader *readers) {
        for (int i = 0; i < num_rows; ++i)
            readers[i] =
                reader_of(rows[i], static_cast<uint8_t *>(rows[i].samples) + offset, count);
        return Decoder::decode_side_by_side(readers, num_rows);
    }

    // Noise has long packets, which need no company, and much data, which is best read in order.
    static bool any_is_noise(const EncodedRow *rows, int num_rows, int32_t count) {
        for (const EncodedRow *row = rows; row < rows + num_rows; ++row)
            if (row->size > 2 * static_cast<size_t>(count))
                return true;
        return false;
    }

    // Some bytes of a plane on their way into samples. Packets pay no heed to its size.
    static constexpr ptrdiff_t part_size = 1024;
    struct Part {
        uint8_t bytes[part_size + packet_batch + codec_slack];
    };

    // Decodes the next part of a plane of which left bytes are to come. Returns its size, 0 on
    // failure.
    static ptrdiff_t decode_part(PacketReader &reader, ptrdiff_t left, Part &part) {
        constexpr ptrdiff_t room = part_size + packet_batch;
        reader.to = part.bytes;
        reader.stop = part.bytes + (left < room ? left : room);
        if (!Decoder::decode(reader, part.bytes + (left < part_size ? left : part_size)))
            return 0;
        return reader.to - part.bytes;
    }

    // Decodes the low bytes of samples whose high bytes are in the second half of the row. Those of
    // full literals, which noise is made of, come straight from the record.
    static bool decode_low_plane(PacketReader &reader, ptrdiff_t count, uint8_t *samples) {
        const uint8_t *const high = samples + count;
        Part part;
        for (ptrdiff_t i = 0; i < count;) {
            ptrdiff_t n = longest_packet;
            if (count - i >= n && Decoder::starts_with_full_literal(reader)) {
                join_planes<V>(high + i, reader.in + 1, n, samples + 2 * i);
                reader.in += 1 + n;
            } else {
                n = decode_part(reader, count - i, part);
                if (n == 0)
                    return false;
                join_planes<V>(high + i, part.bytes, n, samples + 2 * i);
            }
            i += n;
        }
        return true;
    }

    template<ptrdiff_t Byte>
    static bool decode_plane(PacketReader &reader, ptrdiff_t count, uint8_t *samples) {
        Part part;
        while (count > 0) {
            const ptrdiff_t n = decode_part(reader, count, part);
            if (n == 0)
                return false;
            put_plane<V, Byte>(part.bytes, n, samples);
            samples += 4 * n;
            count -= n;
        }
        return true;
    }
};

template<class V, ptrdiff_t Size>
constexpr RowCodec integers = {Size, RowCoding<V>::template encode<Size>,
                               Size == 1   ? RowCoding<V>::decode_bytes
                               : Size == 2 ? RowCoding<V>::decode_words
                                           : RowCoding<V>::decode_long_words,
                               RowCoding<V>::template max_encoded<Size>};

// Those of 1, 2 and 4 bytes, in all versions.
extern const RowCodec portable_integers[3];
extern const RowCodec sse2_integers[3];
extern const RowCodec avx2_integers[3];

} // namespace zor::mox
