// options.cpp - what an application may choose for files that are written.
#include "options.h"

#include <iterator>

#include <tiff.h>

namespace tiffio {

namespace {

// All choices are integers and so share the code 0; their values tell them apart.
constexpr int32_t integer_code = 0;
enum : uint16_t { no_compression, packbits, lzw, deflate, straight = 16, premultiplied };

constexpr ZOR_CAP_ENTRY entry(uint16_t value, const char *name) {
    return {value, 0, name, 0, 0, nullptr};
}

// The library counts the entries of lists and keeps the availability in the capabilities.
ZOR_CAP_ENTRY compressions[] = {entry(no_compression, "none"), entry(packbits, "packbits"),
                                entry(lzw, "lzw"), entry(deflate, "deflate"), entry(0, nullptr)};
ZOR_CAP_ENTRY alphas[] = {entry(straight, "unassociated"), entry(premultiplied, "associated"),
                          entry(0, nullptr)};
ZOR_CAP_LIST compression_list = {lzw, 0, 0, compressions};
ZOR_CAP_LIST alpha_list = {straight, 0, 0, alphas};
ZOR_CAPABILITY descriptors[] = {
    {integer_code, "compression", 0, 0, nullptr, 0, {}, &compression_list, 0},
    {integer_code, "alpha", 0, 0, nullptr, 0, {}, &alpha_list, 0},
};

// False for a value that is none of the driver's.
bool apply(int32_t value, Options *options) {
    switch (value) {
    case no_compression:
        options->compression = COMPRESSION_NONE;
        break;
    case packbits:
        options->compression = COMPRESSION_PACKBITS;
        break;
    case lzw:
        options->compression = COMPRESSION_LZW;
        break;
    case deflate:
        options->compression = COMPRESSION_ADOBE_DEFLATE;
        break;
    case straight:
        options->alpha = EXTRASAMPLE_UNASSALPHA;
        return true;
    case premultiplied:
        options->alpha = EXTRASAMPLE_ASSOCALPHA;
        return true;
    default:
        return false;
    }
    options->compression_name = compressions[value].name;
    return true;
}

} // namespace

void capabilities(ZOR_CAPABILITY **list, int32_t *first, int32_t *second, int32_t *count) {
    *list = descriptors;
    *first = 0;
    *second = 0;
    *count = static_cast<int32_t>(std::size(descriptors));
}

int32_t choose(const ZOR_IMAGE *image, Options *options) {
    for (const ZOR_CAP_LIST *list : {&compression_list, &alpha_list})
        apply(list->default_value, options);
    for (ZOR_CAP_SETTING *const *setting = image->cap_settings;
         setting != nullptr && *setting != nullptr; ++setting)
        if ((*setting)->code != integer_code || !apply((*setting)->value.number, options))
            return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, image->key);
    return 0;
}

} // namespace tiffio
