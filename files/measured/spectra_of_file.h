// SPDX-License-Identifier: BSD-3-Clause
// spectra_of_file.h -- spectra of a measured file as values, for looking
#pragma once

#include "files/spectra/complex_signal.h"
#include "files/measured/conversion_options.h"

#include "files/base/ordered_json.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tools {

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
