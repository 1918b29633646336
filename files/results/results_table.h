// SPDX-License-Identifier: BSD-3-Clause
// results_table.h -- results as rows for other programs: results.tsv and quality.tsv
//
// docs/file_formats/results_table.md describes every column. The tables of one spectrum and of a
// batch are made by the same functions, so their columns are the same.
#pragma once

#include "files/results/run_result.h"

#include <nlohmann/json.hpp>

#include <string>

namespace tools {

// The line of column names, with its line feed.
std::string results_header();
std::string quality_header();

// A row for each entry; one row for a spectrum without results.
std::string results_rows(const run_result &run);
// One row.
std::string quality_row(const run_result &run);

// JSON that describes the columns.
std::string results_dictionary();
std::string quality_dictionary();

// Columns of the judgement, in the tables of single fits as in those of a batch.
inline constexpr const char *level_description =
    "the gravest of the warnings: red, amber, note, none";
inline constexpr const char *warnings_description =
    "what a reader should know, as words with commas between; n/a without any";
inline constexpr const char *entry_warnings_description =
    "words of the warnings that name this entry; n/a without any";
// Adds the words of the columns status, level and warnings, with their meaning, as levels.
void describe_judgement(const std::string &column, nlohmann::ordered_json &item);

// How a parameter hangs together with others: "free", "fixed", "PCr * 0.5", "PCr + 15", "unused".
std::string link_text(const run_result &run, const fitted_parameter &parameter, bool is_area);

const char *type_text(int type); // "gaussian", "lorentzian", "voigt", "pattern"

} // namespace tools
