// gamma.cpp - 8-bit colours from the image's response curve to another.
#include <algorithm>

#include "curve/tables.h"
#include "ops/color_check.h"
#include "ops/operator.h"
#include "ops/row_kernels.h"
#include "ops/samples.h"

namespace zor {

namespace {

constexpr char gamma_name[] = "gamma correction operator";

// Light to bytes in the front of the same row. Bytes never overtake the samples they come from.
//   last  entry of the table, for light beyond it
using Store = void (*)(void *row, const ActivePart &part, const uint8_t *table, uint32_t last);

template<class Sample>
void store(void *row, const ActivePart &part, const uint8_t *table, uint32_t last) {
    const auto *from = static_cast<const Sample *>(row) + part.offset;
    auto *to = static_cast<uint8_t *>(row) + part.offset;
    for (int32_t x = 0; x < part.count; ++x)
        to[x] = table[std::min<uint32_t>(from[x], last)];
}

Store choose_store(int32_t bits) {
    if (bits <= 8)
        return &store<uint8_t>;
    return bits <= 16 ? &store<uint16_t> : &store<uint32_t>;
}

struct Gamma {
    static constexpr Tag tag = Tag::gamma;
    OperatorHead head;
    int32_t bits = 0; // of the colours before
    ActivePart part = {};
    int32_t margin = 0; // samples to the right of the active ones
    int32_t channels = 0;
    OwnedCurve table;
    Owned<uint8_t> for_bytes; // 256 entries of each of its channels where it has fewer; else null
    ZOR_RESPONSE_CURVE curve = {}; // of the image before
    Store store = nullptr;
    const RowKernels *kernels = &row_kernels();

    void read(int y, void **&rows) const;
    void **write(int y, void **rows) const;
    void restore(ZOR_IMAGE &image) const {
        image.images[0].curve = curve;
        image.images[0].image.bits = bits;
    }
    [[nodiscard]] const uint8_t *table_for(int32_t channel) const {
        const int32_t k = table.curve.num_channels > 1 ? channel : 0;
        return for_bytes != nullptr ? for_bytes.get() + int64_t{256} * k
                                    : table_of<const uint8_t>(table.curve, k);
    }
};

void Gamma::read(int /*y*/, void **&rows) const {
    for (int32_t k = channels - 1; k >= 0; --k)
        kernels->look_up(samples<uint8_t>(rows, k) + part.offset, part.count, table_for(k));
}

void **Gamma::write(int y, void **rows) const {
    if (!part.has_line(y))
        return rows;
    const auto last = static_cast<uint32_t>(table.curve.num_elements - 1);
    for (int32_t k = channels - 1; k >= 0; --k) {
        store(rows[k], part, table_for(k), last);
        std::fill_n(samples<uint8_t>(rows, k) + part.offset + part.count, margin, uint8_t{0});
    }
    return rows;
}

// States what a power function is to be tabulated as.
void shape(ZOR_RESPONSE_CURVE *curve, int32_t channels, int32_t elements, int32_t depth) {
    if (curve->kind != 1)
        return;
    curve->num_channels = channels;
    curve->num_elements = elements;
    curve->type = ZOR_C_INTEGER;
    curve->depth = depth;
}

// Composes the table; false when the curves do not fit each other, bytes or channels.
bool compose(Gamma &gamma, ZOR_IMAGE_DESC &desc, ZOR_RESPONSE_CURVE wanted, bool reading) {
    ZOR_RESPONSE_CURVE *stored = &desc.curve;
    const int32_t depth = resolution_depth();
    ZOR_RESPONSE_CURVE *table = &gamma.table.curve;
    int outcome = 0;
    if (reading) {
        shape(stored, gamma.channels, 256, depth);
        shape(&wanted, gamma.channels, elements_of_depth(stored->depth), 8);
        outcome = ZOR_response_curve_comp(&wanted, stored, table);
    } else {
        shape(stored, gamma.channels, elements_of_depth(gamma.bits), gamma.bits);
        shape(&wanted, gamma.channels, elements_of_depth(depth), stored->depth);
        outcome = ZOR_response_curve_comp(stored, &wanted, table);
    }
    return outcome == 0 && entry_size(*table) == sizeof(uint8_t) &&
           (table->num_channels == 1 || table->num_channels >= gamma.channels) &&
           (reading || depth >= 1);
}

// Gives every byte an entry: a table for fewer bits lasts as far as it goes, and ends in the same
// colour from there on. False when memory ran out.
bool serve_bytes(Gamma &gamma) {
    const ZOR_RESPONSE_CURVE &table = gamma.table.curve;
    if (table.num_elements >= 256)
        return true;
    gamma.for_bytes.reset(allocate<uint8_t>(int64_t{256} * table.num_channels));
    if (gamma.for_bytes == nullptr) {
        set_status(ZOR_E_MEMORY);
        return false;
    }
    for (int32_t k = 0; k < table.num_channels; ++k) {
        const auto *from = table_of<const uint8_t>(table, k);
        uint8_t *to = gamma.for_bytes.get() + int64_t{256} * k;
        to = std::copy_n(from, table.num_elements, to);
        std::fill_n(to, 256 - table.num_elements, from[table.num_elements - 1]);
    }
    return true;
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__gamma(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve) {
    using namespace zor;
    if (!can_correct(image, curve, gamma_name))
        return image;
    ZOR_IMAGE_DESC &desc = image->images[0];
    if (desc.curve.kind == 1 && curve->kind == 1 && desc.curve.gamma == curve->gamma)
        return image;
    RecordPtr<Gamma> record = new_record<Gamma>();
    if (record == nullptr)
        return image;
    record->bits = desc.image.bits;
    record->part = active_part(desc);
    record->margin = row_width(desc) - record->part.offset - record->part.count;
    record->channels = desc.image.count;
    record->table.curve = {1, 1.0F, 0, 1, 256, ZOR_C_INTEGER, 8, nullptr};
    record->curve = desc.curve;
    if (!compose(*record, desc, *curve, reads(*image)) || (reads(*image) && !serve_bytes(*record)))
        return image; // the description's curve keeps the counts it was given
    if (!reads(*image)) {
        desc.image.bits = resolution_depth();
        record->store = choose_store(desc.image.bits);
    }
    return install(image, std::move(record));
}

int ZOR__gamma_undo(ZOR_IMAGE *image) { return zor::undo<zor::Gamma>(image); }
