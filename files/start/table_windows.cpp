// SPDX-License-Identifier: BSD-3-Clause
// table_windows.cpp -- the window of a number in a table of peaks: the bounds that the fit keeps it
// in
#include "files/start/table_windows.h"

#include "files/start/table_cells.h"

#include <algorithm>

namespace tools {

// One end of a window, "> 0", "<= 5 Hz"; its unit is that of the value unless it has its own.
static double read_end(table_scanner &scan, int quantity, table_unit of_column, table_cell &cell) {
    scan.take('='); // an edge belongs to its window
    const double value = scan.number("the edge of the window");
    table_unit unit = scan.unit();
    if (unit == table_unit::none) unit = cell.unit == table_unit::none ? of_column : cell.unit;
    if (!takes_unit(quantity, unit)) scan.refuse(expected_unit(quantity));
    if (cell.range && unit != cell.range_unit) scan.refuse("both edges of the window in one unit");
    cell.range_unit = unit;
    return value;
}

static void read_bracket(table_scanner &scan, int quantity, table_unit of_column,
                         table_cell &cell) {
    const double least = scan.number("the least value of the window");
    if (!scan.take(',')) scan.refuse("a comma between the two ends of the window");
    const double most = scan.number("the greatest value of the window");
    if (!scan.take(']')) scan.refuse("] behind the window");
    cell.range_unit = scan.unit();
    if (cell.range_unit == table_unit::none)
        cell.range_unit = cell.unit == table_unit::none ? of_column : cell.unit;
    if (!takes_unit(quantity, cell.range_unit)) scan.refuse(expected_unit(quantity));
    cell.range = std::minmax({least, most});
}

// "[0.5, 3]", "> 0", "< 20 Hz", both of these, or "+- 0.1" around the value.
static void read_any_window(table_scanner &scan, int quantity, table_unit of_column,
                            table_cell &cell) {
    if (scan.take('[')) return read_bracket(scan, quantity, of_column, cell);
    if (scan.take("+-") || scan.take("\xc2\xb1")) {
        if (cell.kind != cell_kind::number)
            scan.refuse("a value before +-; around an estimate or a link there is no window, "
                        "[0.5, 3] and > 0 are some");
        const double reach = read_end(scan, quantity, of_column, cell);
        if (!(reach > 0.0)) scan.refuse("a number above 0 behind +-");
        if (cell.range_unit != cell.unit) scan.refuse("the unit of the value behind +-");
        cell.range = {cell.value - reach, cell.value + reach};
        return;
    }
    for (;;) {
        const bool above = scan.take('>'), below = !above && scan.take('<');
        if (!above && !below) break;
        const double edge = read_end(scan, quantity, of_column, cell);
        if (!cell.range) cell.range = {-no_edge, no_edge};
        double &own = above ? cell.range->first : cell.range->second;
        if (is_edge(own)) scan.refuse("one lower and one upper edge of a window");
        own = edge;
        if (cell.range->first > cell.range->second)
            scan.refuse("a window that is not empty: the lower edge below the upper one");
    }
}

// A width is 0 or more; of its window only that part counts.
void read_window(table_scanner &scan, int quantity, table_unit of_column, table_cell &cell) {
    read_any_window(scan, quantity, of_column, cell);
    if ((quantity == gauss_of || quantity == lorentz_of) && cell.range && cell.range->second < 0.0)
        scan.refuse("a window that reaches above 0, as a width is 0 or more");
}

} // namespace tools
