// row_codec.cpp - which coding is for which channel and processor, and the codings of floats.
#include "drivers/mox/row_codec.h"

#include <cstring>

#include "drivers/mox/row_coding.h"
#include "zor/records.h"

namespace zor::mox {
namespace {

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
constexpr RowCodec floats = {Size, encode_floats<Size>, decode_floats<Size>, size_of_floats<Size>};

// The codings of integers of 1, 2 and 4 bytes. Null where the processor could not run them, and for
// versions that there are not.
const RowCodec *integers_for(Vectors vectors) {
    if (!has_vectors(vectors))
        return nullptr;
    switch (vectors) {
#ifdef ZOR_X86_VECTORS
    case Vectors::avx2:
        return avx2_integers;
    case Vectors::sse2:
        return sse2_integers;
#endif
    case Vectors::portable:
        return portable_integers;
    default:
        return nullptr;
    }
}

} // namespace

const RowCodec *row_codec(int32_t type, int32_t bits, Vectors vectors) {
    const RowCodec *const integers = integers_for(vectors);
    if (integers == nullptr)
        return nullptr;
    switch (type) {
    case ZOR_C_INTEGER:
        if (bits < 1 || bits > 32)
            return nullptr;
        return integers + (bits <= 8 ? 0 : bits <= 16 ? 1 : 2);
    case ZOR_C_FLOAT:
        return bits == 32 ? &floats<4> : nullptr;
    case ZOR_C_DOUBLE:
        return bits == 64 ? &floats<8> : nullptr;
    default:
        return nullptr;
    }
}

const RowCodec *row_codec(int32_t type, int32_t bits) {
    for (const Vectors vectors : {Vectors::avx2, Vectors::sse2})
        if (integers_for(vectors) != nullptr)
            return row_codec(type, bits, vectors);
    return row_codec(type, bits, Vectors::portable);
}

} // namespace zor::mox
