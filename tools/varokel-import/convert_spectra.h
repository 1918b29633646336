// SPDX-License-Identifier: BSD-3-Clause
// convert_spectra.h -- from the FIDs of a file to what a fit reads
#pragma once

#include "varokel-import/choose_spectra.h"

#include <optional>
#include <string>

namespace tools {

// Options that both conversions take.
struct input_options {
    std::string input, format;
    std::string json;                // empty: the one beside input, if any
    std::optional<long long> points; // of one FID
    choice_options choice;
    std::string resize; // empty, "fill", "cut" or a number
    std::string phase;  // empty, "auto" or degrees
    bool conjugate = false;
    bool force = false;
};

// Options of a spectrum; what is given wins over what the file says.
struct spectrum_options {
    std::string folder;
    std::optional<double> dwell_time, bandwidth, mhz, ppm_at_carrier, begin_time;
    std::optional<std::string> nucleus, axis;
    std::string noise;     // empty or "first:last"
    std::string reference; // file of the FID of a single strong line
    bool eddy = false;
    long long memory = 128; // for the FIDs of one pass over the file [MiB]
};

// Writes a spectrum and its sidecar for each FID that is chosen, prints their names and the control
// file's keywords for them, and warns of what was guessed. All files appear together at the end.
// Errors: as the readers; wrong_usage; bad_output.
void import_spectra(const input_options &options, const spectrum_options &own);

// Writes the pattern of one FID. Errors: as above.
void import_pattern(const input_options &options, const std::string &output);

// Warnings go to standard error behind the program's name.
void warn(const std::string &text);

// Makes a folder with those above it. Errors: bad_output.
void make_folder(const std::string &folder);

} // namespace tools
