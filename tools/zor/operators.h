// operators.h - what may be done to a picture between reading and writing it: how that is asked
// for, which operators it takes, and what is to be stated about the picture then.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include <zor/ops.h>
#include <zor/zor.h>

#include "reports.h"

namespace zor {

// A size as users give it.
struct WantedSize {
    int32_t width = 0; // 0: the picture keeps its shape
    int32_t height = 0;
    double percent = 0; // in place of both, unless 0
};

// Red, green, blue and white, x and y of each.
using Chromaticities = std::array<float, 8>;

// What is wanted; as it is, nothing. It happens in this order.
struct Operations {
    int32_t image = 0; // this one of the file's images, counted from 1; 0: the first
    std::optional<WantedSize> size;
    std::optional<int32_t> filter; // ZOR_FILTER_..., of the new size
    bool to_float = false;         // all channels
    bool display = false;          // 8-bit colours for a display
    bool luminance = false;        // the same, one channel
    std::optional<float> gamma;    // of the display
    std::optional<Chromaticities> primaries;
    // Bytes of this gamma, the one assumed for files that state none, are fit for a display as they
    // are. Nothing: no gamma is like that.
    std::optional<float> unstated;
    int32_t bits = 0; // integers so wide; 0: as wide as they were

    [[nodiscard]] bool for_display() const { return display || luminance; }
    [[nodiscard]] bool any() const {
        return image != 0 || size.has_value() || to_float || for_display() || bits != 0;
    }
};

// Read what users write: "640x480", "640x", "x480" or "50%"; a name or eight numbers with commas.
// Nothing when it makes no sense.
std::optional<WantedSize> parse_size(const std::string &text);
std::optional<Chromaticities> parse_primaries(const std::string &text);

// The names of primaries that there are, for messages.
std::string known_primaries();

// Why these wishes cannot be fulfilled together; empty when they can.
std::string contradiction(const Operations &operations);

// What the operators made of a picture, where its description does not tell.
struct Outcome {
    std::optional<float> gamma; // the exponent of its power function
    bool rgb = false;           // the colours have become that
    bool resized = false;
    std::optional<std::array<float, 12>> primaries;
};

// Pushes onto an open image what is wanted. Returns nothing after a report; what was pushed by then
// goes when the image is closed.
//   takes_aux  whether 8-bit auxiliary channels are of use
std::optional<Outcome> push_operators(ZOR_IMAGE *image, const Operations &operations,
                                      bool takes_aux, Reports &reports);

// Makes a record that was filled in from the image say it. Returns false when memory ran out
// (reported).
bool state(ZOR_INFO &info, const Outcome &outcome);

} // namespace zor
