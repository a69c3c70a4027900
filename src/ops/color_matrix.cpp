// color_matrix.cpp - matrices between rgb and X, Y, Z.
#include "ops/color_matrix.h"

#include <algorithm>
#include <cmath>

#include "platform/platform.h"
#include "zor/clr.h"
#include "zor/ops.h"

namespace zor {

namespace {

// Set by ZOR_color_matrix_set until the next one or a reset; guarded by the library's lock, which
// is not held while anything is reported.
struct Floats {
    std::array<float, 9> to_xyz = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    std::array<float, 9> from_xyz = {1, 0, 0, 0, 1, 0, 0, 0, 1};
};
constinit Floats matrices;

struct Chromaticity {
    double x, y;
};

Chromaticity chromaticity(const float *from) {
    return {static_cast<double>(from[0]), static_cast<double>(from[1])};
}

// Of red, green, blue and white. The colour database is left alone when it is not needed.
std::array<Chromaticity, 4> chromaticities(const float *primaries) {
    if (primaries == nullptr)
        return {chromaticity(CLR_def_red_primary()), chromaticity(CLR_def_green_primary()),
                chromaticity(CLR_def_blue_primary()), chromaticity(CLR_def_white_point())};
    return {chromaticity(primaries), chromaticity(primaries + 3), chromaticity(primaries + 6),
            chromaticity(primaries + 9)};
}

double length(double x, double y, double z) { return std::sqrt(x * x + y * y + z * z); }

Matrix to_double(const std::array<float, 9> &from) {
    Matrix to;
    std::copy(from.begin(), from.end(), to.begin());
    return to;
}

// False for a value that a float cannot hold.
bool to_float(const Matrix &from, std::array<float, 9> *to) {
    std::transform(from.begin(), from.end(), to->begin(),
                   [](double value) { return static_cast<float>(value); });
    return std::all_of(to->begin(), to->end(), [](float value) { return std::isfinite(value); });
}

} // namespace

Matrix product(const Matrix &a, const Matrix &b) {
    Matrix result;
    for (size_t i = 0; i < 3; ++i) {
        const Triple row = transform({a[3 * i], a[3 * i + 1], a[3 * i + 2]}, b);
        std::copy(row.begin(), row.end(), result.begin() + static_cast<std::ptrdiff_t>(3 * i));
    }
    return result;
}

Triple transform(const Triple &in, const Matrix &m) {
    Triple out;
    for (size_t k = 0; k < 3; ++k)
        out[k] = in[0] * m[k] + in[1] * m[3 + k] + in[2] * m[6 + k];
    return out;
}

bool invert(const Matrix &m, Matrix *inverse) {
    const auto minor = [&](size_t a, size_t b, size_t c, size_t d) {
        return m[a] * m[d] - m[b] * m[c];
    };
    const Matrix adjugate = {minor(4, 5, 7, 8), minor(2, 1, 8, 7), minor(1, 2, 4, 5),
                             minor(5, 3, 8, 6), minor(0, 2, 6, 8), minor(2, 0, 5, 3),
                             minor(3, 4, 6, 7), minor(1, 0, 7, 6), minor(0, 1, 3, 4)};
    const double determinant = m[0] * adjugate[0] + m[1] * adjugate[3] + m[2] * adjugate[6];
    // The volume between the rows, beside what it would be if they stood at right angles.
    const double most =
        length(m[0], m[1], m[2]) * length(m[3], m[4], m[5]) * length(m[6], m[7], m[8]);
    if (!std::isfinite(most) || !(std::abs(determinant) > most * 1e-7))
        return false;
    std::transform(adjugate.begin(), adjugate.end(), inverse->begin(),
                   [=](double value) { return value / determinant; });
    return true;
}

bool white_point(const float *primaries, Triple *white) {
    const auto [x, y] = chromaticities(primaries)[3];
    *white = {x / y, 1, (1 - x - y) / y};
    return y != 0 && std::isfinite((*white)[0]) && std::isfinite((*white)[2]);
}

bool rgb_to_xyz(const float *primaries, Matrix *to_xyz) {
    // The colours of the primaries, then how much of each makes white.
    const auto points = chromaticities(primaries);
    Matrix colors;
    for (size_t i = 0; i < 3; ++i) {
        const auto [x, y] = points[i];
        colors[3 * i] = x;
        colors[3 * i + 1] = y;
        colors[3 * i + 2] = 1 - x - y;
    }
    Triple white;
    Matrix inverse;
    if (!white_point(primaries, &white) || !invert(colors, &inverse))
        return false;
    const Triple amounts = transform(white, inverse);
    for (size_t i = 0; i < colors.size(); ++i)
        (*to_xyz)[i] = colors[i] * amounts[i / 3];
    return true;
}

ColorMatrices color_matrices() {
    const platform::Lock lock(platform::library_mutex());
    return {to_double(matrices.to_xyz), to_double(matrices.from_xyz)};
}

bool set_color_matrices(const float *primaries, ColorMatrices *set) {
    Matrix to_xyz;
    Matrix from_xyz;
    Floats floats;
    if (!rgb_to_xyz(primaries, &to_xyz) || !invert(to_xyz, &from_xyz) ||
        !to_float(to_xyz, &floats.to_xyz) || !to_float(from_xyz, &floats.from_xyz))
        return false;
    const platform::Lock lock(platform::library_mutex());
    matrices = floats;
    *set = {to_double(floats.to_xyz), to_double(floats.from_xyz)};
    return true;
}

} // namespace zor

int ZOR_color_matrix_set(int32_t /*num_channels*/, const float *primaries) {
    zor::ColorMatrices set;
    return zor::set_color_matrices(primaries, &set) ? 0 : -1;
}

int ZOR_color_matrix_reset(void) {
    const zor::platform::Lock lock(zor::platform::library_mutex());
    zor::matrices = {};
    return 1;
}

void ZOR_color_matrix_get(float *to_xyz, float *from_xyz) {
    const zor::platform::Lock lock(zor::platform::library_mutex());
    if (to_xyz != nullptr)
        std::copy(zor::matrices.to_xyz.begin(), zor::matrices.to_xyz.end(), to_xyz);
    if (from_xyz != nullptr)
        std::copy(zor::matrices.from_xyz.begin(), zor::matrices.from_xyz.end(), from_xyz);
}
