// color_transform.cpp - 8-bit rgb and xyz to rgb of other primaries, and rgb to luminance.
#include <cmath>
#include <limits>

#include "curve/tables.h"
#include "ops/color_check.h"
#include "ops/color_matrix.h"
#include "ops/color_mix.h"
#include "ops/operator.h"
#include "ops/samples.h"

namespace zor {

namespace {

constexpr char rgb_name[] = "rgb color transform operator";
constexpr char xyz_name[] = "xyz color transform operator";

// What the records of the three begin with.
struct TransformHead {
    OperatorHead head;
    int32_t offset = 0, count = 0; // of the active samples
    OwnedCurve input;              // bytes to light of precision + reduction bits
    OwnedCurve output;             // such light to bytes
    ColorMix mix;

    [[nodiscard]] ColorRows colors(void *const *rows) const {
        return {samples<uint8_t>(rows, 0) + offset, samples<uint8_t>(rows, 1) + offset,
                samples<uint8_t>(rows, 2) + offset};
    }
};

template<Tag which>
struct Transform : TransformHead {
    static constexpr Tag tag = which;
    void read(int /*y*/, void **&rows) const { mix_colors(mix, colors(rows), count); }
    void restore(ZOR_IMAGE & /*image*/) const {}
};

struct Luminance : TransformHead {
    static constexpr Tag tag = Tag::rgb_luminance;
    int32_t others = 0;       // matte and auxiliary channels
    Owned<void *> handed_out; // the first row, the others, and the two that count no longer

