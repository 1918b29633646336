// SPDX-License-Identifier: BSD-3-Clause
// derived_batch.h -- sums, ratios, pH of all fits of a batch
#pragma once

#include "files/batch/finished_shard.h"
#include "files/batch/batch_table.h"
#include "files/results/derived_area.h"

#include <string>
#include <vector>

namespace tools {

// One expression. Not a number where a spectrum has no fit, or a fit no covariance.
struct derived_column {
    std::string name, expression, unit; // the unit of an amount by water, else empty
    std::vector<double> values, errors; // by the number of the spectrum; one standard deviation
};

// Expressions and the file in which they stand; none for those of the option --derive.
struct expression_list {
    std::string file;
    std::vector<std::string> texts;
};

// Those of all lists, each once, behind a look at the amounts by water of the plan. Errors: as
// derive_area for what is no expression of the entries of the plan, and for the second of two of
// one name that differ.
std::vector<std::string> expressions_of(const batch_plan &plan,
                                        const std::vector<expression_list> &lists);

// The expressions, and behind them the amounts by water of a plan that has one, without number
// where a spectrum has no water. Errors: bad_input for damaged parts.
std::vector<derived_column> derive_batch(const batch_plan &plan, const plan_lines &lines,
                                         all_parts &parts,
                                         const std::vector<std::string> &expressions);

// derived.tsv: a row for each expression of each spectrum.
std::string derived_table(const batch_plan &plan, const plan_lines &lines,
                          const std::vector<derived_column> &columns);

} // namespace tools
