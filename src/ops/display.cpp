// display.cpp - what a display wants, by a sequence of other operators that comes off as one.
#include <array>
#include <string_view>

#include "ops/color_matrix.h"
#include "ops/operator.h"
#include "ops/samples.h"
#include "zor/fmt.h"

namespace zor {

namespace {

constexpr char display_name[] = "display operator";

// What a display push may have done, in the order of its record.
enum Step {
    MATRIX,
    CLIP,
    REMAP,
    QUANTIZE,
    CHANGE_WIDTH,
    GAMMA,
    RGB_TRANSFORM,
    RGB_LUMINANCE,
    SAMPLES_TO_DISPLAY,
    SAMPLES_TO_LUMINANCE,
    XYZ_TRANSFORM,
    XYZ_LUMINANCE,
    num_steps
};

struct StepUndo {
    Step step;
    int (*undo)(ZOR_IMAGE *image);
};
constexpr StepUndo undo_order[] = {
    {MATRIX, [](ZOR_IMAGE *) { return ZOR_color_matrix_reset(); }},
    {SAMPLES_TO_DISPLAY, &ZOR__samples_to_display_undo},
    {SAMPLES_TO_LUMINANCE, &ZOR__samples_to_luminance_undo},
    {XYZ_TRANSFORM, &ZOR__xyz_transform_undo},
    {XYZ_LUMINANCE, &ZOR__xyz_luminance_undo},
    {RGB_TRANSFORM, &ZOR__rgb_transform_undo},
    {RGB_LUMINANCE, &ZOR__rgb_luminance_undo},
    {GAMMA, &ZOR__gamma_undo},
    {CHANGE_WIDTH, &ZOR__change_width_undo},
    {QUANTIZE, &ZOR__quantize_undo},
    {REMAP, &ZOR__remap_undo},
    {CLIP, &ZOR__clip_undo},
};

struct Display {
    static constexpr Tag tag = Tag::display;
    OperatorHead head;
    std::array<int32_t, num_steps> done = {};

    // Takes the steps back. Luminance with a correction on top does not come in that order: another
    // round gets what is left.
    void restore(ZOR_IMAGE &image) {
        for (bool again = true; again;) {
            again = false;
            for (const StepUndo &each : undo_order) {
                if (done[each.step] != 0 && each.undo(&image) == 1) {
                    done[each.step] = 0;
                    again = true;
                }
            }
        }
    }
};

// A push under way.
class Pushing {
public:
    Pushing(ZOR_IMAGE *image, Display *record) : image_(image), record_(record) {}

    // Pushes an operator and notes whether there was something to do. False when memory ran out,
    // which only the status tells: it is set to a value that nobody else sets. Operators that do
    // not touch it leave it as it was before.
    template<class Operator, class... Arguments>
    bool push(Step step, Operator *push_operator, const Arguments &...arguments) {
        constexpr int32_t untouched = 1;
        const int32_t status_before = status();
        const void *before = slot_state(*image_);
        set_status(untouched);
        push_operator(image_, arguments...);
        record_->done[step] = slot_state(*image_) != before ? 1 : 0;
        const bool failed = status() == ZOR_E_MEMORY;
        if (status() == untouched)
            set_status(status_before);
        return !failed;
    }

