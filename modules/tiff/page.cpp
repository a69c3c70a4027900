// page.cpp - finding out what a page holds. Everything a file says about sizes is checked here.
#include "page.h"

#include "colour.h"

using driver::Cause;

namespace tiffio {

namespace {

uint16_t field(TIFF *tiff, uint32_t tag) {
    uint16_t value = 0;
    TIFFGetFieldDefaulted(tiff, tag, &value);
    return value;
}

bool unsupported(Codec &codec, const char *reason) {
    return driver::refuse(codec.trouble, Cause::unsupported, reason);
}

bool damaged(Codec &codec, const char *reason) {
    return driver::refuse(codec.trouble, Cause::data, reason);
}

bool find_size(Codec &codec, Page *page) {
    uint32_t width = 0;
    uint32_t height = 0;
    TIFFGetField(codec.tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(codec.tiff, TIFFTAG_IMAGELENGTH, &height);
    if (width == 0 || height == 0)
        return damaged(codec, "the size of the picture is missing");
    if (width > INT32_MAX || height > INT32_MAX)
        return unsupported(codec, "the picture is too large");
    page->width = static_cast<int32_t>(width);
    page->height = static_cast<int32_t>(height);
    return true;
}

bool find_samples(Codec &codec, Page *page) {
    page->samples = field(codec.tiff, TIFFTAG_SAMPLESPERPIXEL);
    page->bits = field(codec.tiff, TIFFTAG_BITSPERSAMPLE);
    const uint16_t format = field(codec.tiff, TIFFTAG_SAMPLEFORMAT);
    const bool integers = format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID;
    if (integers && ((page->bits >= 1 && page->bits <= 16) || page->bits == 32))
        page->type = ZOR_C_INTEGER;
    else if (format == SAMPLEFORMAT_IEEEFP && (page->bits == 32 || page->bits == 64))
        page->type = page->bits == 32 ? ZOR_C_FLOAT : ZOR_C_DOUBLE;
    else
        return unsupported(codec, "samples of this type or width are not supported");
    return true;
}

// Schemes that lose nothing, and one whose losses are seen in its pictures only. The others either
// need all of a file in memory or are hardly ever met.
bool is_known_compression(uint16_t scheme) {
    switch (scheme) {
    case COMPRESSION_NONE:
    case COMPRESSION_PACKBITS:
    case COMPRESSION_LZW:
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_CCITTRLE:
    case COMPRESSION_CCITTRLEW:
    case COMPRESSION_CCITTFAX3:
    case COMPRESSION_CCITTFAX4:
    case COMPRESSION_JPEG:
    case COMPRESSION_ZSTD:
        return TIFFIsCODECConfigured(scheme) != 0;
    default:
        return false;
    }
}

// Entries may have 8 significant bits, in one byte of each or the same in both, or 16.
void find_palette_bits(Page *page) {
    bool low = true;
    bool high = true;
    const int32_t entries = 1 << page->bits;
    for (const uint16_t *map : page->palette)
        for (int32_t i = 0; i < entries; ++i) {
            low = low && map[i] < 256;
            high = high && ((map[i] & 0xFF) == 0 || (map[i] & 0xFF) == map[i] >> 8);
        }
    page->palette_bits = low || high ? 8 : 16;
    page->palette_shift = high && !low ? 8 : 0;
}

bool find_palette(Codec &codec, Page *page) {
    uint16_t *maps[3] = {};
    if (page->type != ZOR_C_INTEGER || page->bits > 16)
        return unsupported(codec, "palettes of this size are not supported");
    if (TIFFGetField(codec.tiff, TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) == 0)
        return damaged(codec, "the palette is missing");
    for (int i = 0; i < 3; ++i)
        page->palette[i] = maps[i];
    find_palette_bits(page);
    return true;
}

bool find_colours(Codec &codec, Page *page) {
    const uint16_t scheme = field(codec.tiff, TIFFTAG_COMPRESSION);
    if (!is_known_compression(scheme))
        return unsupported(codec, "its compression is not supported");
    uint16_t photometric = page->samples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    TIFFGetField(codec.tiff, TIFFTAG_PHOTOMETRIC, &photometric);
    page->colours = photometric == PHOTOMETRIC_RGB || photometric == PHOTOMETRIC_YCBCR ? 3 : 1;
    switch (photometric) {
    case PHOTOMETRIC_MINISWHITE:
        page->inverted = true;
        if (page->type != ZOR_C_INTEGER)
            return unsupported(codec, "floats of which 0 is white are not supported");
        break;
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MASK:
    case PHOTOMETRIC_RGB:
        break;
    case PHOTOMETRIC_PALETTE:
        if (!find_palette(codec, page))
            return false;
        break;
    case PHOTOMETRIC_YCBCR:
        if (scheme == COMPRESSION_JPEG && page->samples == 3 &&
            TIFFSetField(codec.tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB) != 0)
            break;
        [[fallthrough]];
    default:
        return unsupported(codec, "its colour space is not supported");
    }
    return page->samples >= page->colours || damaged(codec, "it has fewer samples than colours");
}

// Samples marked as coverage are mattes, up to the first that is not. Many programs do not mark
// their only one.
void find_mattes(Codec &codec, Page *page) {
    uint16_t count = 0;
    const uint16_t *kinds = nullptr;
    TIFFGetFieldDefaulted(codec.tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds);
    const int32_t extra = page->samples - page->colours;
    while (page->mattes < extra && page->mattes < count &&
           (kinds[page->mattes] == EXTRASAMPLE_ASSOCALPHA ||
            kinds[page->mattes] == EXTRASAMPLE_UNASSALPHA))
        ++page->mattes;
    if (page->mattes == 0 && extra > 0)
        page->mattes = 1;
}

bool find_orientation(Codec &codec, Page *page) {
    const uint16_t orientation = field(codec.tiff, TIFFTAG_ORIENTATION);
    page->mirrored = orientation == ORIENTATION_TOPRIGHT || orientation == ORIENTATION_BOTRIGHT;
    page->rising = orientation == ORIENTATION_BOTLEFT || orientation == ORIENTATION_BOTRIGHT;
    return orientation <= ORIENTATION_BOTLEFT ||
           unsupported(codec, "pictures that lie on their side are not supported");
}

bool find_blocks(Codec &codec, Page *page) {
    TIFF *tiff = codec.tiff;
    uint32_t width = static_cast<uint32_t>(page->width);
    uint32_t height = 0;
    page->planar = field(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE && page->samples > 1;
    page->tiled = TIFFIsTiled(tiff) != 0;
    if (page->tiled) {
        TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &width);
        TIFFGetField(tiff, TIFFTAG_TILELENGTH, &height);
        page->block_bytes = TIFFTileSize(tiff);
        page->line_bytes = TIFFTileRowSize(tiff);
    } else {
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &height);
        height = std::min(height, static_cast<uint32_t>(page->height));
        page->block_bytes = TIFFStripSize(tiff);
        page->line_bytes = TIFFScanlineSize(tiff);
    }
    if (width == 0 || width > INT32_MAX || height == 0 || height > INT32_MAX)
        return damaged(codec, "the size of its tiles or strips is wrong");
    page->block_width = static_cast<int32_t>(width);
    page->block_height = static_cast<int32_t>(height);
    // Rows are taken apart by these numbers: they must be what libtiff goes by.
    const double bits = static_cast<double>(width) * page->bits *
                        (page->planar ? 1.0 : static_cast<double>(page->samples));
    return (8.0 * static_cast<double>(page->line_bytes) >= bits &&
            static_cast<double>(page->line_bytes) * height <=
                static_cast<double>(page->block_bytes)) ||
           damaged(codec, "its tiles or strips are not what the header announces");
}

bool find_out(Codec &codec, Page *page) {
    return find_size(codec, page) && find_samples(codec, page) && find_colours(codec, page) &&
           find_orientation(codec, page) && find_blocks(codec, page);
}

} // namespace

int32_t enter_page(Codec &codec, int64_t directory, Page *page) {
    *page = {};
    const bool entered = run(codec, [&] {
        return TIFFSetSubDirectory(codec.tiff, static_cast<uint64_t>(directory)) != 0 &&
               find_out(codec, page);
    });
    if (!entered)
        return driver::fail_open(*codec.image, codec.trouble);
    find_mattes(codec, page);

    // A line is held as it is in the file and as it is handed out.
    const double samples = static_cast<double>(page->width) * channels(*page);
    const double bytes = samples * ZOR_sample_size(page->type, page->bits);
    const double shown = page->palette_bits > 8 ? 2 * samples : bytes;
    const double needed =
        shown + static_cast<double>(page->line_bytes) * blocks_across(*page) * planes(*page);
    if (shown > static_cast<double>(driver::largest_row) ||
        needed > static_cast<double>(codec.allowance))
        return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
    return 0;
}

void describe(const Codec &codec, const Page &page, ZOR_IMAGE_DESC *desc) {
    const bool palette = page.palette[0] != nullptr;
    zor__describe(desc, page.width, page.height, palette ? 3 : page.colours,
                  palette ? page.palette_bits : page.bits);
    desc->image.type = page.type;
    const int32_t aux = page.samples - page.colours - page.mattes;
    if (page.mattes > 0)
        desc->matte = {page.mattes, page.type, page.bits};
    if (aux > 0)
        desc->aux = {aux, page.type, page.bits};
    if (page.rising)
        desc->orientation |= ZOR_ORIENTATION_RISING;
    desc->picture_width = page.width;
    desc->picture_height = page.height;
    if (page.type == ZOR_C_INTEGER && !palette && !page.inverted)
        read_gamma(codec, page.bits, &desc->curve);
    desc->picture_aspect = static_cast<float>(pixel_aspect(codec) * page.width / page.height);
}

} // namespace tiffio
