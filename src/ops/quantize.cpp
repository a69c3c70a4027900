// quantize.cpp - floats as integers.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <type_traits>

#include "ops/operator.h"
#include "ops/power_table.h"
#include "ops/row_kernels.h"
#include "ops/samples.h"
#include "zor/fmt.h"

namespace zor {

namespace {

// Codes for light.
struct Encode {
    PowerTable power;
    double line; // slope of a line above which no code lies

    [[nodiscard]] double operator()(float light) const {
        return std::min(power(light), static_cast<double>(light) * line);
    }
};

// Converts one row.
//   largest  value of the integers
using Convert = RowKernels::FromFloats;
using EncodeRow = void (*)(void *to, const void *from, int32_t width, double largest,
                           const Encode &encode);

template<class Float, class Integer>
void round_row(void *to, const void *from, int32_t width, double largest) {
    const auto *floats = static_cast<const Float *>(from);
    auto *integers = static_cast<Integer *>(to);
    for (int32_t x = 0; x < width; ++x)
        integers[x] = round_unit<Integer>(floats[x], largest);
}

template<class Float, class Integer>
void encode_row(void *to, const void *from, int32_t width, double largest, const Encode &encode) {
    const auto *floats = static_cast<const Float *>(from);
    auto *integers = static_cast<Integer *>(to);
    for (int32_t x = 0; x < width; ++x) {
        const auto light = static_cast<float>(clamp_to_unit(floats[x]));
        integers[x] = to_sample<Integer>(encode(light), largest);
    }
}

// The other way, for writing.
template<class Float, class Integer>
void divide_row(void *to, const void *from, int32_t width, double largest) {
    const auto *integers = static_cast<const Integer *>(from);
    auto *floats = static_cast<Float *>(to);
    for (int32_t x = 0; x < width; ++x)
        floats[x] = static_cast<Float>(static_cast<double>(integers[x]) / largest);
}

template<class Float, class Integer>
Convert choose_round() {
    if constexpr (std::is_same_v<Float, float> && sizeof(Integer) == 1)
        return row_kernels().floats_to_bytes;
    else if constexpr (std::is_same_v<Float, float> && sizeof(Integer) == 2)
        return row_kernels().floats_to_words;
    else
        return &round_row<Float, Integer>;
}

struct RowFunctions {
    Convert round, divide;
    EncodeRow encode;
};

RowFunctions choose_functions(const ZOR_CHANNELS &floats, const ZOR_CHANNELS &integers) {
    return choose_by_sample(floats, [&]<class Float>(Float) {
        return choose_by_sample(integers, []<class Integer>(Integer) -> RowFunctions {
            if constexpr (std::is_floating_point_v<Float> && std::is_integral_v<Integer>)
                return {choose_round<Float, Integer>(), &divide_row<Float, Integer>,
                        &encode_row<Float, Integer>};
            else
                return {};
        });
    });
}

struct Quantize {
    static constexpr Tag tag = Tag::quantize;
    OperatorHead head;
    float gamma = 0;
    std::array<ZOR_CHANNELS, num_groups> groups = {};
    int32_t width = 0;
    std::array<Convert, num_groups> convert = {}; // null: as it is
    std::array<double, num_groups> largest = {};  // values of the integers
    EncodeRow encode_row = nullptr;               // instead of convert, for colours; or null
    Owned<Encode> encode;                         // what it needs
    Channels converted;
    Owned<void *> handed_on; // rows of converted, and those that stay as they are

