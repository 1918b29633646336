// SPDX-License-Identifier: BSD-3-Clause
// module_calls.h -- what the page asks of the module: one function a question, JSON in and out
//
// Arrays of numbers stay in the module's storage: {"at": byte, "length": doubles}. They hold until
// the same question is asked again.
#pragma once

#include "files/base/ordered_json.h"

#include <string>
#include <vector>

namespace web {

using tools::ordered_json;

// Storage of arrays that the page reads. A name is given once a call.
ordered_json array_for_page(const std::string &name, std::vector<double> values);

// A number for JSON, which has no infinity and no "not a number": null instead.
ordered_json number_for_page(double value);

// Tells the page how far a call is: how much is done, and of how much (0: not known).
void say_progress(double done, double of);

// {input, folder, format, json, points, voxel, index, average, ... as varokel-import has them}
// -> {names, said}
ordered_json import_files(const ordered_json &asked);

// {input, format, json, points, dimensions} -> {NAME: size ...}: in which a file has several FIDs
// beside voxels
ordered_json list_dimensions(const ordered_json &asked);

// {folder, name}: the spectrum that the following questions are about
// -> {points, hz_per_point, hz, ppm, noise, sidecar}
ordered_json open_spectrum(const ordered_json &asked);

// {text, folder}: the table, and the start values that it gives for the spectrum
// -> {entries, intervals, noise, guesses, warnings, start_file, explained}
ordered_json set_table(const ordered_json &asked);

// {edit, text, ...}: the table's text after a change -> {text}
ordered_json edit_table(const ordered_json &asked);

// {values, part, phase_0, phase_1, broadened_hz}: values of every entry in place of the table's
// -> {data, model, residual, components, values, quality}; data and components that are those of
// the picture before stay where they are
ordered_json show_curves(const ordered_json &asked);

// {folder, name, peaks, starts} -> values, errors, verdict, derived values, files
ordered_json fit_spectrum(const ordered_json &asked);

// -> {results, quality, derived}: the first rows of the tables
ordered_json table_heads(const ordered_json &asked);

// {folder, names, page, peaks}: tables, and unless page is false the page, of the fits there with
// what the table of peaks derives
// -> {results, quality, report, picture}
ordered_json report_fits(const ordered_json &asked);

} // namespace web
