// SPDX-License-Identifier: BSD-3-Clause
// merge_batch.h -- the parts of all shards become tables, maps and the store of curves
#pragma once

#include <string>
#include <vector>

namespace tools {

struct merge_options {
    std::string folder;              // run/
    std::vector<std::string> derive; // behind what the plan asks for
    bool force = false;
};

// Writes into run/: results.tsv and quality.tsv with their dictionaries (.json), derived.tsv where
// something is derived, maps/ for a grid, pictures.f32 and pictures.tsv. The same parts give the
// same bytes, whatever the number of shards and workers that made them. Prints the names. Returns
// different when fits failed.
//
// Errors: wrong_usage for what cannot be derived; bad_input when shards are missing, which are
// named, or when parts are damaged; bad_output.
// Notes:
//   1. With force, what an earlier merge derived goes, in the table and in maps.
int merge_batch(const merge_options &options);

// Whether a map in maps/ is of a derived value.
bool is_derived_map(const std::string &file_name);

// Names of all maps that a merge with these entries may write into maps/.
std::vector<std::string> map_files_of(const std::vector<std::string> &entry_names);

} // namespace tools
