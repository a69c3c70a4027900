// difference.h - how far the samples of two pictures lie apart.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "row_reader.h"

namespace zor {

// Of the samples of a channel, as fractions of the full range: the largest integer, or 1 in floats.
struct Difference {
    double maximum = 0; // infinite where a number stands against none
    double squares = 0; // the sum of
    int64_t count = 0;

    [[nodiscard]] double rms() const;
    [[nodiscard]] double psnr() const; // decibels; infinite for equal samples

    void add(const Difference &other);
};

// Two pictures side by side.
class Pair {
public:
    Pair(RowReader &a, RowReader &b) : a_(a), b_(b) {}

    // Why they have no samples to compare one by one; empty when they have.
    [[nodiscard]] std::string unlike() const;

    // The order that suits both best.
    [[nodiscard]] bool rising() const { return a_.rises(); }

    // To be called once, before rows are compared. Returns false after a report.
    bool start(bool rising) { return a_.start(rising) && b_.start(rising); }

    // Works out the difference of a row, counted from the bottom. Returns false after a report.
    bool read(int64_t row);

    // What differs between the rows that were read last, sample by sample.
    [[nodiscard]] const std::vector<double> &apart(int32_t channel) const {
        return apart_[static_cast<size_t>(channel)];
    }

    [[nodiscard]] const RowReader &a() const { return a_; }
    [[nodiscard]] const RowReader &b() const { return b_; }

    // The largest integer of a channel, where it is the same in both.
    [[nodiscard]] std::optional<double> codes(int32_t channel) const;

private:
    RowReader &a_;
    RowReader &b_;
    std::vector<double> fractions_;
    std::vector<std::vector<double>> apart_;
};

// Adds up a row's.
Difference sum_up(const std::vector<double> &apart);

} // namespace zor
