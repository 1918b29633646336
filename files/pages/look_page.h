// SPDX-License-Identifier: BSD-3-Clause
// look_page.h -- spectra before they are fitted, with the peaks of a table where they would begin
#pragma once

#include "files/pictures/draw_spectra.h"
#include "files/spectra/complex_signal.h"
#include "files/spectra/spectrum_axis.h"

#include "files/base/ordered_json.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools {

struct looked_peak {
    std::string name, type;
    std::optional<double> point; // of a line; a pattern has no place
    double hz = 0.0;             // from the carrier
    double width_hz = 0.0;       // FWHM; not a number where there is none
    double area = 0.0, phase = 0.0;
};

struct looked_spectrum {
    std::string name;
    complex_signal points;
    spectrum_axis axis;
    ordered_json sidecar = ordered_json::object();
    std::optional<std::pair<long long, long long>> noise; // first and last point
    std::vector<std::pair<long long, long long>> intervals;
    double phase = 0.0, phi_1 = 0.0; // [degrees] that are taken off
    std::vector<looked_peak> peaks;
    std::vector<std::string> notes; // what the import did: lines removed, the axis moved
    std::vector<std::string> guesses, warnings;
    std::string why_not; // no start values could be made; empty: they could
};

// A page that loads nothing, as the report. of: how many spectra there are, of which these are the
// first.
std::string look_page(const std::vector<looked_spectrum> &spectra, std::size_t of);

} // namespace tools
