// SPDX-License-Identifier: BSD-3-Clause
// make_plan.h -- from an input with many spectra to the folder that a batch works on
#pragma once

#include "files/measured/import_spectra.h"
#include "files/results/water_item.h"

#include <optional>
#include <string>

namespace tools {

struct plan_options {
    plan_options() { spectrum.memory = 32; } // many of them may run at a time
    input_options input;
    spectrum_options spectrum;
    std::string folder;              // run/
    std::string start, peaks, names; // start file or table of peaks; names of the entries
    std::string mask, select, values = "same", method = "exact";
    std::string keep;                // empty, all, none or worst:N
    std::string time_step;           // empty, "S" or "DIM=S": seconds between places of a series
    water_options water;             // with a table of peaks
    std::vector<std::string> derive; // behind those of the table
    std::vector<std::string> command;
};

// Writes run/ with everything that the fits need: manifest.json, spectra.f32 (the centred spectra
// one behind the other, complex float32), start.par, names.txt, patterns/, and voxels.nii for a
// grid. The manifest appears last. Prints what was planned.
//
// Errors: wrong_usage, bad_input, bad_output.
// Notes:
//   1. Storage is bounded by options.spectrum.memory but for some hundred bytes a spectrum.
//   2. Spectra that are all zero or hold points that are no finite numbers are in the plan, but are
//      not fitted.
void make_plan(const plan_options &options);

} // namespace tools
