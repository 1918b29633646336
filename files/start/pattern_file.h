// SPDX-License-Identifier: BSD-3-Clause
// pattern_file.h -- stored decays of whole molecules, as text or binary
#pragma once

#include "files/spectra/complex_signal.h"

#include <string>

namespace tools {

// The decay of a pattern file, as an entry of area 1 has it before it is shaped: when.points
// values. A name with .pat is text, lines in Hz; else it is binary, a spectrum. Of `when`, points,
// Hz per point and first-order phase count. Errors: bad_input, naming file and item.
complex_signal read_pattern(const std::string &file, const engine::acquisition &when);

} // namespace tools
