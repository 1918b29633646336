// SPDX-License-Identifier: BSD-3-Clause
// water_signal.h -- how much signal water without suppression gives
//
// The magnitude of the FID of one line falls as
//
//   |s(t)| = A exp(-pi L t - pi^2 g^2 t^2)
//
// whatever its phase, its frequency, and what eddy currents do to both; so ln|s| is a parabola in
// t, and its value at t = 0 says A: the area of the line, in the unit in which a fit has areas.
// Linear least squares over the first points, weighted with |s|^2 (the variance of ln|s| is that of
// the noise over |s|^2), which ends where less than half of the signal is left: what the line does
// later, and other lines, hardly reach into it.
#pragma once

#include "files/spectra/complex_signal.h"

#include <cstddef>
#include <string>

namespace tools {

struct water_signal {
    double area = 0.0;       // at time 0 [signal]
    double area_error = 0.0; // one standard deviation, from the scatter about the parabola
    double lorentz_hz =
        0.0; // L: FWHM of the Lorentzian part [Hz]; with g it is how the signal falls
    double gauss_squared_hz2 = 0.0; // g^2 [Hz^2]; below 0 where the signal falls ever slower
    std::size_t first = 0;          // point that was used; those before it do not go with the rest
    std::size_t points = 0;         // that were used
    double misfit = 0.0;            // root mean square about the parabola, relative
};

// Given:
//   fid          from its first measured point on
//   dwell_time   [s]
//   begin_time   of the first point [s], 0 or more
// Errors: bad_input when fewer than 8 points stand above half of the strongest of the first ones,
//         or points are 0 among them; file names the FID.
water_signal water_signal_of(const complex_signal &fid, double dwell_time, double begin_time,
                             const std::string &file);

} // namespace tools
