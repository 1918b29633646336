// SPDX-License-Identifier: BSD-3-Clause
// table_cells.h -- a cell of a table of peaks: its number, link or estimate, unit and window
#pragma once

#include "files/start/table_rows.h"
#include "files/start/table_scanner.h"

namespace tools {

// Whether numbers of a quantity may have the unit.
bool takes_unit(int quantity, table_unit unit);

// of_column: unit that the heading names. Errors: bad_input with the place of the cell.
table_cell read_cell(const peak_table &table, const table_text_cell &raw, int line, int quantity,
                     table_unit of_column);

} // namespace tools
