// SPDX-License-Identifier: BSD-3-Clause
// number_range.h -- numbers that are taken for what is known about a signal
//
// Hertz, seconds, ppm, degrees: products and quotients of two of them and of 2^24 points are
// numbers then, and the width of a spectrum is one of single precision, in which the fit has it.
#pragma once

#include <cmath>

namespace tools {

inline constexpr double least_scale = 1e-30, largest_number = 1e30;
// As the end of a message, behind "expected".
inline constexpr const char *scale_expected = "a number from 1e-30 to 1e30";
inline constexpr const char *number_expected = "a number from -1e30 to 1e30";

// What is above 0: a dwell time, the hertz of a point, a spectrometer's frequency.
inline bool is_scale(double value) {
    return value >= least_scale && value <= largest_number;
}
// What may be 0 or below it, too: a shift, a phase, a begin time.
inline bool is_in_range(double value) {
    return std::fabs(value) <= largest_number;
}

} // namespace tools
