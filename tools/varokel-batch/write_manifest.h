// SPDX-License-Identifier: BSD-3-Clause
// write_manifest.h -- manifest.json of a plan (files/batch/batch_plan.h reads it)
#pragma once

#include "varokel-batch/plan_draft.h"
#include "varokel-batch/start_choice.h"

#include <string>

namespace tools {

// Into the folder work, where all other files of the plan are. Errors: wrong_usage for --keep;
// bad_output.
void write_manifest(const plan_options &options, const plan_draft &batch, const start_choice &start,
                    long long blocks, const std::string &work);

} // namespace tools
