// SPDX-License-Identifier: BSD-3-Clause
// strategy_presets.h -- the steps of the strategies that a table calls by name
#pragma once

#include "files/start/peak_table.h"

#include <string>
#include <vector>

namespace tools {

// Steps of "standard", "quick" and "random-then-gradient", before switches that the model has no
// use for are taken out; none for another name.
std::vector<table_step> preset_steps(const std::string &preset);
// Relative change of chi-square at which these steps end.
double preset_tolerance(const std::string &preset);

} // namespace tools
