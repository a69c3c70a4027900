// operators.cpp - the operators that fulfil a user's wishes.
//
// Descriptions tell which gamma samples have, but not always truly: a cast says 1 of all colours
// although it makes light of 8-bit ones only, and a display does not speak of what it does. So the
// true one is kept beside them here.
#include "operators.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "handles.h"
#include "input.h"

namespace zor {

namespace {

bool is_integer(const ZOR_CHANNELS &group) { return group.type == ZOR_C_INTEGER; }

bool has_floats(const ZOR_CHANNELS &group) { return group.count > 0 && !is_integer(group); }

// Groups in the order of operators' arguments.
std::array<ZOR_CHANNELS, 3> groups_of(const ZOR_IMAGE_DESC &desc) {
    return {desc.image, desc.matte, desc.aux};
}

using Targets = std::array<ZOR_TARGET, 3>; // no bits: none

class Pusher {
public:
    Pusher(ZOR_IMAGE *image, const Operations &wanted, bool takes_aux, Reports &reports)
        : image_(image), wanted_(wanted), takes_aux_(takes_aux), reports_(reports) {}

    bool push(Outcome &outcome);

private:
    [[nodiscard]] const ZOR_IMAGE_DESC &desc() const { return *ZOR_image_desc(image_, 0); }
    [[nodiscard]] bool is(const char *format) const {
        return desc().chan_format != nullptr && std::strcmp(desc().chan_format, format) == 0;
    }

    bool select();
    [[nodiscard]] bool widens() const;
    [[nodiscard]] bool is_wide_light() const;
    bool make_bytes();
    bool make_floats();
    bool resize();
    bool make_integers();
    bool change_width(const Targets &targets);
    bool quantize(const Targets &targets, std::optional<float> gamma);
    bool display(Outcome &outcome);
    std::optional<float> encode();
    std::optional<unsigned> display_flags();
    bool choose_primaries(std::array<float, 18> &primaries, bool &given) const;

    bool refuse(const std::string &reason) { return reports_.error(reason), false; }
    // Of a push that should have led to something.
    bool check(bool reached) {
        if (!reached)
            reports_.explain();
        return reached && reports_.last_error().empty();
    }

