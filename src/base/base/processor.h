// processor.h - what the processor can run beyond what the library is built for.
#pragma once

#include <cstdint>

namespace zor {

// Versions in which the busiest loops exist. All of them give the same bits.
enum class Vectors : uint8_t {
    portable, // plain C++
    sse2,     // vectors of 16 bytes, which every x86 processor has that the library is built for
    avx2,     // vectors of 32 bytes, multiply-add, and the bit instructions that came with them
    avx512    // vectors of 64 bytes, with the instruction that looks bytes up in 128 of them
};

// Whether this build has loops of a version and the processor can run them.
bool has_vectors(Vectors vectors);

} // namespace zor
