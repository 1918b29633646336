// SPDX-License-Identifier: BSD-3-Clause
// decay.h -- damped oscillation, added to a complex vector
#pragma once

namespace kernel {

// z(n) = (re + i im) exp(-gauss (n + d)^2 - lorentz (n + d) + 2 pi i frequency n / points
//                        + pi i n, when half_band)
struct decay {
    double re, im;    // complex amplitude at n + d = 0, phase included   [signal]
    double frequency; // from the left edge                             [points]
    double gauss;     // quadratic decay per point^2, not negative
    double lorentz;   // decay per point
    double d;         // acquisition delay                              [points]
    int points;       // length of the whole signal
    bool half_band;   // turned by half the band: the line then lies at `frequency`
};

// Adds z(n) for begin <= n < end to re[n], im[n]. Values below exp(-100) of the amplitude are
// taken as 0.
void add_decay(const decay &curve, int begin, int end, double *re, double *im);

// Where gauss t^2 + lorentz t reaches `exponent`, t > 0: infinite when it never does. Not for a
// gauss below 0. Up to twice too large where lorentz^2 or gauss exponent leaves the range of a
// double; 0 where they overflow and the time itself is below 1e-150.
double time_of_exponent(double gauss, double lorentz, double exponent);

} // namespace kernel
