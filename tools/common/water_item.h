// SPDX-License-Identifier: BSD-3-Clause
// water_item.h -- the water of a voxel for amounts: its options, and what is said about it
#pragma once

#include "files/measured/read_water.h"
#include "files/results/amounts.h"
#include "files/start/peak_table.h"
#include "common/command_line.h"

#include <optional>
#include <string>

namespace tools {

struct water_options {
    std::string file; // empty: no amounts
    std::optional<double> scale, echo_time, repetition_time;
};

void add_water_options(option_parser &app, water_options &options);

// Whether options and table ask for amounts, before the long work. peaks: the table's file.
// Errors: wrong_usage when one of them does and the other does not; bad_input for rows that do not
// go together.
void check_amounts(const water_options &options, const std::string &peaks, const peak_table &table);

// What to say where the table asks for amounts and there is no water; empty else.
std::string missing_water(const water_options &options, const peak_table &table);

// The item "water_reference" of a sidecar, for one of the signals of the water.
//
// Given:
//   peaks   the table's file, for messages
// Errors: bad_input when a time is missing that a relaxation time needs.
ordered_json water_item(const water_options &options, const amount_rows &rows,
                        const water_file &water, const water_signal &signal,
                        const std::string &peaks);

} // namespace tools
