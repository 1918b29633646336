// SPDX-License-Identifier: BSD-3-Clause
// table_edit.h -- changes to the text of a table of peaks that leave everything else as it stands
//
// A table is its text, comments and spacing included. Each function takes one and returns another
// one; what it does not name is the same byte by byte.
#pragma once

#include "files/start/spectrum_facts.h"

#include <map>
#include <string>
#include <vector>

namespace tools {

// A table without rows; frequencies in ppm where the axis knows them.
std::string empty_table(bool knows_ppm);

// Cells of a row by the words of the heading ("area", "frequency" ...). Rows count from 0.
typedef std::map<std::string, std::string> cells_by_column;

// Texts of the rows' cells. Errors: bad_input, with line and column, for a heading that is none.
std::vector<cells_by_column> cells_of_table(const std::string &text);

// The cell of a row, whatever it holds. A column that is not there is added, with "-" in the other
// rows. Errors: bad_input; std::out_of_range for a row that is not there.
std::string with_cell(const std::string &text, std::size_t row, const std::string &column,
                      const std::string &cell);

// A row more, behind the last one. Cells that are not given are "-", "?" for areas and phases.
std::string with_row(const std::string &text, const cells_by_column &cells);

// Without a row. Errors: std::out_of_range.
std::string without_row(const std::string &text, std::size_t row);

// A row under another name, with the links that lead to it and the row "follow".
std::string with_name(const std::string &text, std::size_t row, const std::string &name);

// The first row "key: value", or one behind the last line; the others of that key are taken out.
// An empty value takes the key out.
std::string with_key(const std::string &text, const std::string &key, const std::string &value);

// How finely a number is written: as a hand means it, or so that single precision gives it back.
enum class cell_digits { by_hand, all };

// A cell with another number: "fixed", unit and range stay. Of a link and of an empty cell, the
// number alone.
//
// Given:
//   value  of a parameter of the model in the table's own terms: Hz from the left edge (a pattern:
//          shift in Hz along the points), width in Hz, degrees, area
std::string number_cell(const peak_table &table, std::size_t row, int quantity, double value,
                        const table_axis &axis, const std::string &before, cell_digits digits);

} // namespace tools
