// difference.cpp - comparing rows of any types of samples.
#include "difference.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zor {

namespace {

template<class Sample>
void scale(const void *row, double factor, std::vector<double> &fractions) {
    const auto *samples = static_cast<const Sample *>(row);
    for (size_t x = 0; x < fractions.size(); ++x)
        fractions[x] = static_cast<double>(samples[x]) * factor;
}

// Division by the largest integer, not multiplication: white is 1 whatever the width.
template<class Sample>
void divide(const void *row, double largest, std::vector<double> &fractions) {
    const auto *samples = static_cast<const Sample *>(row);
    for (size_t x = 0; x < fractions.size(); ++x)
        fractions[x] = static_cast<double>(samples[x]) / largest;
}

double largest_integer(const ZOR_CHANNELS &group) { return std::ldexp(1, group.bits) - 1; }

void read_fractions(const void *row, const ZOR_CHANNELS &group, std::vector<double> &fractions) {
    if (group.type == ZOR_C_FLOAT)
        return scale<float>(row, 1, fractions);
    if (group.type == ZOR_C_DOUBLE)
        return scale<double>(row, 1, fractions);
    const double largest = largest_integer(group);
    switch (ZOR_sample_size(group.type, group.bits)) {
    case 1:
        return divide<uint8_t>(row, largest, fractions);
    case 2:
        return divide<uint16_t>(row, largest, fractions);
    default:
        return divide<uint32_t>(row, largest, fractions);
    }
}

// What is no number equals its like, and is infinitely far from everything else.
double distance(double a, double b) {
    const double d = std::abs(a - b);
    if (!std::isnan(d))
        return d;
    return a == b || (std::isnan(a) && std::isnan(b)) ? 0 : std::numeric_limits<double>::infinity();
}

std::string count_text(const char *what, int64_t a, int64_t b) {
    return std::to_string(a) + " against " + std::to_string(b) + " " + what;
}

} // namespace

double Difference::rms() const {
    return count > 0 ? std::sqrt(squares / static_cast<double>(count)) : 0;
}

double Difference::psnr() const {
    return rms() > 0 ? -20 * std::log10(rms()) : std::numeric_limits<double>::infinity();
}

void Difference::add(const Difference &other) {
    maximum = std::max(maximum, other.maximum);
    squares += other.squares;
    count += other.count;
}

Difference sum_up(const std::vector<double> &apart) {
    Difference sum;
    for (const double d : apart) {
        sum.maximum = std::max(sum.maximum, d);
        sum.squares += d * d;
    }
    sum.count = static_cast<int64_t>(apart.size());
    return sum;
}

std::string Pair::unlike() const {
    const ZOR_IMAGE_DESC &a = a_.desc();
    const ZOR_IMAGE_DESC &b = b_.desc();
    if (a_.width() != b_.width() || a_.height() != b_.height())
        return "sizes differ: " + std::to_string(a_.width()) + " x " + std::to_string(a_.height()) +
               " against " + std::to_string(b_.width()) + " x " + std::to_string(b_.height());
    std::string counts;
    const auto check = [&counts](const ZOR_CHANNELS &x, const ZOR_CHANNELS &y, const char *what) {
        if (x.count != y.count)
            counts += (counts.empty() ? "" : ", ") + count_text(what, x.count, y.count);
    };
    check(a.image, b.image, "colour");
    check(a.matte, b.matte, "matte");
    check(a.aux, b.aux, "auxiliary");
    return counts.empty() ? "" : "channels differ: " + counts;
}

bool Pair::read(int64_t row) {
    void *const *a = a_.read(row);
    void *const *b = a != nullptr ? b_.read(row) : nullptr;
    if (b == nullptr)
        return false;
    const auto width = static_cast<size_t>(a_.width());
    fractions_.resize(width);
    apart_.resize(static_cast<size_t>(a_.num_channels()));
    for (int32_t k = 0; k < a_.num_channels(); ++k) {
        std::vector<double> &apart = apart_[static_cast<size_t>(k)];
        apart.resize(width);
        read_fractions(a[k], a_.group(k), apart);
        read_fractions(b[k], b_.group(k), fractions_);
        std::transform(apart.begin(), apart.end(), fractions_.begin(), apart.begin(), distance);
    }
    return true;
}

std::optional<double> Pair::codes(int32_t channel) const {
    const ZOR_CHANNELS &a = a_.group(channel);
    const ZOR_CHANNELS &b = b_.group(channel);
    if (a.type != ZOR_C_INTEGER || b.type != ZOR_C_INTEGER || a.bits != b.bits)
        return std::nullopt;
    return largest_integer(a);
}

} // namespace zor
