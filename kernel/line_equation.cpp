// SPDX-License-Identifier: BSD-3-Clause
// line_equation.cpp -- the curve equation: one line as a damped oscillation
//
// A Voigt line decays as exp(-pi^2 g^2 t^2 - pi L t) and turns with its frequency; the Gaussian
// is the case L = 0, the Lorentzian the case g = 0. Time runs in units of the acquisition time,
// t = (n + d)/N at point n, where d = phi_1/360 is the acquisition delay in points.
// The added half band, omega = 2 pi (f + N/2), puts the line at point f of the centred spectrum.
#include "kernel/line_equation.h"

#include "kernel/elementary.h"

#include <numbers>

namespace kernel {

decay line_decay(const line_shape &line, int points, double phi_1, bool half_band) {
    using std::numbers::pi;
    const double N = points;
    const double d = phi_1 / 360.0;
    const int half = points / 2;
    const double omega = 2.0 * pi * (line.frequency + half);
    // The delay's own phase is taken off at half weight. docs/quirks.md, Q23.
    const double psi = omega * d / N + pi * line.phase / 180.0 - pi * phi_1 / 360.0;
    const complex_value turn = exp_i(psi);
    return {.re = line.area * turn.re,
            .im = line.area * turn.im,
            .frequency = line.frequency,
            .gauss = pi * pi * line.gauss * line.gauss / (N * N),
            .lorentz = pi * line.lorentz / N,
            .d = d,
            .points = points,
            .half_band = half_band && points > 1};
}

} // namespace kernel
