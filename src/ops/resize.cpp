// resize.cpp - the picture in another size, by a symmetric separable filter.
//
// Rows of the layer below are filtered across as they come, and kept in a ring as long as the
// filter is over them; each new row is mixed from those in the ring. What the ring lacks is read.
#include <algorithm>
#include <limits>

#include "ops/filters.h"
#include "ops/operator.h"
#include "ops/resize_rows.h"
#include "ops/samples.h"
#include "ops/shape.h"

namespace zor {

namespace {

constexpr const char *display_name = "resize operator";

struct Resize {
    static constexpr Tag tag = Tag::resize;
    OperatorHead head;
    OldShape old;
    bool has_cast = false;   // pushed below this one
    bool has_frames = false; // the picture may become another between two lines
    bool rising = false;
    Axis rows = {}; // down the picture
    Columns columns;
    int32_t last_line = -1; // the new line made last; -1: none
    int32_t num_channels = 0;

    int32_t ring_size = 0;    // rows
    int64_t ring_stride = 0;  // floats from a row to the next
    Owned<float> ring;        // row after row, each with its channels one after another
    Owned<int32_t> held;      // by row of the ring: the old line in it, counted from 0; -1: none
    Owned<double> weights;    // of the rows that make the new line
    Owned<const float *> mix; // those rows
    Channels made;            // the new line