    ZOR_IMAGE *image_;
    const Operations &wanted_;
    bool takes_aux_;
    Reports &reports_;
    std::array<ZOR_CHANNELS, 3> before_ = {}; // as the file has them
    float gamma_ = 1;                         // the true one of the colours
    float file_gamma_ = 1;
    bool light_ = false; // the colours were bytes of the file's gamma
};

// Where the operators want null for "none".
std::array<const ZOR_TARGET *, 3> pointers(const Targets &targets) {
    std::array<const ZOR_TARGET *, 3> result = {};
    for (size_t g = 0; g < result.size(); ++g)
        result[g] = targets[g].bits != 0 ? &targets[g] : nullptr;
    return result;
}

bool Pusher::select() {
    const int32_t count = ZOR_image_count(image_);
    if (wanted_.image > count)
        return refuse("there is no image " + std::to_string(wanted_.image) + " in this file, " +
                      (count == 1 ? "only one" : "only " + std::to_string(count)) +
                      (ZOR_image_num_frames(image_) > 1 ? "; frames are no images" : ""));
    if (wanted_.image > 0 && count > 1)
        ZOR__select(image_, wanted_.image - 1);
    return check(wanted_.image == 0 || ZOR_image_count(image_) == 1);
}

// Narrower integers, and wider ones of as many bytes, white staying white.
bool Pusher::change_width(const Targets &targets) {
    std::array<float, 3> factors = {1, 1, 1};
    const auto groups = groups_of(desc());
    for (size_t g = 0; g < groups.size(); ++g) {
        const int32_t bits = targets[g].bits;
        if (groups[g].count == 0 || !is_integer(groups[g]) || bits <= groups[g].bits)
            continue;
        if (ZOR_sample_size(ZOR_C_INTEGER, bits) > ZOR_sample_size(ZOR_C_INTEGER, groups[g].bits))
            return refuse("integers of " + std::to_string(groups[g].bits) +
                          " bits cannot be widened to " + std::to_string(bits) +
                          " beside auxiliary channels that floats cannot hold");
        // The shift leaves zeros where white has ones.
        factors[g] = static_cast<float>(std::ldexp(1, bits) - 1) /
                     static_cast<float>(std::ldexp(1, bits) - std::ldexp(1, bits - groups[g].bits));
    }
    ZOR__change_width(image_, pointers(targets).data());
    ZOR__scale(image_, factors.data());
    const auto now = groups_of(desc());
    for (size_t g = 0; g < now.size(); ++g)
        if (targets[g].bits != 0 && is_integer(now[g]) && now[g].count > 0 &&
            now[g].bits != targets[g].bits)
            return check(false);
    return check(true);
}

// Floats become integers.
//   gamma  that colours are encoded to, from the one that the description states
bool Pusher::quantize(const Targets &targets, std::optional<float> gamma) {
    const ZOR_RESPONSE_CURVE curve = {1, gamma.value_or(1), 0, 0, light_ ? 256 : 0, 0, 0, nullptr};
    ZOR__quantize(image_, pointers(targets).data(), gamma.has_value() ? &curve : nullptr);
    const auto now = groups_of(desc());
    for (size_t g = 0; g < now.size(); ++g)
        if (targets[g].bits != 0 && has_floats(now[g]))
            return check(false);
    return check(true);
}

// Colours of 8 bits, which a cast makes light of.
bool Pusher::make_bytes() {
    const ZOR_CHANNELS &colours = desc().image;
    return !is_integer(colours) || colours.count == 0 || colours.bits == 8 || gamma_ == 1 ||
           change_width({ZOR_TARGET{ZOR_C_INTEGER, 8}, {}, {}});
}

// Follows what a cast does to the colours.
bool Pusher::make_floats() {
    const ZOR_CHANNELS colours = desc().image;
    ZOR__cast(image_);
    light_ = is_integer(colours) && colours.count > 0 && colours.bits == 8 && gamma_ != 1;
    if (light_)
        gamma_ = 1;
    const auto now = groups_of(desc());
    return check(std::all_of(now.begin(), now.end(),
                             [](const ZOR_CHANNELS &group) { return group.type == ZOR_C_FLOAT; }));
}

// Whether integers are to take more bytes, which they do by way of floats. Auxiliary channels come
// along and have to come back as they were: what floats cannot hold keeps that from happening.
bool Pusher::widens() const {
    const auto size = [](int32_t bits) { return ZOR_sample_size(ZOR_C_INTEGER, bits); };
    const ZOR_CHANNELS &aux = before_[2];
    if (aux.count > 0 && is_integer(aux) && aux.bits > 24)
        return false;
    return std::any_of(before_.begin(), before_.begin() + 2, [&](const ZOR_CHANNELS &group) {
        return group.count > 0 && is_integer(group) && size(wanted_.bits) > size(group.bits);
    });
}

// Whether a display would have to make dark colours of light that was cut to 8 bits: floats are a
// better way there. Auxiliary integers cannot take it, since their display goes by other ranges.
bool Pusher::is_wide_light() const {
    return is_integer(before_[0]) && before_[0].count > 0 && before_[0].bits > 8 && gamma_ == 1 &&
           desc().curve.kind != 2 && desc().size_code == 0 &&
           (!takes_aux_ || before_[2].count == 0 || !is_integer(before_[2]));
}

int32_t extent(double pixels) {
    constexpr double most = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(std::round(pixels), 1.0, most));
}

bool Pusher::resize() {
    const auto width = static_cast<double>(int64_t{desc().win_right} - desc().win_left + 1);
    const auto height = static_cast<double>(int64_t{desc().win_top} - desc().win_bottom + 1);
    WantedSize size = *wanted_.size;
    if (size.percent > 0)
        size = {extent(width * size.percent / 100), extent(height * size.percent / 100), 0};
    else if (size.width == 0)
        size.width = extent(size.height * width / height);
    else if (size.height == 0)
        size.height = extent(size.width * height / width);
    ZOR__resize(image_, size.width, size.height, wanted_.filter.value_or(ZOR_FILTER_MITCHELL));
    return check(desc().win_right - desc().win_left + 1 == size.width &&
                 desc().win_top - desc().win_bottom + 1 == size.height);
}

// Integers as wide as they are wanted, or as wide as the file has them where there are floats by
// now. Auxiliary channels keep their width: fractions are no use there.
bool Pusher::make_integers() {
    Targets targets = {};
    for (size_t g = 0; g < targets.size(); ++g) {
        const int32_t bits = g < 2 ? wanted_.bits : 0;
        if (bits != 0 || is_integer(before_[g]))
            targets[g] = {ZOR_C_INTEGER, bits != 0 ? bits : before_[g].bits};
        if (before_[g].count == 0)
            targets[g] = {};
    }
    const bool encode = light_ && desc().curve.kind != 2;
    if (!quantize(targets, encode ? std::optional(file_gamma_) : std::nullopt))
        return false;
    if (encode)
        gamma_ = file_gamma_;
    return change_width(targets);
}

// Float colours become 8 bits of the display's gamma at once, or of the one that they had as bytes:
// the display itself would round light, which has too few steps in the dark. Returns the gamma to
// hand on to it; nothing after a failure.
std::optional<float> Pusher::encode() {
    const bool unstated = is_integer(before_[0]) && before_[0].bits <= 8 &&
                          wanted_.unstated.has_value() && *wanted_.unstated == file_gamma_;
    const float gamma = unstated ? file_gamma_ : wanted_.gamma.value_or(2.2F);
    if (!has_floats(desc().image) || desc().curve.kind == 2)
        return gamma;
    if (!is_integer(before_[0])) // as the display does
        ZOR__clip(image_);
    const Targets bytes = {ZOR_TARGET{ZOR_C_INTEGER, 8}, {}, {}};
    if (light_)
        return quantize(bytes, file_gamma_) ? std::optional(gamma) : std::nullopt;
    // From the gamma that is stated, although it may not be the true one.
    const float wanted = desc().curve.gamma * gamma / gamma_;
    return quantize(bytes, wanted) ? std::optional(wanted) : std::nullopt;
}

// What to ask of the display; nothing after a report.
std::optional<unsigned> Pusher::display_flags() {
    const int32_t colours = desc().image.count;
    unsigned flags = desc().matte.count == 1 ? ZOR_DISPLAY_MATTE : 0;
    if (takes_aux_ && desc().aux.count == 1)
        flags |= ZOR_DISPLAY_AUX;
    if (colours == 0) {
        refuse("there are no colours to display");
        return std::nullopt;
    }
    if (!wanted_.luminance || (colours == 1 && !is("sampled")))
        return flags | ZOR_DISPLAY_COLOR;
    if ((is("rgb") && colours == 3) || is("sampled"))
        return flags | ZOR_DISPLAY_LUMINANCE;
    refuse("the luminance of " + std::to_string(colours) + " channels of the format '" +
           (desc().chan_format != nullptr ? desc().chan_format : "") + "' cannot be had");
    return std::nullopt;
}

// Whether three colours, x, y, z each, span a plane, and a white is light.
bool are_usable(const float *p) {
    const double area = (double{p[0]} - p[6]) * (double{p[4]} - p[7]) -
                        (double{p[3]} - p[6]) * (double{p[1]} - p[7]);
    return std::abs(area) > 1e-6 && std::abs(p[10]) > 1e-6F;
}

// The wanted primaries, or the picture's own where colours become rgb for the first time. The
// argument of ZOR__display has them behind six other numbers.
//   given  receives whether they matter
bool Pusher::choose_primaries(std::array<float, 18> &primaries, bool &given) const {
    const bool fresh = is("xyz") || is("sampled");
    given = fresh || (wanted_.primaries.has_value() && is("rgb") && desc().image.count == 3);
    if (given && !wanted_.primaries.has_value()) {
        const Info info(ZOR_info_alloc());
        if (info == nullptr || ZOR_info_from_image(info.get(), image_) != 0)
            return false;
        std::copy_n(info->primaries, 12, primaries.begin() + 6);
    } else if (given) {
        for (size_t i = 0; i < 4; ++i) {
            const float x = (*wanted_.primaries)[2 * i];
            const float y = (*wanted_.primaries)[2 * i + 1];
            primaries[6 + 3 * i] = x;
            primaries[7 + 3 * i] = y;
            primaries[8 + 3 * i] = 1 - x - y;
        }
    }
    return true;
}

bool Pusher::display(Outcome &outcome) {
    const std::optional<unsigned> flags = display_flags();
    const std::optional<float> gamma = flags.has_value() ? encode() : std::nullopt;
    std::array<float, 18> primaries = {};
    bool given = false;
    if (!gamma.has_value() || !choose_primaries(primaries, given))
        return check(false);
    if (given && !are_usable(primaries.data() + 6))
        return refuse("no colours can be mixed from these primaries");
    outcome.rgb = is("xyz") || is("sampled");
    if (given && !wanted_.luminance) {
        outcome.primaries.emplace();
        std::copy_n(primaries.begin() + 6, 12, outcome.primaries->begin());
    }
    // Indices of a display's tables are left alone by it.
    const int32_t code = desc().size_code;
    const bool corrected =
        is("raw") || (code != 16 && (code != 8 || is("sampled"))) || wanted_.luminance;
    outcome.gamma = corrected ? wanted_.gamma.value_or(2.2F) : light_ ? file_gamma_ : gamma_;
    const ZOR_RESPONSE_CURVE curve = {1, *gamma, 0, 0, 0, 0, 0, nullptr};
    ZOR__display(image_, static_cast<unsigned char>(*flags), given ? primaries.data() : nullptr,
                 &curve);
    const ZOR_CHANNELS &colours = desc().image;
    return check(is_integer(colours) && colours.bits == 8 &&
                 ((*flags & ZOR_DISPLAY_LUMINANCE) == 0 || colours.count == 1));
}

bool Pusher::push(Outcome &outcome) {
    outcome.resized = wanted_.size.has_value();
    if (!select())
        return false;
    before_ = groups_of(desc());
    gamma_ = file_gamma_ = desc().curve.gamma;
    const bool shown = wanted_.for_display();
    if (wanted_.size.has_value() && shown && !make_bytes())
        return false;
    const bool as_floats = wanted_.size.has_value() || wanted_.to_float || widens();
    if ((as_floats || (shown && is_wide_light())) && !make_floats())
        return false;
    if (wanted_.size.has_value() && !resize())
        return false;
    if (shown)
        return display(outcome);
    if (!wanted_.to_float && (wanted_.size.has_value() || wanted_.bits != 0) && !make_integers())
        return false;
    if (desc().curve.kind != 2 || gamma_ != file_gamma_)
        outcome.gamma = gamma_;
    return true;
}

} // namespace

std::optional<Outcome> push_operators(ZOR_IMAGE *image, const Operations &operations,
                                      bool takes_aux, Reports &reports) {
    Outcome outcome;
    // A picture that cannot be worked on is for the caller to refuse.
    if (!operations.any() || ZOR_image_count(image) < 1 || ZOR_image_desc(image, 0)->chan_flag != 1)
        return outcome;
    Pusher pusher(image, operations, takes_aux, reports);
    return pusher.push(outcome) ? std::optional(outcome) : std::nullopt;
}

bool state(ZOR_INFO &info, const Outcome &outcome) {
    ZOR_IMAGE_DESC &desc = info.images[0];
    if (outcome.gamma.has_value())
        desc.curve = {1, *outcome.gamma, 0, 0, 0, 0, 0, nullptr};
    if (outcome.primaries.has_value())
        std::copy(outcome.primaries->begin(), outcome.primaries->end(), info.primaries);
    // The numbers of a named format, which are for another size, would stand in for the picture's.
    if (outcome.resized && !set_text(desc.picture_format, ""))
        return false;
    return !outcome.rgb || set_text(desc.chan_format, "rgb");
}

} // namespace zor
