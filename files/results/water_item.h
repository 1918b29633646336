// SPDX-License-Identifier: BSD-3-Clause
// water_item.h -- the water of a voxel for amounts: what is given for it, and what is said about it
#pragma once

#include "files/measured/read_water.h"
#include "files/results/amounts.h"
#include "files/start/peak_table.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

struct water_options {
    std::string file;            // empty: no amounts
    std::optional<double> scale; // from the unit of that file to that of the data [1]
    std::optional<double> echo_time, repetition_time; // of the data [s]
};

// Whether options and table ask for amounts, before the long work.
// Errors: wrong_usage when one of them does and the other does not; bad_input for rows that do not
// go together.
void check_amounts(const water_options &options, const peak_table &table);

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

// Reads the water and adds that item to the sidecars NAME.json in a folder, of spectra that were
// imported with these options. Returns what to say about it, a sentence each.
//
// Errors: bad_input as read_water and water_item, and for another number of FIDs than spectra.
std::vector<std::string> add_water(const water_options &options, const input_options &input,
                                   const spectrum_options &spectrum, const peak_table &table,
                                   const std::string &folder,
                                   const std::vector<std::string> &names);

} // namespace tools
