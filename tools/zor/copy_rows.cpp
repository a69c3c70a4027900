// copy_rows.cpp - rows go straight over where both ends can agree on an order; otherwise the whole
// picture is held in memory and turned around, and then written in one piece where that can be done.
#include "copy_rows.h"

#include <cstring>
#include <new>

#include "interrupt.h"

namespace zor {

namespace {

bool rises(const ZOR_IMAGE_DESC &desc) { return (desc.orientation & ZOR_ORIENTATION_RISING) != 0; }

class RowCopier {
public:
    RowCopier(const End &input, const End &output, const std::vector<int32_t> &channels,
              int threads, Reports &reports)
        : input_(input),
          output_(output),
          channels_(channels),
          threads_(threads),
          reports_(reports),
          in_(*ZOR_image_desc(input.image, 0)),
          out_(*ZOR_image_desc(output.image, 0)),
          height_(int64_t{in_.win_top} - in_.win_bottom + 1),
          width_(int64_t{in_.win_right} - in_.win_left + 1),
          rows_(channels.size() + 1) {}

    ExitCode straight();
    ExitCode turned();

private:
    // Rows are counted in the order of one end, from 0 on.
    bool read(int64_t step, bool rising);
    bool write(int64_t step);
    int write_whole(unsigned char *picture, const std::vector<size_t> &sizes, size_t line);
    [[nodiscard]] int64_t from_bottom(int64_t step, bool rising) const {
        return rising ? step : height_ - 1 - step;
    }
    [[nodiscard]] size_t row_bytes(int32_t channel) const;

    const End &input_;
    const End &output_;
    const std::vector<int32_t> &channels_;
    int threads_;
    Reports &reports_;
    const ZOR_IMAGE_DESC &in_;
    const ZOR_IMAGE_DESC &out_;
    int64_t height_;
    int64_t width_;
    std::vector<void *> rows_; // of the output's channels, and a null
};

bool RowCopier::read(int64_t step, bool rising) {
    reports_.about(input_.name, input_.alias);
    const auto y = static_cast<int32_t>(in_.win_bottom + from_bottom(step, rising));
    void **rows = nullptr;
    if (const int status = ZOR_scan_read(input_.image, y, &rows); status != 0)
        return reports_.explain(status), false;
    for (size_t k = 0; k < channels_.size(); ++k)
        rows_[k] = rows[channels_[k]];
    return true;
}

bool RowCopier::write(int64_t step) {
    reports_.about(output_.name, output_.alias);
    const auto y = static_cast<int32_t>(out_.win_bottom + from_bottom(step, rises(out_)));
    if (const int status = ZOR_scan_write(output_.image, y, rows_.data()); status != 0)
        return reports_.explain(status), false;
    return true;
}

ExitCode RowCopier::straight() {
    for (int64_t step = 0; step < height_; ++step) {
        if (interrupted())
            return EXIT_INTERRUPTED;
        if (!read(step, rises(out_)))
            return EXIT_INPUT_FAILED;
        if (!write(step))
            return EXIT_OUTPUT_FAILED;
    }
    return EXIT_FINE;
}

// Bytes a channel's row takes in memory, rounded up so that the next one is aligned.
size_t RowCopier::row_bytes(int32_t channel) const {
    const ZOR_CHANNELS *group = &in_.image;
    for (; channel >= group->count && group != &in_.aux; ++group)
        channel -= group->count;
    const int64_t bytes = width_ * ZOR_sample_size(group->type, group->bits);
    return static_cast<size_t>((bytes + 7) / 8 * 8);
}

// Writes a picture in memory, rows in the output's order, in one call. Returns its status.
int RowCopier::write_whole(unsigned char *picture, const std::vector<size_t> &sizes, size_t line) {
    reports_.about(output_.name, output_.alias);
    const bool rising = rises(out_);
    unsigned char *bottom = rising ? picture : picture + line * static_cast<size_t>(height_ - 1);
    const auto up = static_cast<ZOR_WORD>(line);
    std::vector<ZOR_PLANE> planes;
    for (const size_t size : sizes) {
        planes.push_back({bottom, 0, rising ? up : -up});
        bottom += size;
    }
    ZOR_RASTER raster = {};
    raster.left = out_.win_left;
    raster.right = out_.win_right;
    raster.bottom = out_.win_bottom;
    raster.top = out_.win_top;
    raster.num_threads = threads_;
    raster.num_planes = static_cast<int32_t>(planes.size());
    raster.planes = planes.data();
    return ZOR_raster_write(output_.image, &raster);
}

ExitCode RowCopier::turned() {
    std::vector<size_t> sizes;
    uint64_t line = 0;
    for (const int32_t channel : channels_)
        line += sizes.emplace_back(row_bytes(channel));
    const uint64_t total = line * static_cast<uint64_t>(height_);
    if (total > SIZE_MAX / 2)
        throw std::bad_alloc();
    std::vector<unsigned char> picture(static_cast<size_t>(total));

    const auto row = [&](int64_t step) { // in the output's order
        return picture.data() + static_cast<size_t>(line) * static_cast<size_t>(step);
    };
    for (int64_t step = 0; step < height_; ++step) {
        if (interrupted())
            return EXIT_INTERRUPTED;
        if (!read(step, rises(in_)))
            return EXIT_INPUT_FAILED;
        unsigned char *to = row(height_ - 1 - step);
        for (size_t k = 0; k < sizes.size(); to += sizes[k++])
            std::memcpy(to, rows_[k], sizes[k]);
    }
    if (const int status = write_whole(picture.data(), sizes, static_cast<size_t>(line));
        status != ZOR_E_UNSUPPORTED) {
        if (status != 0)
            reports_.explain(status);
        return status != 0 ? EXIT_OUTPUT_FAILED : EXIT_FINE;
    }
    for (int64_t step = 0; step < height_; ++step) {
        if (interrupted())
            return EXIT_INTERRUPTED;
        unsigned char *from = row(step);
        for (size_t k = 0; k < sizes.size(); from += sizes[k++])
            rows_[k] = from;
        if (!write(step))
            return EXIT_OUTPUT_FAILED;
    }
    return EXIT_FINE;
}

} // namespace

ExitCode copy_rows(const End &input, const End &output, const std::vector<int32_t> &channels,
                   bool any_order, int threads, Reports &reports) {
    RowCopier copier(input, output, channels, threads, reports);
    const bool agreed = any_order || rises(*ZOR_image_desc(input.image, 0)) ==
                                         rises(*ZOR_image_desc(output.image, 0));
    return agreed ? copier.straight() : copier.turned();
}

} // namespace zor
