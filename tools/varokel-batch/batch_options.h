// SPDX-License-Identifier: BSD-3-Clause
// batch_options.h -- options that varokel-batch and varokel-bids have alike
#pragma once

#include "common/option_parser.h"
#include "varokel-batch/make_plan.h"
#include "varokel-batch/run_batch.h"

namespace tools {

// What the spectra are fitted with: --start, --peaks, --names, --values, --method.
void add_model_options(option_parser &app, plan_options &options);

// How the fits are run. workers: the names of that option.
void add_work_options(option_parser &app, run_options &options, const std::string &workers);

// As given, else TMPDIR, else /tmp.
std::string scratch_place(const std::string &given);

} // namespace tools
