// SPDX-License-Identifier: BSD-3-Clause
// table_rows.h -- heading, rows and cells of a table of peaks
#pragma once

#include "files/start/peak_table.h"

#include <string>
#include <string_view>
#include <vector>

namespace tools {

struct table_text_cell {
    std::string_view text;
    int column;
};

struct table_column {
    enum what_type { name, type, parameter, lineshape } what = name;
    int quantity = 0;
    table_unit unit = table_unit::none;
    std::string heading;
};

// Cells of a line: apart by two or more blanks, a tab or a bar. Bars at both ends frame the row.
std::vector<table_text_cell> cells_of(const peak_table &table, std::string_view line, int number);

// Errors of both: bad_input, with line and column.
std::vector<table_column> read_heading(const peak_table &table,
                                       const std::vector<table_text_cell> &cells, int line);
table_row read_row(const peak_table &table, const std::vector<table_column> &columns,
                   const std::vector<table_text_cell> &cells, int line);

} // namespace tools
