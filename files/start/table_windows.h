// SPDX-License-Identifier: BSD-3-Clause
// table_windows.h -- the window of a number in a table of peaks: the bounds that the fit keeps it
// in
#pragma once

#include "files/start/table_rows.h"
#include "files/start/table_scanner.h"

namespace tools {

// What stands behind the value of a cell: "[0.5, 3]", "> 0", "< 20 Hz", both of these, "+- 0.1"
// around the value, or nothing. of_column: unit that the heading names.
// Errors: bad_input with the place of what is no window.
void read_window(table_scanner &scan, int quantity, table_unit of_column, table_cell &cell);

} // namespace tools
