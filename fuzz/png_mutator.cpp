// png_mutator.cpp - mutates PNG files and then makes the check sums of their chunks right, since
// nothing behind a wrong one is looked at.
#include <cstdint>
#include <cstring>
#include <png.h>
#include <zlib.h>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed);

namespace {

void put_number(uint8_t *to, uint32_t number) {
    for (int i = 0; i < 4; ++i)
        to[i] = static_cast<uint8_t>(number >> (24 - 8 * i));
}

} // namespace

size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size, unsigned seed) {
    constexpr uint8_t signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    size = LLVMFuzzerMutate(data, size, max_size);
    if (size < sizeof signature || seed % 16 == 0)
        return size;
    std::memcpy(data, signature, sizeof signature);
    for (size_t at = sizeof signature; size - at >= 12;) {
        const size_t length = png_get_uint_32(data + at);
        if (length > size - at - 12) {
            put_number(data + at, static_cast<uint32_t>(size - at - 12)); // the last one then
            continue;
        }
        const uLong sum = crc32(0, data + at + 4, static_cast<uInt>(length + 4));
        put_number(data + at + 8 + length, static_cast<uint32_t>(sum));
        at += length + 12;
    }
    return size;
}
