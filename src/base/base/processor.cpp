// processor.cpp - what the processor says of itself.
#include "base/base/processor.h"

namespace zor {

bool has_vectors(Vectors vectors) {
    switch (vectors) {
#ifdef ZOR_X86_VECTORS
    case Vectors::avx2:
        return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0 &&
               __builtin_cpu_supports("bmi") != 0 && __builtin_cpu_supports("bmi2") != 0 &&
               __builtin_cpu_supports("popcnt") != 0;
    case Vectors::sse2:
        return true;
#endif
    case Vectors::portable:
        return true;
    default:
        return false;
    }
}

} // namespace zor