    // The same for one that pushes another one first.
    template<class Operator, class... Arguments>
    void push_pair(Step step, Step below, Operator *push_operator, const Arguments &...arguments) {
        push(step, push_operator, arguments...);
        record_->done[below] = record_->done[step];
    }

private:
    ZOR_IMAGE *image_;
    Display *record_;
};

// A request, worked out.
struct Request {
    unsigned flags;
    const float *primaries; // of the display: twelve floats, or null
    const ZOR_RESPONSE_CURVE *curve;
    std::array<const ZOR_TARGET *, num_groups> targets;
    std::array<const ZOR_RANGE *, num_groups> ranges;
};

constexpr ZOR_TARGET bytes = {ZOR_C_INTEGER, 8};
constexpr ZOR_RANGE depths = {1.0F, 10000.0F};

// Which groups become bytes; false, reported, for those that there are none or several of.
bool choose_groups(const ZOR_IMAGE &image, Request &request) {
    const ZOR_IMAGE_DESC &desc = image.images[0];
    if ((request.flags & ZOR_DISPLAY_MATTE) != 0) {
        if (desc.matte.count < 1)
            return ERR_report_cat(zor__msg_cat, ZOR_MSG_NO_MATTE), false;
        if (desc.matte.count > 1)
            return ERR_report_cat(zor__msg_cat, ZOR_MSG_MATTES, display_name), false;
        request.targets[MATTE] = &bytes;
    }
    if ((request.flags & ZOR_DISPLAY_AUX) != 0) {
        if (desc.aux.count < 1)
            return ERR_report_cat(zor__msg_cat, ZOR_MSG_NO_AUX), false;
        if (desc.aux.count > 1)
            return ERR_report_cat(zor__msg_cat, ZOR_MSG_AUXILIARIES, display_name), false;
        request.targets[AUX] = &bytes;
        request.ranges[AUX] = &depths;
    }
    if ((request.flags & (ZOR_DISPLAY_COLOR | ZOR_DISPLAY_LUMINANCE)) != 0)
        request.targets[COLOUR] = &bytes;
    return true;
}

// Whether any chromaticity is another than the image's.
bool differ(const float *primaries, const ZOR_IMAGE &image) {
    if (primaries == nullptr)
        return false;
    for (int i = 0; i < 12; i += 3)
        if (primaries[i] != image.primaries[i] || primaries[i + 1] != image.primaries[i + 1])
            return true;
    return false;
}

enum class Outcome { done, stop, no_memory };

Outcome outcome_of(bool pushed) { return pushed ? Outcome::done : Outcome::no_memory; }

// Bytes, of all that is wanted.
Outcome push_samples(Pushing &pushing, const Request &request) {
    return outcome_of(pushing.push(CLIP, &ZOR__clip) &&
                      pushing.push(REMAP, &ZOR__remap, request.ranges.data()) &&
                      pushing.push(QUANTIZE, &ZOR__quantize, request.targets.data(), nullptr) &&
                      pushing.push(CHANGE_WIDTH, &ZOR__change_width, request.targets.data()));
}

void report_format(const ZOR_IMAGE_DESC &desc) {
    ERR_report_cat(zor__msg_cat, ZOR_MSG_CHANNEL_FORMAT,
                   desc.chan_format != nullptr ? desc.chan_format : "");
}

std::string_view format_of(const ZOR_IMAGE_DESC &desc) {
    return desc.chan_format != nullptr ? desc.chan_format : std::string_view();
}

// One channel in place of colours.
Outcome push_luminance(Pushing &pushing, const Request &request, const ZOR_IMAGE_DESC &desc) {
    const std::string_view format = format_of(desc);
    if (format == "rgb")
        return outcome_of(pushing.push(RGB_LUMINANCE, &ZOR__rgb_luminance, request.curve));
    if (format == "xyz") {
        // The status says that memory ran out whatever happens.
        pushing.push_pair(XYZ_LUMINANCE, GAMMA, &ZOR__xyz_luminance, request.curve);
        return Outcome::done;
    }
    if (format == "sampled")
        return outcome_of(
            pushing.push(SAMPLES_TO_LUMINANCE, &ZOR__samples_to_luminance, request.curve));
    if (format == "raw")
        return Outcome::done;
    set_status(ZOR_E_CHANNELS);
    report_format(desc);
    return Outcome::stop;
}

// Colours for the display's curve and primaries. Indices of display tables are left alone, in as
// far as they can be told.
Outcome push_correction(Pushing &pushing, const Request &request, const ZOR_IMAGE_DESC &desc,
                        const ColorMatrices &matrices, bool other_primaries) {
    const std::string_view format = format_of(desc);
    const bool indices = desc.size_code == 8 || desc.size_code == 16;
    if (format == "raw" || (format == "sampled" && desc.size_code != 16))
        return outcome_of(
            pushing.push(SAMPLES_TO_DISPLAY, &push_samples_to_display, request.curve, matrices));
    if (indices)
        return Outcome::done;
    if (format == "rgb" && other_primaries)
        return outcome_of(
            pushing.push(RGB_TRANSFORM, &push_rgb_transform, request.curve, matrices));
    if (format == "rgb")
        return outcome_of(pushing.push(GAMMA, &ZOR__gamma, request.curve));
    if (format == "xyz")
        return outcome_of(
            pushing.push(XYZ_TRANSFORM, &push_xyz_transform, request.curve, matrices));
    report_format(desc);
    return Outcome::stop;
}

// All of it. An outcome of stop leaves what was pushed by then. The corrections get the matrices
// that were set here, whatever other threads do with those of the process: no lock is held while
// operators are pushed, since they report.
Outcome push_all(ZOR_IMAGE *image, Display &record, const Request &request) {
    Pushing pushing(image, &record);
    Outcome outcome = push_samples(pushing, request);
    if (outcome != Outcome::done)
        return outcome;
    const ZOR_IMAGE_DESC &desc = image->images[0];
    ColorMatrices matrices;
    if ((request.flags & ZOR_DISPLAY_LUMINANCE) != 0) {
        outcome = push_luminance(pushing, request, desc);
        matrices = color_matrices();
    } else {
        if (!set_color_matrices(request.primaries, &matrices))
            return Outcome::stop;
        record.done[MATRIX] = 1;
    }
    if (outcome == Outcome::done && (request.flags & ZOR_DISPLAY_COLOR) != 0) {
        const bool other =
            (request.flags & ZOR_DISPLAY_LUMINANCE) == 0 && differ(request.primaries, *image);
        outcome = push_correction(pushing, request, desc, matrices, other);
    }
    return outcome;
}

} // namespace

} // namespace zor

ZOR_IMAGE *ZOR__display(ZOR_IMAGE *image, unsigned char flags, const float *primaries,
                        const ZOR_RESPONSE_CURVE *curve) {
    using namespace zor;
    if (image == nullptr || image->num_images < 1 || !takes_operators(*image))
        return image;
    RecordPtr<Display> record = new_record<Display>();
    if (record == nullptr)
        return image;
    const ZOR_RESPONSE_CURVE usual = {1, FMT_def_gamma(), 0, 0, 0, 0, 0, nullptr};
    // What comes before the chromaticities is about the display itself.
    Request request = {flags,
                       primaries != nullptr ? primaries + 6 : nullptr,
                       curve != nullptr ? curve : &usual,
                       {},
                       {}};
    if (!choose_groups(*image, request))
        return image;
    switch (push_all(image, *record, request)) {
    case Outcome::done:
        return install_with(image, std::move(record), &pass_scan);
    case Outcome::no_memory:
        record->restore(*image);
        set_status(ZOR_E_MEMORY);
        return image;
    default:
        return image;
    }
}

int ZOR__display_undo(ZOR_IMAGE *image) { return zor::undo<zor::Display>(image); }
