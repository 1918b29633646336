// SPDX-License-Identifier: BSD-3-Clause
// import_options.h -- the command line's side of an import, for every program that imports
#pragma once

#include "files/measured/import_spectra.h"
#include "files/results/water_item.h"
#include "common/command_line.h"

#include <optional>
#include <string>

namespace tools {

// What is taken from the file and what is done to its FIDs. The file itself is not among them:
// each program has its own place for it. group: heading in --help; empty: the usual one.
void add_input_options(option_parser &app, input_options &options, const std::string &group = "");

// The format of that file. what: the words before the names of all.
void add_format_option(option_parser &app, std::string &format, const std::string &what = "");

// What is known about the spectra.
void add_spectrum_options(option_parser &app, spectrum_options &options,
                          const std::string &group = "");

// What is measured beside them.
void add_reference_options(option_parser &app, spectrum_options &options,
                           const std::string &group = "");

// The water that amounts are held against.
void add_water_options(option_parser &app, water_options &options);

// How many spectra of how many are passed, on standard error where that is a terminal.
void show_passed(std::size_t done, std::size_t of);

} // namespace tools