    void read(int y, void **&rows) const;
    void restore(ZOR_IMAGE &image) const { image.images[0].image.count = 3; }
};

void Luminance::read(int /*y*/, void **&rows) const {
    mix_luminance(mix, colors(rows), count);
    void **to = handed_out.get();
    *to++ = rows[0];
    to = std::copy_n(rows + 3, others, to);
    std::copy_n(rows + 1, 2, to);
    rows = handed_out.get();
}

// The tables -----------------------------------------------------------------------------------

bool is_tabulated(const ZOR_RESPONSE_CURVE &curve) {
    return curve.kind == 2 && curve.tables != nullptr;
}

// A copy of a tabulated curve, or the tables of a power function.
//   power  their exponent, counts, type and depth
bool make_curve(const ZOR_RESPONSE_CURVE &from, ZOR_RESPONSE_CURVE power, ZOR_RESPONSE_CURVE *to) {
    if (is_tabulated(from))
        return ZOR_response_curve_copy(to, &from) == 0;
    if (from.kind != 1)
        return false;
    *to = power;
    return ZOR_response_curve_init(to) == 0;
}

// Whether three channels of so many elements can be looked up.
bool serves(const ZOR_RESPONSE_CURVE &curve, int32_t elements) {
    return curve.type == ZOR_C_INTEGER && (curve.num_channels == 1 || curve.num_channels >= 3) &&
           elements > 0 && curve.num_elements >= elements;
}

// Makes both curves; false when that failed or they do not fit.
//   output_channels  of a tabulated power function
bool make_curves(TransformHead &to, const ZOR_RESPONSE_CURVE &stored,
                 const ZOR_RESPONSE_CURVE &wanted, int32_t output_channels) {
    ZOR_RESPONSE_CURVE &input = to.input.curve;
    ZOR_RESPONSE_CURVE &output = to.output.curve;
    const int32_t depth = resolution_depth();
    if (!make_curve(stored, {2, stored.gamma, 0, 3, 256, ZOR_C_INTEGER, depth, nullptr}, &input) ||
        !serves(input, 256))
        return false;
    const int32_t elements = elements_of_depth(input.depth);
    return make_curve(
               wanted,
               {2, 1.0F / wanted.gamma, 0, output_channels, elements, ZOR_C_INTEGER, 8, nullptr},
               &output) &&
           serves(output, elements) && output.depth == 8;
}

// The matrix ------------------------------------------------------------------------------------

// What is between the image's colours and the wanted ones; false when the image's primaries define
// nothing.
using FindMatrix = bool (*)(const ZOR_IMAGE &image, const ColorMatrices *set, Matrix *matrix);

bool rgb_to_rgb(const ZOR_IMAGE &image, const ColorMatrices *set, Matrix *matrix) {
    Matrix to_xyz;
    if (!rgb_to_xyz(image.primaries, &to_xyz))
        return false;
    *matrix = product(to_xyz, set->from_xyz);
    return true;
}

bool xyz_to_rgb(const ZOR_IMAGE & /*image*/, const ColorMatrices *set, Matrix *matrix) {
    *matrix = set->from_xyz;
    return true;
}

// Leaves its matrices behind for the whole process.
bool rgb_to_luminance(const ZOR_IMAGE &image, const ColorMatrices * /*set*/, Matrix *matrix) {
    ColorMatrices own;
    if (!set_color_matrices(image.primaries, &own))
        return false;
    *matrix = own.to_xyz;
    return true;
}

// In units of 2^-precision, the nearest ones.
void set_matrix(ColorMix *mix, const Matrix &matrix) {
    constexpr double low = std::numeric_limits<int32_t>::min();
    constexpr double high = std::numeric_limits<int32_t>::max();
    std::transform(matrix.begin(), matrix.end(), mix->matrix.begin(), [&](double value) {
        // A matrix is of floats, whatever it was made of.
        const auto entry = static_cast<double>(static_cast<float>(value));
        const double scaled = std::round(std::ldexp(entry, mix->precision));
        return static_cast<int32_t>(std::clamp(scaled, low, high));
    });
}

// Pushing ---------------------------------------------------------------------------------------

// All that the three do alike; false when nothing is to be pushed.
bool prepare(TransformHead &to, const ZOR_IMAGE &image, const ZOR_RESPONSE_CURVE &wanted,
             int32_t output_channels, const ColorMatrices *set, FindMatrix find_matrix) {
    const ZOR_IMAGE_DESC &desc = image.images[0];
    const ActivePart part = active_part(desc);
    to.offset = part.offset;
    to.count = part.count;
    Matrix matrix;
    if (!make_curves(to, desc.curve, wanted, output_channels) || !find_matrix(image, set, &matrix))
        return false;
    const int32_t depth = to.input.curve.depth;
    to.mix.precision = std::min(depth, most_precision);
    to.mix.reduction = depth - to.mix.precision;
    if (to.mix.reduction > 0)
        ERR_report_cat(zor__msg_cat, ZOR_MSG_PRECISION, most_precision);
    set_matrix(&to.mix, matrix);
    return prepare_mix(&to.mix, to.input.curve, to.output.curve);
}

bool can_transform(const ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve, const char *name) {
    return can_correct(image, curve, name) && reads(*image) && image->images[0].image.count == 3;
}

template<Tag tag>
ZOR_IMAGE *push_transform(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve, const char *name,
                          int32_t output_channels, const ColorMatrices &set,
                          FindMatrix find_matrix) {
    if (!can_transform(image, curve, name))
        return image;
    RecordPtr<Transform<tag>> record = new_record<Transform<tag>>();
    if (record == nullptr || !prepare(*record, *image, *curve, output_channels, &set, find_matrix))
        return image;
    return install(image, std::move(record));
}

} // namespace

ZOR_IMAGE *push_rgb_transform(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve,
                              const ColorMatrices &matrices) {
    return push_transform<Tag::rgb_transform>(image, curve, rgb_name, 1, matrices, &rgb_to_rgb);
}

ZOR_IMAGE *push_xyz_transform(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve,
                              const ColorMatrices &matrices) {
    return push_transform<Tag::xyz_transform>(image, curve, xyz_name, 3, matrices, &xyz_to_rgb);
}

} // namespace zor

ZOR_IMAGE *ZOR__rgb_transform(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve) {
    return zor::push_rgb_transform(image, curve, zor::color_matrices());
}
int ZOR__rgb_transform_undo(ZOR_IMAGE *image) {
    return zor::undo<zor::Transform<zor::Tag::rgb_transform>>(image);
}

ZOR_IMAGE *ZOR__xyz_transform(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve) {
    return zor::push_xyz_transform(image, curve, zor::color_matrices());
}
int ZOR__xyz_transform_undo(ZOR_IMAGE *image) {
    return zor::undo<zor::Transform<zor::Tag::xyz_transform>>(image);
}

ZOR_IMAGE *ZOR__rgb_luminance(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve) {
    using namespace zor;
    if (!can_transform(image, curve, rgb_name))
        return image;
    RecordPtr<Luminance> record = new_record<Luminance>();
    if (record == nullptr || !prepare(*record, *image, *curve, 3, nullptr, &rgb_to_luminance))
        return image;
    ZOR_IMAGE_DESC &desc = image->images[0];
    record->others = desc.matte.count + desc.aux.count;
    record->handed_out.reset(allocate<void *>(int64_t{record->others} + 3));
    if (record->handed_out == nullptr) {
        set_status(ZOR_E_MEMORY);
        return image;
    }
    desc.image.count = 1;
    return install(image, std::move(record));
}
int ZOR__rgb_luminance_undo(ZOR_IMAGE *image) { return zor::undo<zor::Luminance>(image); }
