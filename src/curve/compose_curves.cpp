// compose_curves.cpp - one response curve after another, as one table.
#include <algorithm>

#include "curve/tables.h"
#include "zor/driver.h"

namespace zor {

namespace {

bool has_tables(const ZOR_RESPONSE_CURVE &curve) {
    return curve.kind == 2 && curve.tables != nullptr;
}

// result[i] = first[second[i]]; what second gives beyond first's entries becomes the last of them.
template<class Entry, class Index>
void look_up(const ZOR_RESPONSE_CURVE &first, const ZOR_RESPONSE_CURVE &second,
             const ZOR_RESPONSE_CURVE &result) {
    for (int32_t k = 0; k < result.num_channels; ++k) {
        const auto *from = table_of<const Entry>(first, k);
        const auto *index = table_of<const Index>(second, k);
        auto *to = table_of<Entry>(result, k);
        for (int32_t i = 0; i < result.num_elements; ++i)
            to[i] = from[std::min<int32_t>(index[i], first.num_elements - 1)];
    }
}

template<class Entry>
void look_up(const ZOR_RESPONSE_CURVE &first, const ZOR_RESPONSE_CURVE &second,
             const ZOR_RESPONSE_CURVE &result) {
    if (second.depth <= 8)
        look_up<Entry, uint8_t>(first, second, result);
    else
        look_up<Entry, uint16_t>(first, second, result);
}

// Whether one fits behind the other; reports what does not.
bool fit(const ZOR_RESPONSE_CURVE &first, const ZOR_RESPONSE_CURVE &second) {
    if (first.num_channels != second.num_channels)
        ERR_report_cat(zor__msg_cat, ZOR_MSG_CURVE_CHANNELS);
    else if (second.type == ZOR_C_FLOAT)
        ERR_report_cat(zor__msg_cat, ZOR_MSG_CURVE_FLOAT);
    else if (elements_of_depth(second.depth) != first.num_elements)
        ERR_report_cat(zor__msg_cat, ZOR_MSG_CURVE_ELEMENTS);
    else
        return true;
    return false;
}

int compose_tables(const ZOR_RESPONSE_CURVE &first, const ZOR_RESPONSE_CURVE &second,
                   ZOR_RESPONSE_CURVE *result) {
    if (!fit(first, second))
        return -1;
    result->gamma = 1.0F;
    result->num_channels = second.num_channels;
    result->num_elements = second.num_elements;
    result->type = first.type;
    result->depth = first.depth;
    if (ZOR_response_curve_init(result) != 0)
        return -1;
    const size_t entry = entry_size(*result);
    if (entry == 1)
        look_up<uint8_t>(first, second, *result);
    else if (entry == 2)
        look_up<uint16_t>(first, second, *result);
    else
        look_up<float>(first, second, *result);
    return 0;
}

// A power function before tables, tabulated for what they give.
int compose_with_encoding(const ZOR_RESPONSE_CURVE &first, const ZOR_RESPONSE_CURVE &second,
                          ZOR_RESPONSE_CURVE *result) {
    ZOR_RESPONSE_CURVE tables = first;
    tables.gamma = 1.0F / first.gamma;
    tables.num_channels = second.num_channels;
    tables.num_elements = elements_of_depth(second.depth);
    if (second.type == ZOR_C_FLOAT) { // whose depth does not tell for what to make tables
        fit(tables, second);
        return -1;
    }
    if (ZOR_response_curve_init(&tables) != 0)
        return -1;
    const int outcome = compose_tables(tables, second, result);
    ZOR_response_curve_done(&tables);
    return outcome;
}

int compose_with_decoding(const ZOR_RESPONSE_CURVE &first, const ZOR_RESPONSE_CURVE &second,
                          ZOR_RESPONSE_CURVE *result) {
    ZOR_RESPONSE_CURVE tables = second;
    if (ZOR_response_curve_init(&tables) != 0)
        return -1;
    const int outcome = compose_tables(first, tables, result);
    ZOR_response_curve_done(&tables);
    return outcome;
}

int compose_powers(const ZOR_RESPONSE_CURVE &first, const ZOR_RESPONSE_CURVE &second,
                   ZOR_RESPONSE_CURVE *result) {
    result->gamma = second.gamma / first.gamma;
    result->num_channels = second.num_channels;
    result->num_elements = second.num_elements;
    result->type = first.type;
    result->depth = first.depth;
    return ZOR_response_curve_init(result);
}

} // namespace

} // namespace zor

int ZOR_response_curve_comp(const ZOR_RESPONSE_CURVE *first, const ZOR_RESPONSE_CURVE *second,
                            ZOR_RESPONSE_CURVE *result) {
    using namespace zor;
    result->tables = nullptr;
    const bool first_has_tables = has_tables(*first);
    const bool second_has_tables = has_tables(*second);
    if ((first->kind != 1 && !first_has_tables) || (second->kind != 1 && !second_has_tables))
        return -1;
    if (!first_has_tables)
        return second_has_tables ? compose_with_encoding(*first, *second, result)
                                 : compose_powers(*first, *second, result);
    return second_has_tables ? compose_tables(*first, *second, result)
                             : compose_with_decoding(*first, *second, result);
}
