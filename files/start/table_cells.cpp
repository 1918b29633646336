// SPDX-License-Identifier: BSD-3-Clause
// table_cells.cpp -- a cell of a table of peaks: its number, link or estimate, and its unit
#include "files/start/table_cells.h"

#include "files/start/table_windows.h"

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

const char *expected_unit(int quantity) {
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
