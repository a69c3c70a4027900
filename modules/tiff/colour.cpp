// colour.cpp - gamma, primaries and the shape of pixels between files and handles.
#include "colour.h"

#include <cmath>

#include <zor/fmt.h>

#include "shared/primaries.h"

namespace tiffio {

namespace {

void take(ZOR_IMAGE *image, size_t which, const float *xy) {
    const auto x = static_cast<double>(xy[0]);
    const auto y = static_cast<double>(xy[1]);
    if (driver::is_light(x, y))
        driver::set_primary(image, which, x, y);
}

// Whether a picture's aspect is the one that is assumed where nothing is said.
bool is_assumed(float aspect) {
    const FMT_ASPECT *entry = FMT_find(FMT_def_aspect());
    return entry != nullptr && aspect == entry->aspect;
}

} // namespace

namespace {

// What a transfer function of a power has for a sample: light in 65535ths.
uint16_t light_of(int32_t sample, int32_t largest, double gamma) {
    return static_cast<uint16_t>(
        std::lround(65535.0 * std::pow(static_cast<double>(sample) / largest, gamma)));
}

// The exponent of a transfer function, to three digits; 0 when it is not of a power.
double exponent_of(const uint16_t *table, int32_t largest) {
    const int32_t middle = largest / 2 + 1;
    if (table[middle] == 0 || table[middle] == 65535)
        return 0.0;
    const double exact =
        std::log(table[middle] / 65535.0) / std::log(static_cast<double>(middle) / largest);
    const double gamma = std::round(exact * 1000.0) / 1000.0;
    const int32_t stride = std::max(1, largest / 255);
    for (int32_t i = 0; i <= largest; i += stride)
        if (std::abs(table[i] - light_of(i, largest, gamma)) > 1)
            return 0.0;
    return gamma;
}

bool is_plausible(double gamma) { return gamma >= 0.01 && gamma <= 100.0; }

} // namespace

void read_gamma(const Codec &codec, int32_t bits, ZOR_RESPONSE_CURVE *curve) {
    uint16_t *tables[3] = {};
    if (bits < 2 || bits > 16 ||
        TIFFGetField(codec.tiff, TIFFTAG_TRANSFERFUNCTION, &tables[0], &tables[1], &tables[2]) == 0)
        return;
    const int32_t largest = (1 << bits) - 1;
    const double gamma = exponent_of(tables[0], largest);
    for (const uint16_t *table : tables)
        if (table != nullptr && exponent_of(table, largest) != gamma)
            return;
    if (is_plausible(gamma)) {
        curve->kind = 1;
        curve->gamma = static_cast<float>(gamma);
    }
}

// A gamma that files are assumed to have when they state none is not stated: a picture that came
// without one does not leave with a claim.
bool write_gamma(Codec &codec, int32_t bits) {
    const ZOR_IMAGE_DESC &desc = codec.image->images[0];
    const auto gamma = static_cast<double>(desc.curve.gamma);
    if (desc.image.type != ZOR_C_INTEGER || bits < 2 || bits > 16 || desc.curve.kind != 1 ||
        desc.curve.gamma == FMT_def_input_gamma() || !is_plausible(gamma))
        return true;
    const int32_t entries = 1 << bits;
    auto *table = static_cast<uint16_t *>(driver::allocate(entries * int64_t{sizeof(uint16_t)}));
    if (table == nullptr)
        return driver::refuse(codec.trouble, driver::Cause::memory, "");
    for (int32_t i = 0; i < entries; ++i)
        table[i] = light_of(i, entries - 1, gamma);
    const bool written =
        TIFFSetField(codec.tiff, TIFFTAG_TRANSFERFUNCTION, table, table, table) != 0;
    ERR_free(table);
    return written;
}

void read_primaries(Codec &codec) {
    float *xy = nullptr;
    if (TIFFGetField(codec.tiff, TIFFTAG_PRIMARYCHROMATICITIES, &xy) != 0)
        for (size_t i = 0; i < 3; ++i)
            take(codec.image, i, xy + 2 * i);
    if (TIFFGetField(codec.tiff, TIFFTAG_WHITEPOINT, &xy) != 0)
        take(codec.image, 3, xy);
}

double pixel_aspect(const Codec &codec) {
    float across = 0; // pixels in a unit of length
    float down = 0;
    if (TIFFGetField(codec.tiff, TIFFTAG_XRESOLUTION, &across) == 0 ||
        TIFFGetField(codec.tiff, TIFFTAG_YRESOLUTION, &down) == 0 || !(across > 0) || !(down > 0))
        return 1.0;
    const double aspect = static_cast<double>(down) / static_cast<double>(across);
    return aspect >= 0.01 && aspect <= 100.0 ? aspect : 1.0;
}

bool write_primaries(Codec &codec) {
    if (!driver::states_primaries(*codec.image))
        return true;
    float xy[8];
    for (size_t i = 0; i < 4; ++i)
        std::copy_n(driver::primary(codec.image, i), 2, &xy[2 * i]);
    return TIFFSetField(codec.tiff, TIFFTAG_PRIMARYCHROMATICITIES, xy) != 0 &&
           TIFFSetField(codec.tiff, TIFFTAG_WHITEPOINT, &xy[6]) != 0;
}

// Resolutions without a unit tell the shape of pixels and nothing else.
bool write_pixel_aspect(Codec &codec) {
    const ZOR_IMAGE_DESC &desc = codec.image->images[0];
    const double aspect = static_cast<double>(desc.picture_aspect) * driver::window_height(desc) /
                          driver::window_width(desc);
    const bool square = std::fabs(aspect - 1.0) < 1e-4;
    if (is_assumed(desc.picture_aspect) || square || !(aspect >= 0.01 && aspect <= 100.0))
        return true;
    return TIFFSetField(codec.tiff, TIFFTAG_XRESOLUTION, 1.0) != 0 &&
           TIFFSetField(codec.tiff, TIFFTAG_YRESOLUTION, aspect) != 0 &&
           TIFFSetField(codec.tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE) != 0;
}

} // namespace tiffio
