// SPDX-License-Identifier: BSD-3-Clause
// table_cells.cpp -- a cell of a table of peaks: its number, link or estimate, unit and window
#include "files/start/table_cells.h"

#include <algorithm>

namespace tools {

bool takes_unit(int quantity, table_unit unit) {
    switch (quantity) {
    case area_of:
        return unit == table_unit::none;
    case frequency_of:
        return unit == table_unit::ppm || unit == table_unit::hz || unit == table_unit::points;
    case phase_of:
        return unit == table_unit::none || unit == table_unit::degrees;
    default:
        return unit == table_unit::none || unit == table_unit::hz || unit == table_unit::ppm;
    }
}

static const char *expected_unit(int quantity) {
    switch (quantity) {
    case area_of:
        return "no unit: areas are in units of the signal";
    case frequency_of:
        return "ppm or Hz behind the frequency (or a column frequency[ppm])";
    case phase_of:
        return "deg or no unit";
    default:
        return "Hz or ppm behind a width, or no unit for Hz";
    }
}

static table_unit cell_unit(table_scanner &scan, int quantity, table_unit of_column) {
    table_unit unit = scan.unit();
    if (unit == table_unit::none) unit = of_column;
    if (!takes_unit(quantity, unit)) scan.refuse(expected_unit(quantity));
    return unit;
}

// The unit of an edge is that of the value unless it has its own.
static table_unit window_unit(table_scanner &scan, int quantity, table_unit of_column,
                              const table_cell &cell) {
    return cell_unit(scan, quantity, cell.unit == table_unit::none ? of_column : cell.unit);
}

// One end of a window, "> 0", "<= 5 Hz".
static double read_end(table_scanner &scan, int quantity, table_unit of_column, table_cell &cell) {
    scan.take('='); // an edge belongs to its window
    const double value = scan.number("the edge of the window");
    const table_unit unit = window_unit(scan, quantity, of_column, cell);
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
    cell.range_unit = window_unit(scan, quantity, of_column, cell);
    cell.range = std::minmax({least, most});
}

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

// What stands behind the value of a cell: "[0.5, 3]", "> 0", "< 20 Hz", both of these, "+- 0.1"
// around the value, or nothing. A width is 0 or more; of its window only that part counts.
static void read_window(table_scanner &scan, int quantity, table_unit of_column, table_cell &cell) {
    read_any_window(scan, quantity, of_column, cell);
    if (is_width(quantity) && cell.range && cell.range->second < 0.0)
        scan.refuse("a window that reaches above 0, as a width is 0 or more");
}

table_cell read_cell(const peak_table &table, const table_text_cell &raw, int line, int quantity,
                     table_unit of_column) {
    table_scanner scan(table, raw.text, line, raw.column);
    table_cell cell;
    cell.place = {line, raw.column};
    if (raw.text == "-") return cell;
    if (scan.take('=')) {
        cell.kind = cell_kind::link;
        cell.source = scan.name("the name of a row behind =");
        if (quantity == area_of) {
            if (scan.take('*')) {
                cell.factor = scan.number("a factor behind *");
            } else if (scan.take('/')) {
                cell.factor = scan.number("a divisor behind /");
                if (cell.factor == 0.0) refuse_at(table, cell.place, "divides an area by 0");
                cell.factor = 1.0 / cell.factor;
            }
            if (cell.factor == 0.0)
                refuse_at(table, cell.place,
                          "an area of 0 times another one; take the row out, or fix it at 0");
            read_window(scan, quantity, of_column, cell);
            scan.expect_end("the end of the cell; a tied area is =NAME, =NAME*number or "
                            "=NAME/number");
            return cell;
        }
        const bool window = scan.sees("+-");
        const bool plus = !window && scan.take('+'), minus = !plus && !window && scan.take('-');
        if (plus || minus) {
            const double offset = scan.number("a number behind + or -");
            cell.value = minus ? -offset : offset;
            cell.unit = cell_unit(scan, quantity, of_column);
        }
        read_window(scan, quantity, of_column, cell);
        scan.expect_end("the end of the cell; a tied parameter is =NAME, =NAME + number or "
                        "=NAME - number");
        return cell;
    }
    cell.fixed = scan.take_word("fixed");
    if (scan.take('?')) {
        cell.kind = cell_kind::estimate;
        if (quantity != area_of && quantity != phase_of)
            refuse_at(table, cell.place,
                      "found \"?\"; areas and phases are estimated, frequencies and widths need a "
                      "start value");
    } else {
        if (!scan.number_follows())
            scan.refuse("a number, \"fixed\" and a number, a link (=NAME), \"?\" to estimate an "
                        "area or phase, or \"-\" for none");
        cell.kind = cell_kind::number;
        cell.value = scan.number("a number");
        if (scan.comma_and_digit()) scan.refuse("a decimal point in place of the comma");
        cell.unit = cell_unit(scan, quantity, of_column);
    }
    if (!cell.fixed) read_window(scan, quantity, of_column, cell);
    scan.expect_end("the end of the cell; cells stand two blanks, a tab or a bar apart");
    return cell;
}

} // namespace tools
