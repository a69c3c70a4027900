// response_curve.cpp - response curves: how stored values relate to light.
#include <cstring>

#include "base/base/owned.h"
#include "err/status.h"
#include "zor/driver.h"

namespace zor {

namespace {

// Bytes of an entry of the curve's tables; 0, reported, for one that does not exist.
size_t entry_size(const ZOR_RESPONSE_CURVE &curve) {
    if (curve.type == ZOR_C_FLOAT)
        return 4;
    if (curve.type != ZOR_C_INTEGER) {
        ERR_report_cat(zor__msg_cat, ZOR_MSG_CURVE_TYPE, curve.type);
        return 0;
    }
    if (curve.depth == 8)
        return 1;
    if (curve.depth >= 9 && curve.depth <= 16)
        return 2;
    // Existing message catalogues rely on these three numbers, whatever the depth was.
    ERR_report_cat(zor__msg_cat, ZOR_MSG_CURVE_DEPTH, 1, 8, 16);
    return 0;
}

// Gives a curve its pointer array and the one block behind it, uninitialised.
bool make_tables(ZOR_RESPONSE_CURVE *curve, size_t entry) {
    const int64_t channels = curve->num_channels;
    const int64_t elements = curve->num_elements;
    if (channels < 1 || elements < 1)
        return false;
    Owned<void *> tables(allocate<void *>(channels));
    const bool fits = channels <= PTRDIFF_MAX / static_cast<int64_t>(entry) / elements;
    auto *block = tables != nullptr && fits
                      ? allocate<char>(channels * elements * static_cast<int64_t>(entry))
                      : nullptr;
    if (block == nullptr) {
        set_status(ZOR_E_MEMORY);
        return false;
    }
    for (int64_t k = 0; k < channels; ++k)
        tables.get()[k] = block + static_cast<size_t>(k * elements) * entry;
    curve->tables = tables.release();
    return true;
}

} // namespace

} // namespace zor

int ZOR_response_curve_copy(ZOR_RESPONSE_CURVE *copy, const ZOR_RESPONSE_CURVE *curve) {
    *copy = *curve;
    copy->tables = nullptr;
    if (curve->kind != 2 || curve->tables == nullptr)
        return 0; // a power function has nothing more to it
    const size_t entry = zor::entry_size(*curve);
    if (entry == 0 || !zor::make_tables(copy, entry))
        return -1;
    for (int32_t k = 0; k < curve->num_channels; ++k)
        std::memcpy(copy->tables[k], curve->tables[k],
                    static_cast<size_t>(curve->num_elements) * entry);
    return 0;
}

int ZOR_response_curve_done(ZOR_RESPONSE_CURVE *curve) {
    if (curve == nullptr || curve->kind != 2 || curve->tables == nullptr)
        return 1;
    ERR_free(curve->tables[0]); // the one block of all tables
    ERR_free(curve->tables);
    curve->tables = nullptr;
    return 1;
}
