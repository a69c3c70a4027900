// processor.cpp - what the processor says of itself.
#include "base/base/processor.h"

namespace zor {

bool has_vectors(Vectors vectors) {
#ifdef ZOR_X86_VECTORS
    if (vectors == Vectors::avx2)
        return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0 &&
               __builtin_cpu_supports("bmi") != 0 && __builtin_cpu_supports("bmi2") != 0 &&
               __builtin_cpu_supports("popcnt") != 0;
    return true;
#else
    return vectors == Vectors::portable;
#endif
}

} // namespace zor
