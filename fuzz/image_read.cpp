// image_read.cpp - any bytes can be opened as a file of a format and read in any order: the reader
// neither crashes nor takes more memory than it may, and what fails says why.
//
// FUZZ_KEY is the format; its reader may have FUZZ_MEGABYTES and FUZZ_RATIO times the size of the
// file.
#include <algorithm>
#include <vector>

#include "format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

constexpr char key[] = FUZZ_KEY;

// Touches every sample, so that rows that are too short are noticed.
void use_rows(const ZOR_IMAGE_DESC &desc, void **rows) {
    const auto width = static_cast<size_t>(desc.win_right - desc.win_left + 1);
    for (const ZOR_CHANNELS &group : {desc.image, desc.matte, desc.aux})
        for (int32_t i = 0; i < group.count; ++i, ++rows) {
            auto *bytes = static_cast<uint8_t *>(*rows);
            const auto sample = static_cast<size_t>(ZOR_sample_size(group.type, group.bits));
            for (size_t k = 0; k < width * sample; ++k)
                bytes[k] ^= 0xFF;
        }
}

constexpr int64_t most_planes = 64;

// Reads some scanlines of all sub-images, in an order that the input gives. Returns the handle,
// which may be another or null after a seek.
ZOR_IMAGE *read_image(ZOR_IMAGE *image, const uint8_t *data, size_t size) {
    constexpr int most_scans = 200;
    constexpr int64_t most_samples = 1 << 21; // rows of a small file may be very long
    int64_t samples = 0;
    uint32_t state = 1;
    for (int i = 0; i < most_scans && samples < most_samples && image != nullptr; ++i) {
        state = state * 1664525U + 1013904223U + data[static_cast<size_t>(i) * 7919U % size];
        const auto k =
            static_cast<int32_t>((state >> 8) % static_cast<uint32_t>(image->num_images));
        const ZOR_IMAGE_DESC &desc = image->images[k];
        const auto height = static_cast<uint32_t>(desc.win_top - desc.win_bottom + 1);
        const int y = desc.win_bottom + static_cast<int>((state >> 4) % height);
        samples += (int64_t{desc.win_right} - desc.win_left + 1) *
                   (desc.image.count + desc.matte.count + desc.aux.count);
        void **rows = nullptr;
        watch::reported = false;
        if (state % 16 == 1) {
            check(is_sound(ZOR_seek(&image, y)));
            continue;
        }
        if (image->set_frame != nullptr && state % 8 == 0) {
            const int moved = ZOR_set_frame(image, static_cast<int>(state >> 16) % 4);
            check(is_sound(moved));
            continue;
        }
        const int status = k == 0
                               ? ZOR_scan_read(image, y, &rows)
                               : image->scan(image->data[k], y, reinterpret_cast<void **>(&rows));
        check(is_sound(status) && (status != 0 || !watch::reported));
        if (status == 0)
            use_rows(desc, rows);
    }
    return image;
}

// Reads the first image's lines in one call, as far as they fit some memory, by several threads.
void read_raster(ZOR_IMAGE *image) {
    static std::vector<uint8_t> memory(size_t{1} << 24);
    const ZOR_IMAGE_DESC &desc = image->images[0];
    const int64_t channels = int64_t{desc.image.count} + desc.matte.count + desc.aux.count;
    const int64_t row = (int64_t{desc.win_right} - desc.win_left + 1) * 8;
    const int64_t lines =
        std::min(static_cast<int64_t>(memory.size()) / row / std::max<int64_t>(channels, 1),
                 int64_t{desc.win_top} - desc.win_bottom + 1);
    if (lines < 1 || channels > most_planes)
        return;
    ZOR_PLANE planes[most_planes];
    for (int64_t k = 0; k < channels; ++k)
        planes[k] = {memory.data() + k * row * lines, 0, 0};
    ZOR_RASTER raster = {};
    raster.left = desc.win_left;
    raster.right = desc.win_right;
    raster.bottom = desc.win_bottom;
    raster.top = static_cast<int32_t>(desc.win_bottom + lines - 1);
    raster.num_threads = 2;
    raster.num_planes = static_cast<int32_t>(channels);
    raster.planes = planes;
    watch::reported = false;
    const int status = ZOR_raster_read(image, &raster);
    check(status == 0 || status == ZOR_E_UNSUPPORTED
              ? !watch::reported
              : status < 0 && watch::reported && zor__err == status && raster.lines_done < lines);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    check(start_format<key>());
    const Request request(put_file(data, size), key);
    watch::reported = false;
    const size_t before = watch::used;
    watch::peak = watch::used;
    ZOR_IMAGE *image = ZOR_open(&request, "r");
    check(image != nullptr || (watch::reported && zor__err < 0));
    if (image != nullptr)
        image = read_image(image, data, size);
    if (image != nullptr) {
        read_raster(image);
        ZOR_close(image);
    }
    check(watch::peak - before <= (size_t{FUZZ_MEGABYTES} << 20) + FUZZ_RATIO * size &&
          watch::used == before);
    return 0;
}
