// SPDX-License-Identifier: BSD-3-Clause
// table_rows.cpp -- heading, rows and cells of a table of peaks
#include "files/start/table_rows.h"

#include "files/start/table_scanner.h"

#include <algorithm>
#include <map>

namespace tools {

static constexpr std::size_t longest_name = 40;

// Whether numbers of a quantity may have the unit.
static bool takes_unit(int quantity, table_unit unit) {
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

// of_column: unit that the heading names. Errors: bad_input with the place of the cell.
static table_cell read_cell(const peak_table &table, const table_text_cell &raw, int line,
                            int quantity, table_unit of_column) {
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

std::vector<table_text_cell> cells_of(const peak_table &table, std::string_view line, int number) {
    std::vector<table_text_cell> cells;
    std::size_t at = 0;
    bool first = true;
    while (at < line.size()) {
        std::size_t blanks = 0, bars = 0, tabs = 0;
        const std::size_t gap = at;
        for (; at < line.size(); ++at) {
            if (line[at] == ' ')
                ++blanks;
            else if (line[at] == '\t')
                ++tabs;
            else if (line[at] == '|')
                ++bars;
            else
                break;
        }
        if (bars > 1)
            refuse_at(table, {number, static_cast<int>(gap) + 1},
                      "found an empty cell between two bars; expected a value, \"?\" to estimate "
                      "it, or \"-\" for none");
        if (at == line.size()) break;
        const bool parts = bars + tabs > 0 || blanks > 1;
        std::size_t end = at;
        while (end < line.size() && line[end] != '\t' && line[end] != '|' &&
               !(line[end] == ' ' && end + 1 < line.size() && line[end + 1] == ' '))
            ++end;
        std::string_view text = line.substr(at, end - at);
        while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
        if (first || parts) cells.push_back({text, static_cast<int>(at) + 1});
        first = false;
        at = end;
    }
    return cells;
}

static table_unit heading_unit(table_scanner &scan, int quantity) {
    const bool square = scan.take('['), round = !square && scan.take('(');
    if (!square && !round) return table_unit::none;
    const table_unit unit = scan.unit();
    if (unit == table_unit::none || !takes_unit(quantity, unit))
        scan.refuse(quantity == frequency_of ? "ppm, Hz or points as unit of the column"
                    : quantity == phase_of   ? "deg as unit of the column"
                    : quantity == area_of    ? "no unit for areas: they are in units of the signal"
                                             : "Hz or ppm as unit of the column");
    if (!scan.take(square ? ']' : ')')) scan.refuse("the closing bracket of the unit");
    return unit;
}

std::vector<table_column> read_heading(const peak_table &table,
                                       const std::vector<table_text_cell> &cells, int line) {
    static const std::map<std::string, int> parameters = {
        {"area", area_of},   {"frequency", frequency_of}, {"shift", frequency_of},
        {"gauss", gauss_of}, {"phase", phase_of},         {"lorentz", lorentz_of}};
    std::vector<table_column> columns;
    for (const table_text_cell &cell : cells) {
        table_scanner scan(table, cell.text, line, cell.column);
        table_column own;
        own.heading = std::string(cell.text);
        const table_place place = scan.place();
        const std::string word = lower_case(scan.word());
        const auto parameter = parameters.find(word);
        if (word == "name") {
            own.what = table_column::name;
        } else if (word == "type") {
            own.what = table_column::type;
        } else if (word == "lineshape") {
            own.what = table_column::lineshape;
        } else if (parameter != parameters.end()) {
            own.what = table_column::parameter;
            own.quantity = parameter->second;
            own.unit = heading_unit(scan, own.quantity);
        } else {
            refuse_at(table, place,
                      "found the column \"" + own.heading +
                          "\"; expected the heading: name, type, area, frequency, gauss, lorentz, "
                          "phase, lineshape, two blanks apart");
        }
        scan.expect_end("the end of the heading's cell; cells stand two blanks, a tab or a bar "
                        "apart");
        for (const table_column &other : columns)
            if (other.what == own.what && other.quantity == own.quantity)
                refuse_at(table, place, "found the column \"" + word + "\" twice");
        columns.push_back(own);
    }
    const auto has = [&](table_column::what_type what, int quantity) {
        return std::any_of(columns.begin(), columns.end(), [&](const table_column &c) {
            return c.what == what && c.quantity == quantity;
        });
    };
    if (!has(table_column::name, 0) || !has(table_column::type, 0) ||
        !has(table_column::parameter, frequency_of))
        refuse_at(table, {line, 1},
                  "the heading lacks name, type or frequency; expected for example \"name  type  "
                  "area  frequency  gauss  lorentz  phase\"");
    return columns;
}

static void read_type(const peak_table &table, const table_text_cell &raw, int line,
                      table_row &row) {
    table_scanner scan(table, raw.text, line, raw.column);
    std::string word = scan.until("");
    const std::string small = lower_case(word);
    if (small == "gauss" || small == "gaussian") {
        row.type = gauss_entry;
    } else if (small == "lorentz" || small == "lorentzian") {
        row.type = lorentz_entry;
    } else if (small == "voigt") {
        row.type = voigt_entry;
    } else {
        if (small == "pattern") word = scan.until("");
        if (word.find(".pat") == std::string::npos && word.find(".bin") == std::string::npos)
            refuse_at(table, {line, raw.column},
                      "found the type \"" + std::string(raw.text) +
                          "\"; expected gauss, lorentz, voigt, or the name of a pattern file "
                          "(.pat or .bin)");
        row.type = pattern_entry;
        row.pattern_file = word;
    }
    scan.expect_end("the end of the cell; cells stand two blanks, a tab or a bar apart");
}

table_row read_row(const peak_table &table, const std::vector<table_column> &columns,
                   const std::vector<table_text_cell> &cells, int line) {
    if (cells.size() != columns.size())
        refuse_at(table, {line, cells.size() > columns.size() ? cells[columns.size()].column : 1},
                  "found " + std::to_string(cells.size()) + " cells; expected " +
                      std::to_string(columns.size()) +
                      " as the heading has, two blanks, a tab or a bar apart (\"?\" estimates a "
                      "value, \"-\" is for none)");
    table_row row;
    row.place = {line, cells.front().column};
    for (const int q : {area_of, phase_of}) row.of(q).kind = cell_kind::estimate;
    for (std::size_t c = 0; c < columns.size(); ++c) {
        const table_text_cell &raw = cells[c];
        switch (columns[c].what) {
        case table_column::name: {
            table_scanner scan(table, raw.text, line, raw.column);
            row.name = scan.name("a name of letters, digits, _ . and '");
            scan.expect_end("a name of letters, digits, _ . and ' only; cells stand two blanks, a "
                            "tab or a bar apart");
            if (row.name.size() > longest_name)
                refuse_at(table, {line, raw.column}, "found a name of more than 40 characters");
            break;
        }
        case table_column::type:
            read_type(table, raw, line, row);
            break;
        case table_column::lineshape:
            if (raw.text != "yes" && raw.text != "no")
                refuse_at(table, {line, raw.column},
                          "found \"" + std::string(raw.text) + "\"; expected yes or no");
            row.takes_lineshape = raw.text == "yes";
            break;
        case table_column::parameter: {
            table_cell cell = read_cell(table, raw, line, columns[c].quantity, columns[c].unit);
            if (cell.kind == cell_kind::unused &&
                (columns[c].quantity == area_of || columns[c].quantity == phase_of))
                cell.kind = cell_kind::estimate;
            row.of(columns[c].quantity) = cell;
            break;
        }
        }
    }
    for (int q = 0; q < quantities; ++q) { // places of absent columns, for messages
        table_cell &cell = row.of(q);
        if (cell.place.line == 0) cell.place = {line, 0};
    }
    return row;
}

} // namespace tools
