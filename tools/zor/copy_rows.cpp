// copy_rows.cpp - rows go straight over where both ends can agree on an order; otherwise the whole
// picture is held in memory and turned around, and then written in one piece where that can be
// done.
#include "copy_rows.h"

#include <algorithm>
#include <cstring>
#include <memory>
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
    // A picture in memory: lines from the bottom up, each the output's channels in turn. It is
    // touched as lines arrive: many files claim more than they hold.
    struct Picture {
        std::unique_ptr<unsigned char[]> memory;
        std::vector<size_t> row_sizes; // rounded up so that the next row is aligned
        size_t line = 0;               // bytes

        [[nodiscard]] unsigned char *at(int64_t row) const {
            return memory.get() + line * static_cast<size_t>(row);
        }
    };

    // Rows are counted in the order of one end, from 0 on.
    bool read(int64_t step, bool rising);
    bool write(int64_t step);
    [[nodiscard]] Picture new_picture() const;
    int write_whole(const Picture &picture);
    ExitCode write_picture(const Picture &picture);
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

// Bytes of a channel's row.
size_t RowCopier::row_bytes(int32_t channel) const {
    const ZOR_CHANNELS *group = &in_.image;
    for (; channel >= group->count && group != &in_.aux; ++group)
        channel -= group->count;
    return static_cast<size_t>(width_ * ZOR_sample_size(group->type, group->bits));
}

RowCopier::Picture RowCopier::new_picture() const {
    Picture picture;
    for (const int32_t channel : channels_)
        picture.line += picture.row_sizes.emplace_back((row_bytes(channel) + 7) / 8 * 8);
    if (static_cast<uint64_t>(height_) > SIZE_MAX / 2 / std::max<size_t>(picture.line, 1))
        throw std::bad_alloc();
    picture.memory = std::make_unique_for_overwrite<unsigned char[]>(picture.line *
                                                                     static_cast<size_t>(height_));
    return picture;
}

// Writes a picture in one call, which threads share. Returns its status.
int RowCopier::write_whole(const Picture &picture) {
    reports_.about(output_.name, output_.alias);
    std::vector<ZOR_PLANE> planes;
    unsigned char *from = picture.at(0);
    for (const size_t size : picture.row_sizes) {
        planes.push_back({from, 0, static_cast<ZOR_WORD>(picture.line)});
        from += size;
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

ExitCode RowCopier::write_picture(const Picture &picture) {
    if (const int status = write_whole(picture); status != ZOR_E_UNSUPPORTED) {
        if (status != 0)
            reports_.explain(status);
        return status != 0 ? EXIT_OUTPUT_FAILED : EXIT_FINE;
    }
    for (int64_t step = 0; step < height_; ++step) {
        if (interrupted())
            return EXIT_INTERRUPTED;
        unsigned char *from = picture.at(from_bottom(step, rises(out_)));
        for (size_t k = 0; k < channels_.size(); from += picture.row_sizes[k++])
            rows_[k] = from;
        if (!write(step))
            return EXIT_OUTPUT_FAILED;
    }
    return EXIT_FINE;
}

ExitCode RowCopier::turned() {
    const Picture picture = new_picture();
    for (int64_t step = 0; step < height_; ++step) {
        if (interrupted())
            return EXIT_INTERRUPTED;
        if (!read(step, rises(in_)))
            return EXIT_INPUT_FAILED;
        unsigned char *to = picture.at(from_bottom(step, rises(in_)));
        for (size_t k = 0; k < channels_.size(); to += picture.row_sizes[k++])
            std::memcpy(to, rows_[k], row_bytes(channels_[k]));
    }
    return write_picture(picture);
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
