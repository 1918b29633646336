// SPDX-License-Identifier: BSD-3-Clause
// report_curves.h -- the curves of a fitted spectrum, drawn once and as data for charts
#pragma once

#include "files/results/run_result.h"

#include "files/base/ordered_json.h"

#include <string>
#include <utility>
#include <vector>

namespace tools {

// Whether the run has signals to draw.
bool has_picture(const run_result &run);

// Data, fit, components and residual in the fitted range, phases taken off.
std::string report_picture(const run_result &run);

// What charts.js shows: both parts of the curves, phases taken off, fitted intervals, noise window
// and windows of frequencies. An alone spectrum has all its points, each in single precision;
// others the fitted range with a margin, in 16 bits a point. Lines that the import took out of the
// FID are a last component, marked "removed", and "off" where they are higher than all others.
// Errors: those of removed_signal().
ordered_json chart_of(const run_result &run, bool alone);

} // namespace tools
