// SPDX-License-Identifier: BSD-3-Clause
// strategy_presets.h -- the steps of the strategies that a table calls by name
#pragma once

#include "files/start/peak_table.h"

#include <string>
#include <vector>

namespace tools {

// The ten switches of preset steps, before those that the model has no use for are taken out.
std::vector<table_step> preset_steps(const std::string &preset);
// On which their steps end, of chi-square.
double preset_tolerance(const std::string &preset);

} // namespace tools
