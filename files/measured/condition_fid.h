// SPDX-License-Identifier: BSD-3-Clause
// condition_fid.h -- what is done to an FID before its transform
#pragma once

#include "files/spectra/complex_signal.h"

#include <optional>
#include <string>

namespace tools {

// Points of the fit for an FID of points points.
//
// Given:
//   resize   empty: as it is; "fill" and "cut": to the next power of two above or below; a number
// Errors: bad_input when the FID's own length is no power of two, wrong_usage when the asked one
//         is not; bad_input for more points than a fit takes.
long long length_for_fit(const std::string &file, long long points, const std::string &resize);

void conjugate(complex_signal &fid);

// Multiplies by exp(i degrees).
void turn_phase(complex_signal &fid, double degrees);

// Phase [degrees] that makes the first point real and positive.
double phase_of_first_point(const complex_signal &fid);

// P[j] = conj(S[(n - j) mod n]), S the centred spectrum of the FID with its first point whole.
//
// Notes:
//   1. A fit reads a binary pattern conjugated and reversed, and halves the first point when it
//      builds the model. With this P the same line given as text pattern and as binary pattern
//      gives the same model.
complex_signal binary_pattern(const complex_signal &fid);

// What the FID of a strong single line (water) tells about the magnet and the gradients.
struct measured_lineshape {
    double frequency = 0.0;    // of its strongest point from the carrier [cycles per point]
    std::vector<double> phase; // [radians] of every point, unsteady part held where the line has
                               // decayed into the noise
    long long reliable = 0;    // points before that
    complex_signal line;       // 1 at point 0, at frequency 0, without eddy-current correction
};

// Errors: bad_input when the first point is 0 or nothing stands above the noise.
measured_lineshape lineshape_of(const complex_signal &water, const std::string &file);

// Of the power of an FID above its noise, the part within half_width of its strongest point [cycles
// per point]; 1 for a single line. Not a number for noise alone.
double share_of_strongest_line(const complex_signal &fid, double half_width);

bool is_all_zero(const complex_signal &fid); // a voxel without data

// Sum of the squares of its points.
double power_of(const complex_signal &fid);

// Whether one FID is the other one times a factor, to a thousandth of its power.
bool is_copy(const complex_signal &fid, const complex_signal &other);

// Multiplies by exp(-i phase): lines become as they would be in a steady field, and the line of the
// reference comes to the carrier with phase 0.
//
// Source: U. Klose, Magn. Reson. Med. 14 (1990) 26-30.
void correct_eddy_currents(complex_signal &fid, const measured_lineshape &reference);

} // namespace tools
