// arguments.h - arguments of operators: curves, and what goes by group, null for those not given.
#pragma once

#include "zor/ops.h"

inline constexpr ZOR_RESPONSE_CURVE power(float gamma) {
    return {1, gamma, 0, 0, 0, 0, 0, nullptr};
}
// A curve with tables of its own.
struct Tables {
    Tables(float gamma, int channels, int elements, int type, int depth)
        : curve{2, gamma, 0, channels, elements, type, depth, nullptr} {
        ZOR_response_curve_init(&curve);
    }
    ~Tables() { ZOR_response_curve_done(&curve); }
    Tables(const Tables &) = delete;
    Tables &operator=(const Tables &) = delete;
    ZOR_RESPONSE_CURVE curve;
};
template<class T>
struct ByGroup {
    ByGroup(const T *colour, const T *matte = nullptr, const T *aux = nullptr)
        : of{colour, matte, aux} {}
    operator const T * const *() const { return of; }
    const T *of[3];
};
using Targets = ByGroup<ZOR_TARGET>;
using Ranges = ByGroup<ZOR_RANGE>;
