// SPDX-License-Identifier: BSD-3-Clause
// fit_problem.h -- what is fitted to what, as plain values
//
// The model of docs/model.md: a sum of damped oscillations, and of stored decays that are broadened
// and shifted as a whole. Frequencies and widths are in points of the spectrum, frequencies from
// its left edge; a Gaussian width is its FWHM / 1.67, as everywhere in the files; phases are in
// degrees.
#pragma once

#include "engine/result.h"

#include <array>
#include <complex>
#include <limits>
#include <vector>

namespace engine {

enum class line_type { gaussian = 1, lorentzian, voigt, pattern };

// The five parameters of an entry.
enum quantity : int { area, frequency, gauss_width, phase, lorentz_width, quantities };

inline constexpr quantity every_quantity[] = {area, frequency, gauss_width, phase, lorentz_width};

enum class link { fixed, free, tied };

// A parameter that is tied is factor x (the same parameter of entry `source`) + offset.
struct parameter {
    double start = 0.0;
    link how = link::fixed;
    int source = -1; // entry, from 0
    double factor = 1.0, offset = 0.0;
    double lower = -std::numeric_limits<double>::infinity(); // window; widths are never negative
    double upper = std::numeric_limits<double>::infinity();
};

struct entry {
    line_type type = line_type::lorentzian;
    std::array<parameter, quantities> of;
    int pattern = -1;             // index of fit_problem::patterns; of a pattern only
    bool takes_lineshape = false; // the fitted one
};

struct acquisition {
    int points = 0;                 // complex, a power of two
    double hz_per_point = 1.0;      // only for values that are derived in Hz or ppm
    double first_order_phase = 0.0; // 360 x delay / dwell time [degrees]
    int ignored = 0;                // leading points of the decay that count as 0
    int kept = 0;                   // points of the decay behind which all is 0; 0: all of them
};

enum class channel { absorption, dispersion, both };

struct interval {
    int first, last; // points, both included
};

typedef std::vector<std::complex<double>> complex_signal;
// What the parameters of an entry are, in the order of enum quantity.
typedef std::array<double, quantities> values_of_entry;

struct fit_problem {
    acquisition when;
    complex_signal spectrum; // centred, carrier at points / 2 [signal]
    std::vector<entry> entries;
    std::vector<interval> intervals; // fitted points; none: all
    channel part = channel::both;
    double noise_sd = 0.0;                // per channel [signal]
    std::vector<complex_signal> patterns; // decays of `points` values; an area is a factor of them
    complex_signal measured_lineshape;    // decay that multiplies every curve; empty: none
    std::vector<std::complex<double>> lineshape; // coefficients of the fitted lineshape, middle one
                                                 // at frequency 0; empty: none
    bool lineshape_free = false;
};

} // namespace engine