    void read(int /*y*/, void **&rows) const { rows = convert_rows(rows); }
    void **write(int /*y*/, void **rows) const { return convert_rows(rows); }
    void restore(ZOR_IMAGE &image) const {
        image.images[0].curve.gamma = gamma;
        put_groups(image.images[0], groups);
    }

private:
    void **convert_rows(void *const *rows) const;
};

void **Quantize::convert_rows(void *const *rows) const {
    int32_t first = 0;
    for (size_t g = 0; g < num_groups; ++g) {
        const int32_t end = first + groups[g].count;
        for (int32_t k = first; k < end; ++k) {
            if (g == COLOUR && encode_row != nullptr)
                encode_row(converted.get()[k], rows[k], width, largest[g], *encode);
            else if (convert[g] != nullptr)
                convert[g](converted.get()[k], rows[k], width, largest[g]);
            handed_on.get()[k] = convert[g] != nullptr ? converted.get()[k] : rows[k];
        }
        first = end;
    }
    return handed_on.get();
}

// Whether a group is converted at all.
bool is_converted(const ZOR_CHANNELS &group, const ZOR_TARGET *target) {
    return target != nullptr && group.count > 0 && is_float(group);
}

bool is_usable(const ZOR_TARGET &target) {
    return target.type == ZOR_C_INTEGER && target.bits >= 1 && target.bits <= 32;
}

// Whether the image's colours can be encoded.
bool is_usable(const ZOR_IMAGE &image, const ZOR_RESPONSE_CURVE &encode) {
    const ZOR_RESPONSE_CURVE &has = image.images[0].curve;
    const auto is_exponent = [](float gamma) { return std::isfinite(gamma) && gamma > 0; };
    return reads(image) && encode.kind == 1 && is_exponent(encode.gamma) && has.kind != 2 &&
           is_exponent(has.gamma);
}

// Chooses the converters and makes what they need, given the description as callers will see it;
// false, with the status set, when it cannot be had.
//   from_bytes  the light to be encoded was made from bytes by a table
bool prepare(Quantize &record, const ZOR_IMAGE &image, const ZOR_IMAGE_DESC &seen,
             const ZOR_TARGET *const targets[3], bool encoding, bool from_bytes) {
    const auto integers = copy_groups(seen);
    for (size_t g = 0; g < num_groups; ++g) {
        if (!is_converted(record.groups[g], targets[g]))
            continue;
        const RowFunctions functions = choose_functions(record.groups[g], integers[g]);
        record.convert[g] = reads(image) ? functions.round : functions.divide;
        if (encoding && g == COLOUR)
            record.encode_row = functions.encode;
        record.largest[g] = largest_value(integers[g]);
    }
    if (encoding) {
        record.encode.reset(allocate<Encode>());
        if (record.encode == nullptr)
            return set_status(ZOR_E_MEMORY), false;
        const double power =
            static_cast<double>(record.gamma) / static_cast<double>(seen.curve.gamma);
        record.encode->power.fill(power, record.largest[COLOUR]);
        // What a table made lighter near black becomes as dark again as it was.
        record.encode->line = from_bytes
                                  ? (FMT_def_gamma_tab_res() - 1) / 255.0 * record.largest[COLOUR]
                                  : std::numeric_limits<double>::max();
    }
    const int64_t num_channels =
        int64_t{seen.image.count} + int64_t{seen.matte.count} + int64_t{seen.aux.count};
    record.handed_on.reset(allocate<void *>(num_channels + 1));
    if (record.handed_on == nullptr)
        return set_status(ZOR_E_MEMORY), false;
    record.handed_on.get()[num_channels] = nullptr;
    record.converted.reset(zor__chan_alloc(reads(image) ? &seen : &image.images[0], record.width,
                                           "quantize operator"));
    return record.converted != nullptr;
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__quantize(ZOR_IMAGE *image, const ZOR_TARGET *const targets[3],
                         const ZOR_RESPONSE_CURVE *encode) {
    using namespace zor;
    if (image == nullptr || image->num_images < 1 || image->images[0].chan_flag != 1)
        return image;
    ZOR_IMAGE_DESC &desc = image->images[0];
    ZOR_IMAGE_DESC seen = desc; // by callers, from now on
    const auto groups = groups_of(seen);
    bool needed = false;
    bool usable = true;
    for (size_t g = 0; g < num_groups; ++g) {
        if (!is_converted(*groups[g], targets[g]))
            continue;
        needed = true;
        usable = usable && is_usable(*targets[g]);
        groups[g]->type = targets[g]->type;
        groups[g]->bits = targets[g]->bits;
    }
    const bool encoding = encode != nullptr && is_converted(desc.image, targets[COLOUR]);
    if (encoding) {
        usable = usable && is_usable(*image, *encode);
        seen.curve.gamma = encode->gamma;
    }
    if (!needed)
        return image;
    if (!usable) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, "quantize operator");
        return image;
    }
    RecordPtr<Quantize> record = new_record<Quantize>();
    if (record == nullptr)
        return image;
    record->gamma = desc.curve.gamma;
    record->groups = copy_groups(desc);
    record->width = row_width(desc);
    if (!prepare(*record, *image, seen, targets, encoding, encoding && encode->num_elements == 256))
        return image;
    desc = seen;
    return install(image, std::move(record));
}

int ZOR__quantize_undo(ZOR_IMAGE *image) { return zor::undo<zor::Quantize>(image); }
