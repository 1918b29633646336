// SPDX-License-Identifier: BSD-3-Clause
// unit_curves.h -- spectra of single entries with area 1 and phase 0, as the fit has them
#pragma once

#include "files/spectra/transform.h"
#include "files/start/start_file.h"

#include <string>

namespace tools {

struct curve_settings {
    int points = 0;
    int kept = 0;    // points of the time domain; the rest is 0
    int ignored = 0; // leading points that are 0
    double hz_per_point = 1.0, phi_1 = 0.0;
};

// Time-domain points of a pattern file, text or binary, as an entry of area 1 has them.
// Errors: bad_input, naming file and item.
complex_signal read_pattern(const std::string &file, const curve_settings &settings);

// Centred spectrum of an entry with area 1 and phase 0; pattern is empty for a line.
complex_signal unit_curve(const start_entry &entry, const complex_signal &pattern,
                          const curve_settings &settings);

// A centred spectrum with the points of the time domain removed that the curves do not have.
complex_signal without_missing_points(const complex_signal &spectrum,
                                      const curve_settings &settings);

} // namespace tools
