// SPDX-License-Identifier: BSD-3-Clause
// open_source.h -- the reader that fits a file
#pragma once

#include "files/measured/spectrum_source.h"

#include <memory>

namespace tools {

// Names of the formats that are read.
inline constexpr const char *input_formats[] = {"nifti", "raw",  "jmrui",  "sdat",
                                                "rda",   "text", "float32"};

// Given:
//   format   one of these; empty: from the ending of the name and, for texts, from the first line
//   json     what is known about the signal; empty: the JSON beside a float32 or text file, if any
//   points   of one FID, for formats that do not state it
// Errors: bad_input.
std::unique_ptr<spectrum_source> open_source(const std::string &file, const std::string &format,
                                             const std::string &json,
                                             const std::optional<long long> &points);

} // namespace tools
