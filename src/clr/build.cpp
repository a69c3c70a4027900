// build.cpp - the weights of all sample spaces, from what the configuration file left.
#include "clr/build.h"

#include <cstring>

#include "base/base/owned.h"
#include "clr/built_in.h"
#include "clr/observer.h"
#include "fmt/config.h"
#include "zor/messages.h"

namespace zor::clr {

namespace {

// More points than have a use, and as many as should cost memory.
constexpr int32_t most_points = 1'000'000;

Outcome check(const Settings &settings) {
    const Range range = settings.range;
    if (!(range.minimum > 0 && range.maximum > range.minimum)) {
        ERR_report_cat(config_catalogue(), CLR_MSG_RANGE, double{range.minimum},
                       double{range.maximum});
        return Outcome::failed;
    }
    if (settings.table_resolution <= 1 || settings.table_resolution > most_points) {
        ERR_report_cat(config_catalogue(), CLR_MSG_RESOLUTION, settings.table_resolution);
        return Outcome::failed;
    }
    return Outcome::good;
}

// Resamples the file's table, or the built-in one when the file mentions none.
Outcome resample(Reading &reading, Curves &curves) {
    if (reading.table_opened || reading.table_ended) {
        for (const Row &row : reading.rows.sort())
            curves.add(row);
    } else {
        for (const CLR_TRISTIMULUS &row : observer)
            curves.add(row);
    }
    if (!curves.finish()) {
        ERR_report_cat(config_catalogue(), CLR_MSG_MATCHING_FUNCTION);
        return Outcome::failed;
    }
    return Outcome::good;
}

void copy_built_in(const Spaces &spaces) {
    for (int32_t n = 1; n <= num_built_in; ++n)
        std::memcpy(spaces.find(n)->block, built_in_block(n),
                    static_cast<size_t>(block_size(n)) * sizeof(float));
}

void weigh_all(const Spaces &spaces, const Curves &curves) {
    for (int32_t n = 1; n <= spaces.highest(); ++n) {
        Space *space = spaces.find(n);
        if (space == nullptr)
            continue;
        if (space->samples.uniform != 0)
            space_evenly(space->bins(), curves.range());
        weigh_samples(space->bins(), curves);
    }
    const Bins reference = spaces.find(reference_size)->bins(); // replaced perhaps, but never gone
    invert(reference);
    for (int32_t n = 1; n <= spaces.highest(); ++n)
        if (Space *space = spaces.find(n); space != nullptr && n != reference_size)
            spread(space->bins(), reference, curves.range());
}

} // namespace

Outcome build_spaces(Reading &reading) {
    if (const Outcome outcome = check(reading.settings); outcome != Outcome::good)
        return outcome;
    if (!reading.changed && !reading.has_table()) {
        copy_built_in(reading.spaces);
        return Outcome::good;
    }
    const int32_t count = reading.settings.table_resolution;
    const Owned<CurvePoint> points(allocate<CurvePoint>(count));
    if (points == nullptr)
        return Outcome::failed;
    Curves curves(reading.settings.range, {points.get(), static_cast<size_t>(count)});
    if (const Outcome outcome = resample(reading, curves); outcome != Outcome::good)
        return outcome;
    weigh_all(reading.spaces, curves);
    return Outcome::good;
}

} // namespace zor::clr