    int scan(int y, void **rows_wanted);
    int hold(int32_t line);
    [[nodiscard]] float *ring_row(int32_t line, int32_t channel) const {
        return ring.get() + (line % ring_size * int64_t{num_channels} + channel) * ring_stride;
    }
    void forget() const { std::fill_n(held.get(), ring_size, -1); }
    void restore(ZOR_IMAGE &image) const {
        old.restore(image);
        if (has_cast)
            ZOR__cast_undo(&image);
    }
};

// Reads an old line into the ring unless it is there.
int Resize::hold(int32_t line) {
    int32_t &slot = held.get()[line % ring_size];
    if (slot == line)
        return 0;
    const int32_t y = old.desc.win_bottom + line;
    void **below = nullptr;
    const int result = read_below(head, y, &below);
    if (result < 0)
        return result;
    old.last_line = y;
    for (int32_t k = 0; k < num_channels; ++k)
        filter_row(columns, ring_row(line, k), samples<float>(below, k));
    slot = line;
    return 0;
}

int Resize::scan(int y, void **rows_wanted) {
    if (y < 0 || y >= rows.to)
        return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
    // Whoever starts over may have gone to another frame.
    if (has_frames && last_line >= 0 && (rising ? y <= last_line : y >= last_line))
        forget();
    const Span taps = find_taps(rows, y, weights.get());
    for (int32_t k = 0; k < taps.count(); ++k)
        if (const int result = hold(rising ? taps.first + k : taps.last - k); result < 0)
            return result;
    for (int32_t channel = 0; channel < num_channels; ++channel) {
        for (int32_t k = 0; k < taps.count(); ++k)
            mix.get()[k] = ring_row(taps.first + k, channel);
        mix_rows(samples<float>(made.get(), channel), mix.get(), weights.get(), taps.count(),
                 columns.width);
    }
    last_line = y;
    *reinterpret_cast<void ***>(rows_wanted) = made.get();
    return 0;
}

int resize_scan(void *state, int y, void **rows) {
    return state != nullptr ? static_cast<Resize *>(state)->scan(y, rows) : report_locked();
}

// A product that stays at its largest value once the true one is beyond it.
int64_t multiply(int64_t a, int64_t b) {
    constexpr int64_t top = std::numeric_limits<int64_t>::max();
    return a != 0 && b > top / a ? top : a * b;
}

// Makes room for rows and weights; false when memory ran out. The description is that of the new
// picture.
bool prepare(Resize *resize, const ZOR_IMAGE_DESC &desc, const Axis &across) {
    resize->ring_size = max_taps(resize->rows);
    resize->ring_stride = (across.to + 15) / 16 * 16;
    const int64_t row_size = multiply(resize->num_channels, resize->ring_stride);
    resize->ring.reset(allocate<float>(multiply(resize->ring_size, row_size)));
    resize->held.reset(allocate<int32_t>(resize->ring_size));
    resize->weights.reset(allocate<double>(resize->ring_size));
    resize->mix.reset(allocate<const float *>(resize->ring_size));
    resize->made.reset(zor__chan_alloc(&desc, static_cast<int32_t>(across.to), display_name));
    if (resize->ring == nullptr || resize->held == nullptr || resize->weights == nullptr ||
        resize->mix == nullptr || resize->made == nullptr ||
        !prepare_columns(&resize->columns, across)) {
        set_status(ZOR_E_MEMORY);
        return false;
    }
    resize->forget();
    return true;
}

// The part of an axis that is in use, counted from the window's edge.
Span active_span(int32_t window_low, int64_t size, int32_t low, int32_t high) {
    const int64_t first = std::clamp<int64_t>(int64_t{low} - window_low, 0, size - 1);
    const int64_t last = std::clamp<int64_t>(int64_t{high} - window_low, first, size - 1);
    return {static_cast<int32_t>(first), static_cast<int32_t>(last)};
}

void describe(ZOR_IMAGE_DESC *desc, const Axis &across, const Axis &down) {
    const Span columns = touched_by(
        across, active_span(desc->win_left, across.from, desc->act_left, desc->act_right));
    const Span lines =
        touched_by(down, active_span(desc->win_bottom, down.from, desc->act_bottom, desc->act_top));
    desc->win_left = 0;
    desc->win_right = static_cast<int32_t>(across.to) - 1;
    desc->win_bottom = 0;
    desc->win_top = static_cast<int32_t>(down.to) - 1;
    desc->act_left = columns.first;
    desc->act_right = columns.last;
    desc->act_bottom = lines.first;
    desc->act_top = lines.last;
    desc->picture_width = scale_size(desc->picture_width, across.from, across.to);
    desc->picture_height = scale_size(desc->picture_height, down.from, down.to);
}

bool makes_sense(const Axis &axis) {
    return axis.to >= 1 && axis.to <= Axis::max_size && axis.from >= 1 && axis.from <= INT32_MAX;
}

int64_t count_channels(const ZOR_IMAGE_DESC &desc) {
    return int64_t{desc.image.count} + desc.matte.count + desc.aux.count;
}

bool is_all_float(const ZOR_IMAGE_DESC &desc) {
    return desc.image.type == ZOR_C_FLOAT && desc.matte.type == ZOR_C_FLOAT &&
           desc.aux.type == ZOR_C_FLOAT;
}

// Pushes the operator onto an image of floats; false when memory ran out.
bool push(ZOR_IMAGE *image, const Axis &across, const Axis &down, bool has_cast) {
    RecordPtr<Resize> record = new_record<Resize>();
    if (record == nullptr)
        return false;
    ZOR_IMAGE_DESC &desc = image->images[0];
    record->old.save(*image);
    record->has_cast = has_cast;
    record->has_frames = image->set_frame != nullptr;
    record->rising = (desc.orientation & ZOR_ORIENTATION_RISING) != 0;
    record->rows = down;
    record->num_channels = static_cast<int32_t>(count_channels(desc));
    if (!prepare(record.get(), desc, across))
        return false;
    describe(&desc, across, down);
    start_new_shape(*image);
    install_with(image, std::move(record), &resize_scan);
    return true;
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__resize(ZOR_IMAGE *image, int32_t width, int32_t height, int32_t filter) {
    using namespace zor;
    if (image == nullptr || image->num_images < 1 || !reads(*image))
        return image;
    const ZOR_IMAGE_DESC &desc = image->images[0];
    const Axis across = {width_of(desc), width, filter};
    const Axis down = {height_of(desc), height, filter};
    if (!makes_sense(across) || !makes_sense(down) || filter < ZOR_FILTER_BOX ||
        filter > ZOR_FILTER_LANCZOS_3 || desc.chan_flag != 1 || count_channels(desc) > INT32_MAX) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, display_name);
        return image;
    }
    const void *below = slot_state(*image);
    const bool was_float = is_all_float(desc);
    ZOR__cast(image);
    const bool has_cast = slot_state(*image) != below;
    if ((was_float || has_cast) && !push(image, across, down, has_cast) && has_cast)
        ZOR__cast_undo(image);
    return image;
}

int ZOR__resize_undo(ZOR_IMAGE *image) { return zor::undo<zor::Resize>(image); }
