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

// Points at even distances from one end of the range to the other, at least two.
class Curves {
public:
    constexpr Curves(Range range, std::span<CurvePoint> points)
        : range_(range),
          points_(points),
          step_((double{range.maximum} - double{range.minimum}) /
                static_cast<double>(points.size() - 1)) {}

    // Fills the points from a table, ascending by wavelength; of rows with one wavelength the first
    // counts. The functions fall to 0 at both ends of the range, whatever the table says there.
    // Returns false when a function has no integral.
    constexpr bool resample(std::span<const CLR_TRISTIMULUS *const> rows) {
        double sums[3] = {};
        Segment segment(range_, rows);
        for (size_t i = 0; i < points_.size(); ++i) {
            const double at = double{range_.minimum} + static_cast<double>(i) * step_;
            segment.move_to(std::min(at, double{range_.maximum}));
            for (int c = 0; c < 3; ++c) {
                points_[i].value[c] = segment.value(c);
                sums[c] += double{points_[i].value[c]} * step_;
            }
        }
        for (int c = 0; c < 3; ++c)
            if (!normalise(c, sums[c]))
                return false;
        return true;
    }

    // The integral of a function from the minimum to a wavelength anywhere.
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
    // Walks along a table, between one row and the next.
    class Segment {
    public:
        constexpr Segment(Range range, std::span<const CLR_TRISTIMULUS *const> rows)
            : rows_(rows),
              end_{range.maximum, 0, 0, 0},
              left_{range.minimum, 0, 0, 0},
              right_(next_row()) {}

        // Wavelengths must rise, and not beyond the range.
        constexpr void move_to(double wavelength) {
            while (wavelength > right_.wavelength) {
                left_ = right_;
                right_ = next_row();
            }
            share_ = (wavelength - double{left_.wavelength}) /
                     (double{right_.wavelength} - double{left_.wavelength});
        }

        [[nodiscard]] constexpr float value(int c) const {
            return to_float(get(left_, c) * (1 - share_) + get(right_, c) * share_);
        }

    private:
        static constexpr double get(const CLR_TRISTIMULUS &row, int c) {
            return c == 0 ? row.x : c == 1 ? row.y : row.z;
        }

        // The row that follows the left one.
        constexpr CLR_TRISTIMULUS next_row() {
            while (!rows_.empty() && rows_.front()->wavelength <= left_.wavelength)
                rows_ = rows_.subspan(1);
            return rows_.empty() || rows_.front()->wavelength >= end_.wavelength ? end_
                                                                                 : *rows_.front();
        }

        std::span<const CLR_TRISTIMULUS *const> rows_; // not yet passed
        CLR_TRISTIMULUS end_;
        CLR_TRISTIMULUS left_;
        CLR_TRISTIMULUS right_;
        double share_ = 0; // of the right row
    };

    // Makes the sum of a function 1, then integrates it.
    constexpr bool normalise(int c, double sum) {
        if (sum == 0)
            return false;
        double integral = 0;
        float previous = 0; // as at the minimum
        for (CurvePoint &point : points_) {
            point.value[c] = to_float(double{point.value[c]} / sum);
            integral += step_ * (double{previous} + double{point.value[c]}) / 2;
            point.integral[c] = integral;
            previous = point.value[c];
        }
        return true;
    }

    Range range_;
    std::span<CurvePoint> points_;
    double step_; // nanometres between points
};

} // namespace zor::clr
