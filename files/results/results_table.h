// SPDX-License-Identifier: BSD-3-Clause
// results_table.h -- results as rows for other programs: results.tsv and quality.tsv
//
// docs/file_formats/results_table.md describes every column. The tables of one spectrum and of a
// batch are made by the same functions, so their columns are the same.
#pragma once

#include "files/results/run_result.h"

#include <string>
#include <vector>

namespace tools {

// What the tables of a batch have beside the columns of a spectrum: one for each direction of the
// input, behind the name.
struct table_shape {
    struct column {
        std::string name, description;
    };
    std::vector<column> places;
};

// The line of column names, with its line feed.
std::string results_header(const table_shape &shape = {});
std::string quality_header(const table_shape &shape = {});

// A row for each entry; one row for a spectrum that has none. places: the cells of such columns.
std::string results_rows(const run_result &run, const std::vector<std::string> &places = {});
// One row.
std::string quality_row(const run_result &run, const std::vector<std::string> &places = {});

// JSON that describes the columns.
std::string results_dictionary(const table_shape &shape = {});
std::string quality_dictionary(const table_shape &shape = {});

// How a parameter hangs together with others: "free", "fixed", "PCr * 0.5", "PCr + 15", "unused".
std::string link_text(const run_result &run, const fitted_parameter &parameter, bool is_area);

const char *type_text(int type); // "gaussian", "lorentzian", "voigt", "pattern"

} // namespace tools
