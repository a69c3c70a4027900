// gamma_tables.cpp - tables between bytes and light.
//
// They come from malloc itself, not from the checked allocator: running out is not reported.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "curve/tables.h"
#include "zor/fmt.h"

namespace zor {

namespace {

// A new table of an entry for each i from 0 on; null for fewer than two levels of light.
template<class Entry, class Compute>
Entry *make_table(int32_t count, int32_t levels, Compute compute) {
    if (levels < 2 || static_cast<size_t>(count) > PTRDIFF_MAX / sizeof(Entry))
        return nullptr;
    auto *table = static_cast<Entry *>(std::malloc(static_cast<size_t>(count) * sizeof(Entry)));
    for (int32_t i = 0; table != nullptr && i < count; ++i)
        table[i] = compute(i);
    return table;
}

} // namespace

} // namespace zor

float *ZOR_gamma_btof(double gamma) {
    const int32_t n = FMT_def_gamma_tab_res();
    const double step = 1.0 / (n - 1.0);
    return zor::make_table<float>(256, n, [=](int32_t i) {
        return static_cast<float>(std::max(std::pow(i / 255.0, gamma), i * step));
    });
}

uint16_t *ZOR_gamma_btos(double gamma) {
    const int32_t n = FMT_def_gamma_tab_res();
    return zor::make_table<uint16_t>(256, n, [=](int32_t i) {
        const double light = std::pow(i / 255.0, gamma) * (n - 1) + 0.5;
        return std::max(zor::to_integer<uint16_t>(light), static_cast<uint16_t>(i));
    });
}

uint8_t *ZOR_gamma_tob(double gamma) {
    const int32_t n = FMT_def_gamma_tab_res();
    return zor::make_table<uint8_t>(n, n, [=](int32_t i) {
        const double value = std::pow(static_cast<double>(i) / (n - 1), 1.0 / gamma) * 255 + 0.5;
        // Of values beyond 255, which a negative gamma gives, the low byte has always counted; the
        // bound is i as it stands, beyond 255 too.
        const auto low_byte = static_cast<uint8_t>(zor::to_integer<uint32_t>(value));
        return static_cast<uint8_t>(std::min<int32_t>(low_byte, i));
    });
}

float *ZOR_gamma_tof(double gamma) {
    const int32_t n = FMT_def_gamma_tab_res();
    return zor::make_table<float>(n, n, [=](int32_t i) {
        const double value = std::pow(static_cast<double>(i) / (n - 1), 1.0 / gamma) * 254.9;
        return static_cast<float>(std::min<double>(value, i));
    });
}

int ZOR_gamma_done(void *table) {
    std::free(table);
    return 1;
}
