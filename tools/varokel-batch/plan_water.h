// SPDX-License-Identifier: BSD-3-Clause
// plan_water.h -- the water of the spectra of a batch, into its plan
#pragma once

#include "varokel-batch/plan_draft.h"

#include <string>
#include <vector>

namespace tools {

// Reads the water of --water and writes its areas to water.f64 of the folder work, in the order of
// the spectra's numbers (files/batch/water_areas.h); what holds for all goes into batch.water.
//
// Given:
//   input    as the spectra were chosen
//   origin   which of the chosen each spectrum of the batch is
// Errors: wrong_usage without rows "amount"; bad_input as of read_water.
void plan_water(const plan_options &options, const input_options &input,
                const std::vector<std::size_t> &origin, const std::string &work, plan_draft &batch);

} // namespace tools
