// SPDX-License-Identifier: BSD-3-Clause
// convert_fid.h -- from an FID of float32 pairs to the spectrum or the pattern that a fit reads
#pragma once

#include "common/transform.h"

#include <optional>
#include <string>
#include <utility>

namespace tools {

// What a file of one or more FIDs holds, from its JSON and from the options; options win.
struct fid_description {
    std::string file;
    std::string json;                     // empty when there is none
    std::string stem;                     // file name without folder and ending
    long long points = 0;                 // of one FID, in the file
    long long spectra = 1;                // FIDs in the file, one behind the other
    std::optional<double> dwell_time;     // [s]
    std::optional<double> mhz;            // spectrometer frequency [MHz]
    std::optional<double> ppm_at_carrier; // [ppm]
    std::optional<double> begin_time;     // of the first point after the excitation [s]
    std::optional<std::string> nucleus;
    bool ppm_rises_with_points = true;
    // first and last point of the centred spectrum, inclusive
    std::optional<std::pair<long long, long long>> noise_points, fit_points;
};

// Options that both conversions take.
struct import_options {
    std::string input;
    std::string json;                // empty: the one beside input, if any
    std::optional<long long> points; // of one FID
    std::optional<long long> index;  // which FID, from 0
    std::optional<long long> resize; // cut or fill to this many points
    bool conjugate = false;
    bool force = false;
};

// Collects what is known about the input. Errors: bad_input when sizes do not fit together.
fid_description describe_fid(const import_options &options);

// The FID that the options choose, conjugated and resized as they say: 2^k points.
// Errors: wrong_usage for an index that is missing or too large; bad_input for a length that is
// no power of two.
complex_signal chosen_fid(const fid_description &fid, const import_options &options);

// P[j] = conj(S[(n - j) mod n]), S the centred spectrum of the FID with its first point whole.
//
// Notes:
//   1. A fit reads a binary pattern conjugated and reversed, and halves the first point when it
//      builds the model. With this P the same line given as text pattern and as binary pattern
//      gives the same model.
complex_signal binary_pattern(const complex_signal &fid);

// A stretch of the spectrum that holds noise only, with its spread.
struct noise_window {
    long long first = 0;             // first point
    long long stop = 0;              // one behind the last point
    double sd_re = 0.0, sd_im = 0.0; // about the mean of the stretch, as the fit computes it
};

noise_window noise_of_stretch(const complex_signal &spectrum, long long first, long long stop);

// The stretch of n/8 points (stepped by n/16) with the smallest spread about a straight line.
//
// Notes:
//   1. The smallest of several leans low by a few per cent; a stretch that is known is better.
noise_window quietest_stretch(const complex_signal &spectrum);

} // namespace tools
