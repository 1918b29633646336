// SPDX-License-Identifier: BSD-3-Clause
// time_factor.h -- derivatives of a curve by its parameters
#pragma once

#include "engine/parameter_map.h"

#include <complex>

namespace engine {

// d/dx of a curve is factor t^power times the curve, t = (n + d) / N; of an area, times the curve
// with area 1.
struct time_factor {
    std::complex<double> factor;
    int power;
};

// by: how the parameter hangs on its column; squared: whether that holds its square; g: the
// Gaussian width.
time_factor time_factor_of(quantity q, const affine &by, bool squared, double g);

} // namespace engine
