// SPDX-License-Identifier: BSD-3-Clause
// strategy_words.h -- the words of a table for strategies, and for what their steps do
#pragma once

#include "files/start/peak_table.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

// Sets the switches of a group of parameters, of "all" or of "align"; false for another word.
bool take_switches(const std::string &word, start_step &step);
// The words of the switches that are set.
std::string switches_text(const start_step &step);

// Part of the spectrum whose misfit counts, 0 to 4; nothing for another word.
std::optional<int> part_named(const std::string &word);
std::string part_name(int value); // "?" for another number

// Steps of "standard", "quick" and "random-then-gradient", before switches that the model has no
// use for are taken out; none for another name.
std::vector<table_step> preset_steps(const std::string &preset);
// Relative change of chi-square at which these steps end.
double preset_tolerance(const std::string &preset);

} // namespace tools
