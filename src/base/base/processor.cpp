// processor.cpp - what the processor says of itself.
#include "base/base/processor.h"

namespace zor {

bool has_vectors(Vectors vectors) {
#ifdef ZOR_X86_VECTORS
    const bool avx2 = __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0 &&
                      __builtin_cpu_supports("bmi") != 0 && __builtin_cpu_supports("bmi2") != 0 &&
                      __builtin_cpu_supports("popcnt") != 0;
    if (vectors == Vectors::avx512)
        return avx2 && __builtin_cpu_supports("avx512f") != 0 &&
               __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vl") != 0 &&
               __builtin_cpu_supports("avx512vbmi") != 0;
    return avx2 || vectors != Vectors::avx2;
#else
    return vectors == Vectors::portable;
#endif
}

} // namespace zor
