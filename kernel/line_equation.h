// SPDX-License-Identifier: BSD-3-Clause
// line_equation.h -- the curve equation: one line as a damped oscillation
#pragma once

#include "kernel/decay.h"

namespace kernel {

// A line of the centred spectrum.
struct line_shape {
    double area;      // [signal]
    double frequency; // [points], 0 = the first point
    double gauss;     // Gaussian width [points / 1.67]
    double lorentz;   // Lorentzian width [points]
    double phase;     // zero-order phase [degrees]
};

// The line in the time domain, docs/model.md equations 1 to 4, for a delay of phi_1 degrees before
// the first point. half_band turns it so that frequency counts from the first point of the centred
// spectrum (never with a single point).
decay line_decay(const line_shape &line, int points, double phi_1, bool half_band);

} // namespace kernel
