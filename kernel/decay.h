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

} // namespace kernel
