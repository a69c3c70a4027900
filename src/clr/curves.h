// curves.h - the matching functions, resampled over the visible range.
//
// All here can run at compile time, where the built-in weights are made, and does the same then as
// at run time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>

#include "base/base/number.h"
#include "zor/clr.h"

namespace zor::clr {

struct Range {
    float minimum, maximum; // nanometres, the maximum above the minimum
};

// The functions at one wavelength.
struct CurvePoint {
    float value[3];     // X, Y, Z
    double integral[3]; // from the minimum to here
};

// Points at even distances from one end of the range to the other, at least two:
//
//     Curves curves(range, points);
//     for (const CLR_TRISTIMULUS &row : table)
//         curves.add(row);
//     if (curves.finish())
//         ... curves.integral(0, 555) ...
//
// The functions run straight from row to row. They are 0 at both ends of the range, whatever a
// table says there, and outside it.
class Curves {
public:
    constexpr Curves(Range range, std::span<CurvePoint> points)
        : range_(range),
          points_(points),
          step_((double{range.maximum} - double{range.minimum}) /
                static_cast<double>(points.size() - 1)),
          last_row_{range.minimum, 0, 0, 0} {}

    // Adds a row of a table. They come ascending by wavelength; of rows with one wavelength the
    // first counts.
    constexpr void add(const CLR_TRISTIMULUS &row) {
        if (row.wavelength > last_row_.wavelength && row.wavelength < range_.maximum)
            draw_to(row);
    }

    // Brings the functions to their ends, and the integral of each to 1. Returns false when one has
    // no integral.
    constexpr bool finish() {
        draw_to({range_.maximum, 0, 0, 0});
        return normalise(0) && normalise(1) && normalise(2);
    }

    // The integral of function c from the minimum to a wavelength anywhere.
    [[nodiscard]] constexpr double integral(int c, double wavelength) const {
        const size_t last = points_.size() - 1;
        if (!(wavelength > range_.minimum))
            return 0;
        if (wavelength >= range_.maximum)
            return points_[last].integral[c];
        const double position = (wavelength - double{range_.minimum}) / step_;
        const size_t i = std::min(static_cast<size_t>(position), last - 1);
        const double part = position - static_cast<double>(i);
        const double left = points_[i].value[c];
        const double right = left + part * (double{points_[i + 1].value[c]} - left);
        return points_[i].integral[c] + part * step_ * (left + right) / 2;
    }

    [[nodiscard]] constexpr Range range() const { return range_; }

private:
    [[nodiscard]] constexpr double wavelength(size_t i) const {
        const double rounded = double{range_.minimum} + static_cast<double>(i) * step_;
        return std::min(rounded, double{range_.maximum});
    }

    // Fills the points between the row before and this one.
    constexpr void draw_to(const CLR_TRISTIMULUS &row) {
        const double start = last_row_.wavelength;
        const double length = double{row.wavelength} - start;
        for (; filled_ < points_.size() && wavelength(filled_) <= row.wavelength; ++filled_) {
            const double share = (wavelength(filled_) - start) / length;
            const auto mix = [share](double from, double to) {
                return to_float(from * (1 - share) + to * share);
            };
            float(&value)[3] = points_[filled_].value;
            value[0] = mix(last_row_.x, row.x);
            value[1] = mix(last_row_.y, row.y);
            value[2] = mix(last_row_.z, row.z);
        }
        last_row_ = row;
    }

    // Makes the sum of a function 1, then integrates it.
    constexpr bool normalise(int c) {
        double sum = 0;
        for (const CurvePoint &point : points_)
            sum += double{point.value[c]} * step_;
        if (sum == 0)
            return false;
        double integral = 0;
        double previous = 0; // as at the minimum
        for (CurvePoint &point : points_) {
            point.value[c] = to_float(double{point.value[c]} / sum);
            integral += step_ * (previous + double{point.value[c]}) / 2;
            point.integral[c] = integral;
            previous = point.value[c];
        }
        return true;
    }

    Range range_;
    std::span<CurvePoint> points_;
    double step_; // nanometres between points
    CLR_TRISTIMULUS last_row_;
    size_t filled_ = 0; // points so far
};

} // namespace zor::clr
