// SPDX-License-Identifier: BSD-3-Clause
// peak_table.cpp -- a table of peaks as a spectroscopist writes it: what is fitted, from where
#include "files/start/peak_table.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"
#include "files/spectra/search_limits.h"
#include "files/start/table_keys.h"
#include "files/start/table_lines.h"
#include "files/start/table_rows.h"
#include "files/start/table_scanner.h"

#include <map>

namespace tools {

static constexpr std::size_t most_rows = 4096; // the check of the fit's limit names the number

const char *unit_name(table_unit unit) {
    static const char *const names[] = {"", "ppm", "Hz", "points", "degrees"};
    return names[static_cast<int>(unit)];
}

void refuse_at(const peak_table &table, const table_place &place, const std::string &text) {
    std::string where = table.file;
    if (place.line > 0) where += ":" + std::to_string(place.line);
    if (place.line > 0 && place.column > 0) where += ":" + std::to_string(place.column);
    refuse_input(where, text);
}

static void check_names(const peak_table &table) {
    std::map<std::string, int> seen;
    for (const table_row &row : table.rows) {
        const auto [at, is_new] = seen.emplace(row.name, row.place.line);
        if (!is_new)
            refuse_at(table, row.place,
                      "the name " + row.name + " stands in line " + std::to_string(at->second) +
                          ", too; expected different names");
    }
    for (const table_row &row : table.rows)
        for (const table_cell &cell : row.cells)
            if (cell.kind == cell_kind::link && !seen.contains(cell.source))
                refuse_at(table, cell.place,
                          "tied to " + cell.source + ", but no row has that name");
    if (table.followed && !seen.contains(*table.followed))
        refuse_at(table, {}, "follow: no row has the name " + *table.followed);
}

// The widths that a line has must be there, others must not.
static void check_widths(const peak_table &table) {
    for (const table_row &row : table.rows) {
        for (const int q : {gauss_of, lorentz_of}) {
            const table_cell &cell = row.of(q);
            const bool used = is_used(q, row.type);
            const bool zero = cell.kind == cell_kind::number && cell.value == 0.0;
            if (used && cell.kind == cell_kind::unused && row.type != pattern_entry)
                refuse_at(table, cell.place,
                          row.name + ": a " + type_name(row.type) + " line needs a " + name_of(q) +
                              " width to start from, in Hz");
            if (!used && cell.kind != cell_kind::unused && !zero)
                refuse_at(table, cell.place,
                          row.name + ": a " + type_name(row.type) + " line has no " + name_of(q) +
                              " width; expected \"-\"");
        }
        for (const int q : {gauss_of, lorentz_of}) {
            const table_cell &cell = row.of(q);
            if (row.type != pattern_entry && cell.kind == cell_kind::number && cell.value < 0.0)
                refuse_at(table, cell.place,
                          row.name + ": a " + name_of(q) + " width of " +
                              std::to_string(cell.value) +
                              "; expected one above 0 (a negative one grows in time)");
        }
        if (row.cells[frequency_of].kind == cell_kind::unused)
            refuse_at(table, row.cells[frequency_of].place,
                      row.name + ": no frequency; expected one to start from (of a pattern: its "
                                 "shift, 0 Hz)");
    }
}

peak_table parse_peak_table(const std::string &text, const std::string &file) {
    peak_table table;
    table.file = file;
    if (text.find('\0') != std::string::npos)
        refuse_input(file, "not a text file; expected a table of peaks");
    std::vector<table_column> columns;
    int coefficients = 0;
    for (const table_line &line : lines_of_table(text)) {
        const int number = line.number;
        if (line.is_key()) {
            table_scanner scan(table, line.text.substr(line.colon + 1), number,
                               static_cast<int>(line.colon) + 2);
            read_key(table, line.key(), scan, coefficients, {number, line.key_column()});
            continue;
        }
        const std::vector<table_text_cell> cells = cells_of(table, line.text, number);
        if (columns.empty()) {
            columns = read_heading(table, cells, number);
            continue;
        }
        table.rows.push_back(read_row(table, columns, cells, number));
        if (table.rows.size() > most_rows)
            refuse_at(table, {number, 1},
                      "more than " + std::to_string(most_rows) + " rows; a fit takes up to " +
                          std::to_string(search_limits::entries));
    }
    if (table.rows.empty())
        refuse_at(table, {},
                  "no rows; expected a heading \"name  type  area  frequency  gauss  lorentz  "
                  "phase\" and a row for each line below it");
    if (!table.preset.empty() && !table.steps.empty())
        refuse_at(table, table.strategy_place,
                  "found \"strategy\" and rows \"step\"; expected one or the other");
    if (table.fit_mode == 3 && table.lineshape.empty()) { // an undistorted line
        table.lineshape.assign(2 * static_cast<std::size_t>(coefficients), 0.0);
        table.lineshape[2 * (static_cast<std::size_t>(coefficients) / 2)] = 1.0;
    }
    if (table.lineshape.size() != 2 * static_cast<std::size_t>(coefficients))
        refuse_at(table, {},
                  std::to_string(table.lineshape.size()) +
                      " numbers in \"coefficients\"; expected " + std::to_string(2 * coefficients) +
                      ", two for each of \"lineshape: fitted N\"");
    check_names(table);
    check_widths(table);
    return table;
}

peak_table read_peak_table(const std::string &file) {
    return parse_peak_table(read_text_file(file, "a table of peaks"), file);
}

} // namespace tools
