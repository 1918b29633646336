// SPDX-License-Identifier: BSD-3-Clause
// line_width.h -- widths of lines, as the fit has them
#pragma once

namespace tools {

// Full width at half maximum over the width of control files: 2 sqrt(ln 2) = 1.665 rounded up.
// Files of earlier runs hold widths made with 1.67.
inline constexpr double gauss_fwhm_per_width = 1.67;

} // namespace tools
