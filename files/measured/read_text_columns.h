// SPDX-License-Identifier: BSD-3-Clause
// read_text_columns.h -- FIDs as text, real and imaginary part of a point on a line
#pragma once

#include "files/measured/spectrum_source.h"

#include <memory>

namespace tools {

// Numbers stand between blanks, tabs, commas or semicolons. Empty lines and lines that begin with
// #, % or ! are passed over, and so is a first line without a number (a heading).
//
// Notes:
//   1. Such a file states nothing about its points; json and points as for read_plain_fid.
//   2. ppm rises with the points unless the JSON says otherwise, and that is a guess then.
std::unique_ptr<spectrum_source> read_text_columns(const std::string &file, const std::string &json,
                                                   const std::optional<long long> &points);

} // namespace tools
