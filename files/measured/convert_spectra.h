// SPDX-License-Identifier: BSD-3-Clause
// convert_spectra.h -- from the FIDs of a file to what a fit reads
#pragma once

#include "files/measured/spectrum_conversion.h"

#include <string>

namespace tools {

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
