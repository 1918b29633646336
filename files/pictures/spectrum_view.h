// SPDX-License-Identifier: BSD-3-Clause
// spectrum_view.h -- how the signals of a run are found and shown
#pragma once

#include "files/spectra/spectrum_axis.h"
#include "files/spectra/complex_signal.h"
#include "files/pictures/draw_spectra.h"

#include <string>
#include <vector>

namespace tools {

// The name of an output signal: RUN.fit, or RUN.fit.sdf where the data had a header file.
//
// Given: run, folder and name of the fitted signal without ending; ending, such as ".fit".
// Errors: bad_input when there is neither.
std::string signal_of_run(const std::string &run, const char *ending);

// Real part of n points of x from point first on, after a phase of phi_0 + phi_1 i/n [degrees] at
// point i (of the n) is taken off.
std::vector<double> real_part(const complex_signal &x, std::size_t first, std::size_t n,
                              double phi_0, double phi_1);

// The phase [degrees] whose removal turns the strongest lines upright: after phi_1 is taken off,
// the mean of the points that reach a third of the highest magnitude, by their size squared, is
// real. 0 for a spectrum of zeros.
double upright_phase(const complex_signal &x, double phi_1);

// The horizontal axis of n points. kind is "ppm", "hz", "points", or empty for the first of them
// that the items allow. Errors: bad_input when the items do not allow the kind asked for.
plot_axis plot_axis_of(const spectrum_axis &items, const std::string &kind, long long n);

} // namespace tools
