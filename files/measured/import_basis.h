// SPDX-License-Identifier: BSD-3-Clause
// import_basis.h -- a basis set becomes binary patterns that match a measurement
#pragma once

#include "files/measured/read_lcmodel_basis.h"

#include <string>
#include <vector>

namespace tools {

struct basis_options {
    std::string input, folder;
    std::string like; // sidecar of the spectrum that the patterns are for
    std::optional<long long> points;
    std::optional<double> dwell_time, bandwidth, mhz, ppm_at_carrier;
    std::vector<std::string> only; // metabolites; empty: all
    bool rescale = false;          // to a field that differs by up to 5 %
    bool force = false;
};

// What the patterns have to match.
struct pattern_grid {
    long long points = 0;
    double dwell_time = 0.0; // [s]
    double mhz = 0.0;        // [MHz]
    double ppm_at_carrier = 4.65;
    bool ppm_rises_with_points = false;
};

// The FID of a metabolite, as it would have been measured on the grid.
//
// Given:
//   spectrum   as read_lcmodel_basis has it
// Notes:
//   1. With the same dwell time and field the FID is that of the basis, cut or filled with zeros,
//      and turned so that it lies at its ppm.
//   2. Else the spectrum is evaluated at the frequencies of the grid's points, by the sum over the
//      basis FID up to the end of the measurement. Frequencies, widths and splittings go with the
//      ratio of the fields; areas stay. Points outside of the band of the basis are 0.
complex_signal fid_on_grid(const complex_signal &spectrum, const basis_header &header,
                           const pattern_grid &grid);

struct imported_basis {
    std::vector<std::string> patterns;
    std::string sidecar;
    std::vector<std::string> warnings; // what was guessed
};

// Writes a pattern NAME.bin for each metabolite and patterns.json.
// Errors: wrong_usage, bad_input, bad_output.
imported_basis import_basis(const basis_options &options);

} // namespace tools
