// SPDX-License-Identifier: BSD-3-Clause
// import_spectra.h -- from the FIDs of a file to what a fit reads
#pragma once

#include "files/measured/spectrum_conversion.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tools {

// A spectrum that an import makes.
struct imported_spectrum {
    std::string name;                       // of its files, without ending
    std::string signal, sidecar, reference; // files; reference is empty without one
    long long points = 0;
    double hz_per_point = 0.0;   // [Hz]
    engine::noise_window noise;  // [points]
    std::optional<double> phi_1; // [degrees], where the begin of the FID is known
};

// What an import tells while it runs.
struct import_listener {
    // Each spectrum in turn; its files appear with all others at the end.
    std::function<void(const imported_spectrum &)> made;
    // Behind each pass of several over the file: spectra so far, and of how many. May be empty.
    std::function<void(std::size_t, std::size_t)> passed;
};

// Writes a spectrum and its sidecar for each FID that is chosen. All files appear together at the
// end. Returns what was guessed and what a user should know, a sentence each.
// Errors: as the readers; wrong_usage; bad_output.
std::vector<std::string> import_spectra(const input_options &options, const spectrum_options &own,
                                        const import_listener &listener);

// Writes the pattern of one FID. Errors: as above.
void import_pattern(const input_options &options, const std::string &output);

// Makes a folder with those above it. Errors: bad_output.
void make_folder(const std::string &folder);

struct converted_spectrum {
    std::string name; // as the import would call its files
    complex_signal points;
    ordered_json sidecar; // as the import would write it, but for what it says of files
};

struct converted_spectra {
    std::vector<converted_spectrum> spectra; // the first few that are not zero
    std::size_t chosen = 0;                  // how many there are
    std::vector<std::string> remarks;        // guesses and warnings, a sentence each
};

// The first `most` of the spectra that the options choose, as import_spectra makes them; a
// reference line takes no part. Errors: as the readers, and bad_input when all are zero.
converted_spectra spectra_of_file(const input_options &options, const spectrum_options &own,
                                  std::size_t most);

} // namespace tools
