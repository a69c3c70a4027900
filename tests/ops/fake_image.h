// fake_image.h - an open image without a file, for operators to be pushed onto. What lies in it is
// a function of channel and place; what is written to it can be looked at.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "core/handle.h"
#include "ops/arguments.h"
#include "support/channels.h"
#include "support/report_log.h"
#include "zor/driver.h"
#include "zor/ops.h"
#include "zor/str.h"

// Noise of bytes, for a picture's samples.
inline double noise(int channel, int x, int y) {
    const auto n = static_cast<uint32_t>((y * 256 + x) * 3 + channel);
    return ((n * 2654435761U) ^ (n * 40503U >> 5)) >> 24;
}

class FakeImage {
public:
    // The value of a sample, in the file's own terms.
    using Value = std::function<double(int channel, int x, int y)>;
    using Rows = std::vector<std::vector<double>>;
    // As in records.h: {count, type, bits} of each group.
    struct Groups {
        ZOR_CHANNELS image = integers(3, 8);
        ZOR_CHANNELS matte = none;
        ZOR_CHANNELS aux = none;
    };

    FakeImage(int mode, int width, int height, const Groups &groups, int num_images = 1)
        : image_(zor::new_handle(mode)) {
        zor__build_handle(image_, num_images);
        for (int i = 0; i < num_images; ++i) {
            ZOR_IMAGE_DESC &desc = image_->images[i];
            zor__describe(&desc, width, height, 3, 8);
            set_format("rgb", i);
            desc.image = groups.image;
            desc.matte = groups.matte;
            desc.aux = groups.aux;
            desc.curve = power(1);
            image_->data[i] = states_.emplace_back(std::make_unique<State>(this, desc)).get();
        }
        image_->scan = mode == ZOR_MODE_READ ? &read_line : &write_line;
        image_->close = &close_image;
        constexpr float primaries[] = {0.67F, 0.33F, 0,     0.21F, 0.71F,  0.08F,
                                       0.14F, 0.08F, 0.78F, 0.31F, 0.316F, 0.374F};
        std::copy_n(primaries, 12, image_->primaries);
    }
    ~FakeImage() {
        image_->close(image_); // from the top of the stack down
        EXPECT_TRUE(closed);
        zor::discard_handle(image_);
    }
    FakeImage(const FakeImage &) = delete;
    FakeImage &operator=(const FakeImage &) = delete;

    [[nodiscard]] ZOR_IMAGE *image() const { return image_; }
    [[nodiscard]] ZOR_IMAGE_DESC &desc(int index = 0) const { return image_->images[index]; }

    // Call after changing the description by hand: the rows are made to fit it.
    void settle() {
        for (int i = 0; i < image_->num_images; ++i)
            *states_[static_cast<size_t>(i)] = State(this, desc(i));
    }

    void set_format(const char *format, int index = 0) const {
        ERR_free(desc(index).chan_format);
        desc(index).chan_format = STR_save(format);
    }

    // The row as the stack delivers it; empty when reading failed.
    Rows read(int y) {
        void **rows = nullptr;
        return ZOR_scan_read(image_, y, &rows) < 0 ? Rows() : take(desc(), rows);
    }

    // Hands a row in at the top; what comes out below is in written.
    int write(int y, const Value &row) {
        const RowMemory rows = new_rows(desc());
        fill(desc(), rows.get(), y, row);
        return ZOR_scan_write(image_, y, rows.get());
    }

    // Moves a line of values through the stack, either way.
    Rows pass(int y) {
        if (image_->mode == ZOR_MODE_READ)
            return read(y);
        return write(y, value) < 0 ? Rows() : written;
    }

    Value value = [](int channel, int x, int y) { return (channel * 40 + x + 3 * y) & 255; };
    int fail_at = -1000;    // the line that cannot be moved
    std::vector<int> lines; // moved so far, in this order
    Rows written;           // the line written last
    bool closed = false;

private:
    using RowMemory = std::unique_ptr<void *, void (*)(void **)>;
    static RowMemory new_rows(const ZOR_IMAGE_DESC &desc) {
        const int interleaved = desc.chan_flag == 0 ? std::max(desc.image.count, 1) : 1;
        return {zor__chan_alloc(&desc, width_of(desc) * interleaved, "test"), zor__chan_free};
    }
    static int width_of(const ZOR_IMAGE_DESC &desc) { return desc.win_right - desc.win_left + 1; }

    // Calls a function with each sample of a line; colours may be interleaved in the first row.
    template<class Function>
    static void for_each(const ZOR_IMAGE_DESC &desc, void *const *rows, Function function) {
        for (int k = 0; k < count_rows(desc); ++k)
            with_sample(group_of_row(desc, k), [&]<class Sample>(Sample) {
                const bool interleaved = desc.chan_flag == 0 && k < desc.image.count;
                auto *row = static_cast<Sample *>(rows[interleaved ? 0 : k]);
                for (int x = 0; x < width_of(desc); ++x)
                    function(k, x, row[interleaved ? x * desc.image.count + k : x]);
            });
    }
    static Rows take(const ZOR_IMAGE_DESC &desc, void *const *rows) {
        Rows result(count_rows(desc));
        for_each(desc, rows, [&](int k, int, auto sample) {
            result[k].push_back(static_cast<double>(sample));
        });
        return result;
    }
    static void fill(const ZOR_IMAGE_DESC &desc, void *const *rows, int y, const Value &value) {
        for_each(desc, rows, [&]<class Sample>(int k, int x, Sample &sample) {
            sample = static_cast<Sample>(value(k, x, y));
        });
    }

    // The data of one sub-image, which the scan functions get.
    struct State {
        State(FakeImage *fake, const ZOR_IMAGE_DESC &description)
            : owner(fake), desc(description), rows(new_rows(desc)) {}
        FakeImage *owner;
        ZOR_IMAGE_DESC desc; // before operators
        RowMemory rows;
    };
    static int start(State &state, int y) {
        state.owner->lines.push_back(y);
        return y == state.owner->fail_at ? zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, "test")
                                         : 0;
    }
    static int read_line(void *data, int y, void **rows) {
        auto &state = *static_cast<State *>(data);
        if (const int status = start(state, y); status != 0)
            return status;
        fill(state.desc, state.rows.get(), y, state.owner->value);
        *reinterpret_cast<void ***>(rows) = state.rows.get();
        return 0;
    }
    static int write_line(void *data, int y, void **rows) {
        auto &state = *static_cast<State *>(data);
        if (const int status = start(state, y); status != 0)
            return status;
        state.owner->written = take(state.desc, rows);
        return 0;
    }
    static int close_image(ZOR_IMAGE *image) {
        static_cast<State *>(image->data[0])->owner->closed = true;
        return 0;
    }

    ZOR_IMAGE *image_;
    std::vector<std::unique_ptr<State>> states_;
};
