// SPDX-License-Identifier: BSD-3-Clause
// complex_polar.h -- size, angle and turn of a complex number: the same bits on every machine
//
// The C library picks variants of the functions behind std::abs, std::arg and std::polar by
// processor; a start value that differs in its last digit goes on into the fit.
#pragma once

#include "kernel/elementary.h"

#include <complex>

namespace tools {

inline double size_of(std::complex<double> z) {
    return kernel::hypot(z.real(), z.imag());
}
// radians
inline double angle_of(std::complex<double> z) {
    return kernel::atan2(z.imag(), z.real());
}
// exp(i angle), angle in radians
inline std::complex<double> turn_by(double angle) {
    const kernel::complex_value turn = kernel::exp_i(angle);
    return {turn.re, turn.im};
}

} // namespace tools
