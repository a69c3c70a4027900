// colour.cpp - gamma and primaries between files and handles.
#include "colour.h"

#include <cmath>

#include <zor/fmt.h>

#include "shared/primaries.h"

namespace pngio {

namespace {

// Files hold both in hundred thousandths.
constexpr double unit = 100000.0;

// The inverse of a stored exponent. The file's five digits make 2.19998 of 2.2, so the roundest
// number that is stored like that is taken for the one that was meant.
float gamma_of(png_fixed_point stored) {
    const double exact = unit / stored;
    const double round = std::round(exact * 1000.0) / 1000.0;
    const bool same = round > 0.0 && std::lround(unit / round) == stored;
    return static_cast<float>(same ? round : exact);
}

} // namespace

void read_colour(Codec &codec, ZOR_IMAGE_DESC *desc) {
    int intent = 0;
    png_fixed_point stored = 0;
    if (png_get_sRGB(codec.png, codec.info, &intent) != 0) {
        desc->curve.kind = 1;
        desc->curve.gamma = 2.2F;
    } else if (png_get_gAMA_fixed(codec.png, codec.info, &stored) != 0 && stored > 0) {
        desc->curve.kind = 1;
        desc->curve.gamma = gamma_of(stored);
    }

    // For a picture marked as sRGB these are that space's.
    png_fixed_point xy[8]; // white, red, green, blue
    if (png_get_cHRM_fixed(codec.png, codec.info, &xy[0], &xy[1], &xy[2], &xy[3], &xy[4], &xy[5],
                           &xy[6], &xy[7]) == 0)
        return;
    for (size_t i = 0; i < 4; ++i) {
        const png_fixed_point *from = &xy[(2 * i + 2) % 8]; // handles have the white point last
        driver::set_primary(codec.image, i, from[0] / unit, from[1] / unit);
    }
}

void write_colour(Codec &codec, const ZOR_IMAGE_DESC &desc) {
    const auto fixed = [](double value) {
        return static_cast<png_fixed_point>(std::lround(value * unit));
    };
    // Curves of tables have no place in the file. A gamma that files are assumed to have when they
    // state none is not stated: a picture that came without one does not leave with a claim.
    const float gamma = desc.curve.gamma;
    if (desc.curve.kind == 1 && gamma >= 0.01F && gamma <= 100.0F && gamma != FMT_def_input_gamma())
        png_set_gAMA_fixed(codec.png, codec.info, fixed(1.0 / static_cast<double>(gamma)));

    const float *p = codec.image->primaries;
    if (driver::states_primaries(*codec.image))
        png_set_cHRM_fixed(codec.png, codec.info, fixed(p[9]), fixed(p[10]), fixed(p[0]),
                           fixed(p[1]), fixed(p[3]), fixed(p[4]), fixed(p[6]), fixed(p[7]));
}

} // namespace pngio
