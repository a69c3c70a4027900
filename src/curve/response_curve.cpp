// response_curve.cpp - the tables of response curves: making, copying and freeing them.
#include <cmath>
#include <cstring>

#include "base/base/owned.h"
#include "curve/tables.h"
#include "err/status.h"
#include "zor/driver.h"
#include "zor/fmt.h"

namespace zor {

size_t entry_size(const ZOR_RESPONSE_CURVE &curve) {
    if (curve.type == ZOR_C_FLOAT)
        return sizeof(float);
    if (curve.type != ZOR_C_INTEGER)
        return 0;
    if (curve.depth == 8)
        return 1;
    return curve.depth >= 9 && curve.depth <= 16 ? 2 : 0;
}

bool can_have_tables(const ZOR_RESPONSE_CURVE &curve) {
    return entry_size(curve) != 0 && curve.num_channels >= 1 && curve.num_elements >= 1;
}

bool make_tables(ZOR_RESPONSE_CURVE *curve) {
    const int64_t channels = curve->num_channels;
    const int64_t elements = curve->num_elements;
    const auto entry = static_cast<int64_t>(entry_size(*curve));
    curve->tables = nullptr;
    if (!can_have_tables(*curve))
        return false;
    Owned<void *> tables(allocate<void *>(channels));
    const bool fits = channels <= PTRDIFF_MAX / entry / elements;
    auto *block = tables != nullptr && fits ? allocate<char>(channels * elements * entry) : nullptr;
    if (block == nullptr) {
        set_status(ZOR_E_MEMORY);
        return false;
    }
    for (int64_t k = 0; k < channels; ++k)
        tables.get()[k] = block + static_cast<size_t>(k * elements * entry);
    curve->tables = tables.release();
    return true;
}

int32_t resolution_depth() {
    const int32_t n = FMT_def_gamma_tab_res();
    return n >= 1 ? static_cast<int32_t>(std::lround(std::log(n) / std::log(2.0))) : 0;
}

namespace {

// Reports an entry that does not exist.
int refuse_entry(const ZOR_RESPONSE_CURVE &curve) {
    if (curve.type != ZOR_C_INTEGER)
        ERR_report_cat(zor__msg_cat, ZOR_MSG_CURVE_TYPE, curve.type);
    else // existing message catalogues rely on these three numbers, whatever the depth was
        ERR_report_cat(zor__msg_cat, ZOR_MSG_CURVE_DEPTH, 1, 8, 16);
    return -1;
}

} // namespace

} // namespace zor

int ZOR_response_curve_copy(ZOR_RESPONSE_CURVE *copy, const ZOR_RESPONSE_CURVE *curve) {
    *copy = *curve;
    copy->tables = nullptr;
    if (curve->kind != 2)
        return 0; // a power function has nothing more to it
    const size_t entry = zor::entry_size(*curve);
    if (entry == 0)
        return zor::refuse_entry(*curve);
    if (curve->tables == nullptr)
        return 0;
    if (!zor::make_tables(copy))
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
