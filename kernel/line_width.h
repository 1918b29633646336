// SPDX-License-Identifier: BSD-3-Clause
// line_width.h -- the width of a Gaussian line and the parameter of its equation
#pragma once

namespace kernel {

// Full width at half height over width parameter: 2 sqrt(ln 2) = 1.665 rounded up. Files of earlier
// runs hold widths made with 1.67.
inline constexpr double gauss_fwhm_per_width = 1.67;

} // namespace kernel
