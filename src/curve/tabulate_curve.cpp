// tabulate_curve.cpp - response curves as tables of their power function.
#include <cmath>
#include <cstring>

#include "curve/tables.h"

namespace zor {

namespace {

constexpr int32_t most_elements = 1 << 24;

// Light for each element: a fraction of a scale, rounded where entries are integers.
template<class Entry>
void fill(Entry *table, const ZOR_RESPONSE_CURVE &curve, double scale) {
    const int32_t last = curve.num_elements - 1;
    const double step = 1.0 / last;
    const auto gamma = static_cast<double>(curve.gamma);
    for (int32_t i = 0; i <= last; ++i) {
        if constexpr (std::is_integral_v<Entry>) {
            const double value = gamma == 1 ? i * scale / last : std::pow(i * step, gamma) * scale;
            table[i] = to_integer<Entry>(value + 0.5);
        } else {
            table[i] = static_cast<Entry>(gamma == 1 ? i * step : std::pow(i * step, gamma));
        }
    }
}

} // namespace

} // namespace zor

int ZOR_response_curve_init(ZOR_RESPONSE_CURVE *curve) {
    curve->kind = 2;
    curve->reserved = 0;
    curve->tables = nullptr;
    const size_t entry = zor::entry_size(*curve);
    if (curve->num_elements < 2 || curve->num_elements > zor::most_elements ||
        curve->num_channels < 1 || entry == 0)
        return -1;
    if (!zor::make_tables(curve))
        return -1;
    const double scale = std::ldexp(1.0, curve->depth) - 1;
    if (entry == 1)
        zor::fill(zor::table_of<uint8_t>(*curve, 0), *curve, scale);
    else if (entry == 2)
        zor::fill(zor::table_of<uint16_t>(*curve, 0), *curve, scale);
    else
        zor::fill(zor::table_of<float>(*curve, 0), *curve, 1.0);
    for (int32_t k = 1; k < curve->num_channels; ++k)
        std::memcpy(curve->tables[k], curve->tables[k - 1],
                    static_cast<size_t>(curve->num_elements) * entry);
    return 0;
}
