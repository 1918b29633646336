// SPDX-License-Identifier: BSD-3-Clause
// judge_run.h -- one judgement for all: files of a run, the record of a batch, a fit in storage
//
// An exact fit has its verdict: that alone judges its end, its optimum and its residual.
#pragma once

#include "files/results/run_result.h"

namespace tools {

// Bounds from the optimum to where the search ended; beyond, it is spoken of.
static constexpr double far_search = 1.0;

// Sets run.judgement, and run.warnings to its sentences; warnings that stand there already (of
// files that could not be read) come in as findings.
void judge_run(run_result &run);

struct correlated_pair {
    std::size_t first, second; // entries
    double coefficient;
};

// Correlations of the areas that are free, each pair once; empty without a covariance that agrees
// with the errors.
std::vector<correlated_pair> correlations_of(const run_result &run);

// What an import took without its being stated, a sentence each.
std::vector<std::string> guesses_of_sidecar(const ordered_json &sidecar);

} // namespace tools
