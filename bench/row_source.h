// row_source.h - an open image whose rows come from memory, for benchmarks of operators.
//
// What is read comes from a few lines of a picture, copied each time, so that rows stay near the
// processor as decoded ones do and operators may convert them in place. A source without operators
// shows what that costs: "driver alone".
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/handle.h"
#include "frames.h"
#include "zor/driver.h"
#include "zor/str.h"

namespace bench {

class RowSource {
public:
    // Mattes are of the colours' type. Colours go round the picture's channels.
    RowSource(Picture picture, const Size &size, const ZOR_CHANNELS &colours, int32_t mattes,
              const char *format)
        : image_(zor::new_handle(ZOR_MODE_READ)) {
        zor__build_handle(image_, 1);
        ZOR_IMAGE_DESC &desc = image_->images[0];
        zor__describe(&desc, size.width, size.height, 3, 8);
        ERR_free(desc.chan_format);
        desc.chan_format = STR_save(format);
        desc.image = colours;
        desc.matte = {mattes, colours.type, colours.bits};
        desc.curve = {1, 2.2F, 0, 0, 0, 0, 0, nullptr};
        static constexpr float primaries[12] = {0.64F, 0.33F, 0, 0.3F,    0.6F,   0,
                                                0.15F, 0.06F, 0, 0.3127F, 0.329F, 0};
        std::copy_n(primaries, 12, image_->primaries);
        num_rows_ = colours.count + mattes;
        row_bytes_ = static_cast<size_t>(size.width) *
                     static_cast<size_t>(ZOR_sample_size(colours.type, colours.bits));
        frame_bytes_ = row_bytes_ * static_cast<size_t>(num_rows_ * size.height);
        rows_ = zor__chan_alloc(&desc, size.width, "bench");
        for (int32_t i = 0; i < num_lines; ++i) {
            const auto line =
                make_line(picture, colours.bits, i * (size.height / num_lines), size.width);
            for (int32_t k = 0; k < num_rows_; ++k) {
                const auto *from =
                    line.data() + static_cast<size_t>(k % Frame::channels) * row_bytes_;
                lines_.insert(lines_.end(), from, from + row_bytes_);
            }
        }
        image_->data[0] = this;
        image_->scan = &scan_line;
        image_->close = [](ZOR_IMAGE *) { return 0; };
    }
    ~RowSource() {
        image_->close(image_);
        zor::discard_handle(image_);
        zor__chan_free(rows_);
    }
    RowSource(const RowSource &) = delete;
    RowSource &operator=(const RowSource &) = delete;

    [[nodiscard]] ZOR_IMAGE *image() const { return image_; }
    [[nodiscard]] size_t frame_bytes() const { return frame_bytes_; } // without operators
    [[nodiscard]] bool has_operators() const { return image_->driver_state != nullptr; }

    // All lines through whatever operators there are, in the order of the file.
    void read() const {
        const ZOR_IMAGE_DESC &desc = *ZOR_image_desc(image_, 0);
        for (int32_t y = desc.win_top; y >= desc.win_bottom; --y) {
            void **rows = nullptr;
            if (ZOR_scan_read(image_, y, &rows) < 0)
                std::abort();
            benchmark::ClobberMemory();
        }
    }

private:
    static constexpr int32_t num_lines = 16;

    static int scan_line(void *data, int y, void **rows) {
        const auto *source = static_cast<RowSource *>(data);
        const auto bytes = source->row_bytes_;
        const auto count = static_cast<size_t>(source->num_rows_);
        const auto line = static_cast<size_t>(y % num_lines) * count;
        for (size_t k = 0; k < count; ++k)
            std::memcpy(source->rows_[k], source->lines_.data() + (line + k) * bytes, bytes);
        *reinterpret_cast<void ***>(rows) = source->rows_;
        return 0;
    }

    ZOR_IMAGE *image_;
    int32_t num_rows_ = 0;
    size_t row_bytes_ = 0;
    size_t frame_bytes_ = 0;
    void **rows_ = nullptr;
    std::vector<uint8_t> lines_; // line by line, row by row
};

} // namespace bench
