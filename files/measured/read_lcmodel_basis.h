// SPDX-License-Identifier: BSD-3-Clause
// read_lcmodel_basis.h -- LCModel .BASIS files: spectra of whole metabolites
#pragma once

#include "files/spectra/complex_signal.h"

#include <functional>
#include <optional>
#include <string>

namespace tools {

struct basis_header {
    double dwell_time = 0.0;         // [s]
    double mhz = 0.0;                // spectrometer frequency [MHz]
    long long points = 0;            // of each spectrum
    std::optional<double> echo_time; // [s]
};

struct basis_spectrum {
    std::string name;
    long long line = 0;      // where its group begins
    complex_signal spectrum; // in the order of the transform: point 0 is 4.65 ppm, ppm falls with
                             // the points, the upper half holds what lies above 4.65 ppm. Shifted
                             // by ISHIFT and multiplied by TRAMP / (VOLUME CONC).
};

// Hands each metabolite of the file to take, one after the other.
// Errors: bad_input, naming file, line and item; for an encrypted basis (BADELT below 0) too.
basis_header
read_lcmodel_basis(const std::string &file,
                   const std::function<void(const basis_header &, basis_spectrum)> &take);

} // namespace tools
