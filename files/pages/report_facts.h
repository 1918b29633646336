// SPDX-License-Identifier: BSD-3-Clause
// report_facts.h -- what the page of a fit says before its tables: verdict, measurement, method
#pragma once

#include "files/results/run_result.h"

#include <string>
#include <utility>

namespace tools {

// All of these are markup.
std::string badge_of(const run_result &run);
// Verdict with its reasons, the gravest first.
std::string verdict_box(const run_result &run);
// How it was fitted, and everything that was taken without being stated.
std::string method_of(const run_result &run);
std::string figures_of(const run_result &run);

// Plain text below the picture: what is shaded, and where the noise was measured.
std::string caption_of(const run_result &run);

// Plain text: "31P, 120.6 MHz, TE 30 ms, TR 2 s, voxel 20 x 20 x 25 mm (10 mL), 2019-01-31".
std::string measurement_text(const spectrum_axis &axis, const ordered_json &sidecar);
inline constexpr const char *out_of_sight = ", outside of this picture";
// That, of points that the ones in sight leave out altogether, ", in part
// outside of this picture"; else nothing.
std::string out_of_sight_text(std::pair<long long, long long> points,
                              std::pair<long long, long long> in_sight);
// "points 10 to 137, -20.1 to -15.2 ppm", of so many points in all.
std::string stretch_text(const spectrum_axis &axis, long long points, long long first,
                         long long last);
// Who chose the noise window: "option", "metadata", "quietest stretch of 8 spectra", as the item
// noise_window of a sidecar or manifest has it; empty where that names other points than these, for
// of a window of the table of peaks it knows nothing.
std::string chosen_noise(const ordered_json &window, long long first, long long stop);

} // namespace tools
