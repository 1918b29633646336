// SPDX-License-Identifier: BSD-3-Clause
// fit_folder.h -- the exact fit of a spectrum whose files stand in a folder
//
// The import leaves NAME.bin, NAME.json and, with a reference line, NAME.bin.ref. To these come
// start.par, names.txt and the patterns, then result.par and optimum.json: what read_run reads.
#pragma once

#include "files/problem/exact_fit.h"
#include "files/start/make_start.h"

#include <filesystem>
#include <string>

namespace tools {

// A spectrum of a folder.
struct folder_of_fit {
    std::string folder, name; // of the spectrum, without ending
};

// A file of such a folder, of which nobody knows before the folder is in its place. Errors:
// bad_output.
void write_text(const std::filesystem::path &file, const std::string &text);

// Start values of the spectrum; into the folder come the start file, the names of its entries, and
// the patterns under names that start files can hold.
//
// Given:
//   peaks  the table's file, beside which patterns are looked for
// Errors: bad_input as start_maker::make; bad_output; std::filesystem::filesystem_error.
start_result prepare_fit(const folder_of_fit &of, start_maker &maker, const std::string &peaks);

// The exact fit from the start file that prepare_fit gave. Errors: bad_input, bad_output.
exact_result finish_fit(const folder_of_fit &of, const start_file &start,
                        const exact_options &options, engine::model_workspace &workspace);

} // namespace tools
