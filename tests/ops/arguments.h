// arguments.h - arguments of operators: curves, and what goes by group, null for those not given.
#pragma once

#include "zor/ops.h"

inline constexpr ZOR_RESPONSE_CURVE power(float gamma) {
    return {1, gamma, 0, 0, 0, 0, 0, nullptr};
}
template<class T>
struct ByGroup {
    ByGroup(const T *colour, const T *matte = nullptr, const T *aux = nullptr)
        : of{colour, matte, aux} {}
    operator const T * const *() const { return of; }
    const T *of[3];
};
using Targets = ByGroup<ZOR_TARGET>;
using Ranges = ByGroup<ZOR_RANGE>;
