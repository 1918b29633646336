// SPDX-License-Identifier: BSD-3-Clause
// signal_items.h -- what options and source say of all spectra, and how a sidecar has it
#pragma once

#include "files/measured/conversion_options.h"
#include "files/measured/spectrum_source.h"

#include <string>
#include <string_view>

namespace tools {

// How item "content" of a sidecar begins: what the file beside it holds.
inline constexpr std::string_view spectrum_content = "centred spectrum";
inline constexpr std::string_view patterns_content = "binary patterns";

// What is known about all outputs, options first; guesses are added to those of the source.
// Errors: wrong_usage for options that contradict each other, bad_input without a dwell time.
void settle_facts(spectrum_source &source, const spectrum_options &own);

// Items of the sidecar that hold for every output.
ordered_json common_items(const spectrum_source &source, bool conjugated, bool rises, long long n);

// First-order phase of the delay before the first point, 360 degrees per dwell time. Rounded to a
// millionth of a degree: 0.0003 / 0.0001 is a hair below 3.
double delay_phase(double begin_time, double dwell_time);

// The fewest digits that give the same number.
std::string shortest(double value);

// Name without folder, for a sidecar. Errors: bad_input with the place of what is no UTF-8.
std::string file_name(const std::string &path);

} // namespace tools
