// color_matrix.h - matrices between rgb of a set of primaries and X, Y, Z, and the two that the
// process has set.
//
// Matrices are for rows, as in ops.h: out[k] = in[0] m[k] + in[1] m[3 + k] + in[2] m[6 + k].
// Primaries are twelve floats as in ZOR_INFO, of which x and y count; null: the colour defaults.
#pragma once

#include <array>

#include "zor/driver.h"

namespace zor {

using Matrix = std::array<double, 9>;
using Triple = std::array<double, 3>;

constexpr Matrix identity_matrix = {1, 0, 0, 0, 1, 0, 0, 0, 1};

// Applies a, then b.
Matrix product(const Matrix &a, const Matrix &b);

Triple transform(const Triple &in, const Matrix &m);

// False, with the inverse left alone, for a matrix that has none, or none that floats could tell
// from noise.
bool invert(const Matrix &m, Matrix *inverse);

// X, Y, Z of the white of primaries, Y being 1; false when it has y = 0 or is not finite.
bool white_point(const float *primaries, Triple *white);

// From rgb to X, Y, Z; false when primaries and white do not define it.
bool rgb_to_xyz(const float *primaries, Matrix *to_xyz);

// The matrices that are set, and what ZOR_color_matrix_set does, with a copy of what was set:
// another thread may set others at any time.
struct ColorMatrices {
    Matrix to_xyz, from_xyz;
};
ColorMatrices color_matrices();
bool set_color_matrices(const float *primaries, ColorMatrices *set);

// The pushes of ops.h that go by the process's matrices, with the caller's instead.
ZOR_IMAGE *push_rgb_transform(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve,
                              const ColorMatrices &matrices);
ZOR_IMAGE *push_xyz_transform(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve,
                              const ColorMatrices &matrices);
ZOR_IMAGE *push_samples_to_display(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve,
                                   const ColorMatrices &matrices);

} // namespace zor
