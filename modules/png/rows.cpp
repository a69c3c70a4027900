// rows.cpp - between pixels in a row and a row for each channel.
#include "rows.h"

#include "shared/samples.h"

namespace pngio {

namespace {

template<class Sample>
void unpack(const uint8_t *bytes, int32_t width, int32_t channels, void *const *rows) {
    const size_t step = static_cast<size_t>(channels) * sizeof(Sample);
    for (int32_t k = 0; k < channels; ++k)
        driver::gather<Sample>(bytes + static_cast<size_t>(k) * sizeof(Sample), step, width,
                               rows[k]);
}

} // namespace

void unpack_row(const uint8_t *bytes, int32_t width, int32_t channels, int32_t bits,
                void *const *rows) {
    if (bits > 8)
        unpack<uint16_t>(bytes, width, channels, rows);
    else
        unpack<uint8_t>(bytes, width, channels, rows);
}

void pack_row(const Packing &packing, void *const *rows, uint8_t *bytes) {
    const size_t size = packing.depth > 8 ? 2 : 1;
    const int32_t channels = packing.colours + packing.mattes;
    for (int32_t k = 0; k < channels; ++k)
        driver::scatter_integers(rows[k], packing.width,
                                 k < packing.colours ? packing.colour_bits : packing.matte_bits,
                                 packing.depth, bytes + static_cast<size_t>(k) * size,
                                 static_cast<size_t>(channels) * size);
}

} // namespace pngio
