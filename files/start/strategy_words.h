// SPDX-License-Identifier: BSD-3-Clause
// strategy_words.h -- the words of a table for what a step of the strategy does
#pragma once

#include "files/start/start_file.h"

#include <optional>
#include <string>

namespace tools {

// Sets the switches of a group of parameters, of "all" or of "align"; false for another word.
bool take_switches(const std::string &word, start_step &step);
// The words of the switches that are set.
std::string switches_text(const start_step &step);

// Part of the spectrum whose misfit counts, 0 to 4; nothing for another word.
std::optional<int> part_named(const std::string &word);
std::string part_name(int value); // "?" for another number

} // namespace tools
