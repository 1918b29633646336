// SPDX-License-Identifier: BSD-3-Clause
// conversion_options.h -- what is taken of a measured file, and what is done to it
#pragma once

#include "files/spectra/reference_peak.h"
#include "files/measured/choose_spectra.h"

#include <optional>
#include <string>

namespace tools {

// Options that both conversions take.
struct input_options {
    std::string input, format;
    std::string json;                // empty: the one beside input, if any
    std::optional<long long> points; // of one FID
    std::string dimensions;          // of FIDs that the file only counts: "DIM_COIL=4,DIM_DYN"
    choice_options choice;
    std::string resize; // empty, "fill", "cut" or a number
    std::string phase;  // empty, "auto" or degrees
    bool conjugate = false;
    bool combine_coils = false, align_averages = false;
    bool coils_beside = false; // a reference or water has coils, the data may be combined already
    bool force = false;
};

// Options of a spectrum; what is given wins over what the file says.
struct spectrum_options {
    std::string folder;
    std::optional<double> dwell_time, bandwidth, mhz, ppm_at_carrier, begin_time;
    std::optional<std::string> nucleus, axis;
    std::string reference_text; // of the command line, read into the following
    std::optional<tools::reference_peak> reference_peak; // sets the ppm axis
    std::string remove_water;  // empty or "low:high" [ppm]: lines that are taken out
    long long water_order = 0; // of what describes the FID for that; 0: by what is left
    std::string noise;         // empty or "first:last"
    std::string reference;     // file of the FID of a single strong line
    bool eddy = false;
    long long memory = 128; // for the FIDs of one pass over the file [MiB]
};

} // namespace tools
