// SPDX-License-Identifier: BSD-3-Clause
// merge_batch.h -- the parts of all shards become tables, maps and the store of curves
#pragma once

#include <string>
#include <vector>
#include <vector>

namespace tools {

// Writes into run/: results.tsv and quality.tsv with their dictionaries (.json), maps/ for a grid,
// pictures.f32 and pictures.tsv. The same parts give the same bytes, whatever the number of shards
// and workers that made them. Prints the names. Returns different when fits failed.
//
// Errors: bad_input when shards are missing, which are named, or when parts are damaged;
// bad_output.
int merge_batch(const std::string &folder, bool force);

// Names of all maps that a merge with these entries may write into maps/.
std::vector<std::string> map_files_of(const std::vector<std::string> &entry_names);

} // namespace tools
