// SPDX-License-Identifier: BSD-3-Clause
// rebuilt_model.h -- what a control file says, and the covariance of the areas that a fit of it had
//
// A run leaves the error of each parameter, not how the errors hang together; a sum or a ratio of
// areas needs that. Model, intervals and noise of a run are known from its files, so the matrix can
// be had again: the control file of the result is read by the program's own reader, the derivatives
// of the model are taken by its own routine, and the Fisher matrix is summed and inverted here.
#pragma once

#include "files/spectra/transform.h"

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace tools {

struct rebuilt_step {
    int method = 2;            // 1 random search, else conjugate gradients
    int truncation = 0;        // time-domain points
    std::array<int, 10> row{}; // ampli frequ width phase voigt lsfft wtype convo niter cmplx
    std::vector<std::pair<long long, long long>> intervals; // first and last point
    bool fits_something() const { return row[0] + row[1] + row[2] + row[3] + row[4] + row[5] != 0; }
};

struct control_entry {
    int type = 0;
    std::array<int, 5> link{};     // area, frequency, width1, phase, width2
    std::array<double, 5> value{}; // [signal], [Hz], [Hz], [degrees], width2 [Hz], points for
                                   // Lorentzian lines; widths of patterns in points
    std::array<double, 5> error{}; // 2 sigma, same units; only with a covariance
};

struct rebuilt_model {
    bool read = false; // the control file could be read
    std::string why;   // why not, or why there is no covariance
    int points = 0, lines = 0, patterns = 0, noise_first = 0, noise_stop = 0, fit_mode = 0;
    int ignored = 0, lsf_coefficients = 0, errors_asked = 0;
    double hz_per_point = 0.0, phi_1 = 0.0;
    std::vector<rebuilt_step> steps;
    std::vector<std::string> pattern_files;
    std::vector<control_entry> entries;
    double chi_in_intervals = 0.0; // data against the model of the file, last step's points
    long long points_in_intervals = 0;
    // by which the first step, if it aligns, moves all entries of the file; not a number without
    double aligned_points = 0.0;
    bool has_covariance = false;
    std::vector<double> area_covariance; // entries x entries [signal^2]
};

// Reads the control file `file` as a run in `folder` would (patterns stand there), in a process of
// its own: the run state is one per process, and a reader that ends the run ends only that one.
//
// Given:
//   data        spectrum as it was fitted (.org), for chi_in_intervals and aligned_points; may be
//               empty
//   reference   file of the measured lineshape, read in fit mode 2
//   noise_sd    of the real part [signal]; 0 asks for no covariance
//
// Notes:
//   1. The weights are those of the last step that fits something, as in the run.
//   2. Areas of patterns belong to their files; the norm is divided out again.
rebuilt_model rebuild_model(const std::string &folder, const std::string &file,
                            const complex_signal &data, const std::string &reference,
                            double noise_sd);

} // namespace tools
