// operations.cpp - what users may ask to be done to a picture, and how they write it.
#include <charconv>
#include <cmath>
#include <limits>

#include "operators.h"
#include "text.h"

namespace zor {

namespace {

struct NamedPrimaries {
    const char *name;
    Chromaticities values;
};
const NamedPrimaries named_primaries[] = {
    {"rec709", {0.64F, 0.33F, 0.30F, 0.60F, 0.15F, 0.06F, 0.3127F, 0.3290F}},
    {"rec2020", {0.708F, 0.292F, 0.170F, 0.797F, 0.131F, 0.046F, 0.3127F, 0.3290F}},
    {"p3", {0.680F, 0.320F, 0.265F, 0.690F, 0.150F, 0.060F, 0.3127F, 0.3290F}},
    {"ntsc", {0.67F, 0.33F, 0.21F, 0.71F, 0.14F, 0.08F, 0.31F, 0.316F}},
    {"smpte-c", {0.630F, 0.340F, 0.310F, 0.595F, 0.155F, 0.070F, 0.3127F, 0.3290F}},
    {"pal", {0.64F, 0.33F, 0.29F, 0.60F, 0.15F, 0.06F, 0.3127F, 0.3290F}},
};

// All of a text as a number.
template<class Number>
std::optional<Number> parse_number(const std::string &text) {
    Number value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

// As wide and high as pictures can be made.
constexpr int32_t most_pixels = 1 << 24;

// An extent of one pixel or more; 0 for an empty text.
std::optional<int32_t> parse_extent(const std::string &text) {
    if (text.empty())
        return 0;
    const std::optional<int32_t> extent = parse_number<int32_t>(text);
    const bool possible = extent.value_or(0) > 0 && *extent <= most_pixels;
    return possible ? extent : std::nullopt;
}

} // namespace

std::optional<WantedSize> parse_size(const std::string &text) {
    if (text.ends_with('%')) {
        const auto percent = parse_number<double>(text.substr(0, text.size() - 1));
        if (!percent.has_value() || !std::isfinite(*percent) || *percent <= 0)
            return std::nullopt;
        return WantedSize{0, 0, *percent};
    }
    const size_t x = text.find_first_of("xX");
    if (x == std::string::npos)
        return std::nullopt;
    const std::optional<int32_t> width = parse_extent(text.substr(0, x));
    const std::optional<int32_t> height = parse_extent(text.substr(x + 1));
    if (!width.has_value() || !height.has_value() || (*width == 0 && *height == 0))
        return std::nullopt;
    return WantedSize{*width, *height, 0};
}

std::optional<Chromaticities> parse_primaries(const std::string &text) {
    for (const auto &[name, values] : named_primaries)
        if (text == name)
            return values;
    Chromaticities values = {};
    size_t at = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        const bool last = i + 1 == values.size();
        const size_t comma = last ? text.size() : text.find(',', at);
        if (comma == std::string::npos)
            return std::nullopt;
        const auto value = parse_number<double>(text.substr(at, comma - at));
        if (!value.has_value() || !(std::abs(*value) <= 10))
            return std::nullopt;
        values[i] = static_cast<float>(*value);
        at = comma + 1;
    }
    return values;
}

std::string known_primaries() {
    std::string names;
    for (const NamedPrimaries &primaries : named_primaries)
        add_to_list(names, primaries.name);
    return names;
}

std::string contradiction(const Operations &operations) {
    const struct {
        bool wrong;
        const char *message;
    } rules[] = {
        {operations.display && operations.luminance,
         "--luminance makes one channel for a display, --display makes colours: name one of them"},
        {operations.for_display() && operations.to_float,
         "--float keeps the floats that --display and --luminance turn into 8 bits"},
        {operations.for_display() && operations.bits != 0,
         "--display and --luminance make 8 bits, there is no place for --bits"},
        {operations.to_float && operations.bits != 0, "--float and --bits exclude each other"},
        {operations.filter.has_value() && !operations.size.has_value(),
         "--filter needs a --resize"},
        {operations.gamma.has_value() && !operations.for_display(),
         "--gamma needs --display or --luminance"},
        {operations.primaries.has_value() && !operations.display, "--primaries needs --display"},
    };
    for (const auto &[wrong, message] : rules)
        if (wrong)
            return message;
    return {};
}

} // namespace zor
