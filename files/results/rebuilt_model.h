// SPDX-License-Identifier: BSD-3-Clause
// rebuilt_model.h -- what a control file says, its curves, and how the errors of its values hang
// together
//
// A run leaves the error of each parameter, not their covariance; a sum or a ratio of areas needs
// that. Model, intervals and noise of a run are known from its files, so the engine can take them.
#pragma once

#include "files/spectra/complex_signal.h"
#include "files/start/start_file.h"

#include "engine/fit_problem.h"

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace tools {

struct rebuilt_model : start_file {
    bool read = false;             // the control file could be read
    std::string why;               // why not, or why there is no covariance
    double chi_in_intervals = 0.0; // data against the model of the file, last step's points
    long long points_in_intervals = 0;
    // by which the first step, if it aligns, moves all entries of the file; not a number without
    double aligned_points = 0.0;
    complex_signal fit;                     // the model's spectrum, with data
    std::vector<complex_signal> components; // of each entry alone
    bool has_covariance = false;
    std::vector<double> covariance; // 5 entries x 5 entries, entry by entry, engine's order and
                                    // units (points); empty without one
    // 2 sigma, in the units of the file; empty without a covariance
    std::vector<std::array<double, quantities>> parameter_errors;
    double covariance_of(std::size_t k, int q, std::size_t l, int r) const;
    std::string dependent; // numbers of the entries that cannot be told apart, "2, 5"
};

// What rebuild_model takes beside the file.
struct rebuilt_from {
    complex_signal data;      // spectrum as it was fitted (.org); may be empty: no curves
    std::string reference;    // file of the measured lineshape, read in fit mode 2
    double noise_sd = 0.0;    // of the real part [signal]; 0 asks for no covariance
    bool by_strategy = false; // only what the strategy frees counts as free, not all without a link
    bool curves = false;      // fit and components are asked for
    // Values in place of the file's, which has nine digits; in points. Empty: the file's.
    std::vector<engine::values_of_entry> values = {};
    std::vector<std::complex<double>> lineshape = {};
    std::vector<std::array<bool, 5>> held = {}; // parameters that stood at the edge of a window
};

// Reads the control file `file` of a run in `folder`, where its patterns stand.
//
// Notes:
//   1. Points and channels are those of the last step that fits something, as in the run.
//   2. Nothing is refused by an exception: read is false, or why says what is missing.
rebuilt_model rebuild_model(const std::string &folder, const std::string &file,
                            const rebuilt_from &from);

} // namespace tools
