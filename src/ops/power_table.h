// power_table.h - powers of many numbers from 0 to 1, without computing each.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <type_traits>

namespace zor {

// A float is m * 2^e, and its power m^p * 2^(ep). The second has few values; the first is
// interpolated between 2^11 places, which is wrong by at most |p (p - 1)| / 2^25 of the result: a
// thousandth of a code at 16 bits for the exponents that displays have.
struct PowerTable {
    static constexpr uint32_t index_bits = 11;
    static constexpr uint32_t rest_bits = 23 - index_bits;

    double mantissas[(1U << index_bits) + 1]; // m^p from m = 1 to 2
    double exponents[128];                    // scale * 2^(ep) for biased e; 0 for what has no e

    void fill(double power, double scale) {
        for (uint32_t i = 0; i <= 1U << index_bits; ++i)
            mantissas[i] = std::pow(1.0 + std::ldexp(i, -static_cast<int>(index_bits)), power);
        exponents[0] = 0;
        for (int e = 1; e < 128; ++e)
            exponents[e] = scale * std::pow(2.0, (e - 127) * power);
    }

    // scale * value^power for a value in [0, 1].
    [[nodiscard]] double operator()(float value) const {
        const auto bits = std::bit_cast<uint32_t>(value);
        const uint32_t i = bits >> rest_bits & ((1U << index_bits) - 1);
        const auto rest = static_cast<int32_t>(bits & ((1U << rest_bits) - 1));
        const double part = rest * (1.0 / (1U << rest_bits));
        const double low = mantissas[i];
        return exponents[bits >> 23] * (low + part * (mantissas[i + 1] - low));
    }
};
static_assert(std::is_trivially_copyable_v<PowerTable>);

} // namespace zor
