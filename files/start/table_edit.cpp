// SPDX-License-Identifier: BSD-3-Clause
// table_edit.cpp -- changes to the text of a table of peaks that leave everything else as it stands
#include "files/start/table_edit.h"

#include "files/base/format_text.h"
#include "files/start/table_lines.h"
#include "files/start/table_of_start.h"
#include "files/start/table_rows.h"
#include "files/start/table_scanner.h"

#include <algorithm>

namespace tools {

static constexpr std::size_t blanks_apart = 2; // cells

namespace {

// Lines with cells: the heading, and the rows.
struct layout {
    peak_table table; // for messages
    std::vector<table_line> lines;
    std::vector<table_line> rows; // the heading is the first of them
    std::vector<std::string> columns;

    explicit layout(const std::string &text) : lines(lines_of_table(text)) {
        table.file = "peaks.txt";
        for (const table_line &line : lines)
            if (!line.is_key()) rows.push_back(line);
        if (rows.empty()) return;
        for (const table_column &column : read_heading(table, cells(0), rows[0].number)) {
            table_scanner word(table, column.heading, rows[0].number, 1);
            const std::string name = lower_case(word.word());
            columns.push_back(name == "shift" ? "frequency" : name);
        }
    }
    std::vector<table_text_cell> cells(std::size_t line) const {
        return cells_of(table, rows[line].text, rows[line].number);
    }
    const table_line &row(std::size_t number) const { return rows.at(number + 1); }
    std::size_t column(const std::string &name) const {
        return static_cast<std::size_t>(std::find(columns.begin(), columns.end(), name) -
                                        columns.begin());
    }
};

} // namespace

// Puts a cell where one was, and takes as many blanks behind it as keep the next cells in place.
static std::string replaced(const std::string &text, const table_line &line,
                            const table_text_cell &cell, const std::string &by) {
    const std::size_t begin = line.begin + static_cast<std::size_t>(cell.column) - 1;
    std::size_t end = begin + cell.text.size();
    std::string put = by;
    const std::size_t stop = line.begin + line.whole.size();
    std::size_t blanks = 0;
    while (end + blanks < stop && text[end + blanks] == ' ') ++blanks;
    if (end + blanks < stop) { // something stands behind
        const std::size_t room = cell.text.size() + blanks;
        if (put.size() + blanks_apart <= room)
            put.append(room - put.size(), ' ');
        else
            put.append(std::min(blanks, blanks_apart), ' ');
        end += blanks;
    }
    return text.substr(0, begin) + put + text.substr(end);
}

static std::string nothing_of(const std::string &column) {
    if (column == "area" || column == "phase") return "?";
    return column == "lineshape" ? "yes" : "-";
}

// A column behind the others.
static std::string with_column(const std::string &text, const std::string &column) {
    const layout at(text);
    std::string out = text;
    for (std::size_t l = at.rows.size(); l-- > 0;) { // from the end, so that places stay
        const table_line &line = at.rows[l];
        std::size_t end = line.begin + line.text.size();
        const bool framed = !line.text.empty() && line.text.back() == '|';
        const std::string cell = l == 0 ? column : nothing_of(column);
        out.insert(end, framed ? " " + cell + " |" : std::string(blanks_apart, ' ') + cell);
    }
    return out;
}

std::string empty_table(bool knows_ppm) {
    return std::string("name    type     area    ") +
           (knows_ppm ? "frequency[ppm]" : "frequency[Hz] ") + "  lorentz[Hz]  phase\n";
}

std::vector<cells_by_column> cells_of_table(const std::string &text) {
    const layout at(text);
    std::vector<cells_by_column> out;
    for (std::size_t l = 1; l < at.rows.size(); ++l) {
        cells_by_column &row = out.emplace_back();
        const std::vector<table_text_cell> cells = at.cells(l);
        for (std::size_t c = 0; c < std::min(cells.size(), at.columns.size()); ++c)
            row[at.columns[c]] = cells[c].text;
    }
    return out;
}

std::string with_cell(const std::string &text, std::size_t row, const std::string &column,
                      const std::string &cell) {
    const layout at(text);
    if (at.column(column) == at.columns.size())
        return with_cell(with_column(text, column), row, column, cell);
    const table_line &line = at.row(row);
    return replaced(text, line, at.cells(row + 1).at(at.column(column)), cell);
}

std::string with_row(const std::string &text, const cells_by_column &cells) {
    const layout before(text);
    for (const auto &[column, cell] : cells)
        if (before.column(column) == before.columns.size())
            return with_row(with_column(text, column), cells);
    const std::vector<table_text_cell> heading = before.cells(0);
    std::string row;
    for (std::size_t c = 0; c < before.columns.size(); ++c) {
        const auto given = cells.find(before.columns[c]);
        const std::size_t wanted = static_cast<std::size_t>(heading[c].column) - 1;
        const std::string_view line = before.rows[0].text;
        if (line.find('|') != std::string_view::npos && (c > 0 || line[0] == '|'))
            row += c > 0 ? " | " : "| ";
        else if (c > 0)
            row.append(blanks_apart, ' ');
        if (row.size() < wanted) row.append(wanted - row.size(), ' ');
        row += given == cells.end() ? nothing_of(before.columns[c]) : given->second;
    }
    if (before.rows[0].text.back() == '|') row += " |";
    const table_line &last = before.rows.back();
    const std::size_t end = std::min(text.find('\n', last.begin), text.size());
    return text.substr(0, end) + "\n" + row + text.substr(end) + (end == text.size() ? "\n" : "");
}

static std::string without_line(const std::string &text, const table_line &line) {
    const std::size_t end = std::min(text.find('\n', line.begin), text.size() - 1) + 1;
    return text.substr(0, line.begin) + text.substr(end);
}

std::string without_row(const std::string &text, std::size_t row) {
    return without_line(text, layout(text).row(row));
}

std::string with_name(const std::string &text, std::size_t row, const std::string &name) {
    const std::string before = cells_of_table(text).at(row).at("name");
    std::string out = with_cell(text, row, "name", name);
    const std::vector<cells_by_column> rows = cells_of_table(out);
    for (std::size_t r = 0; r < rows.size(); ++r)
        for (const auto &[column, cell] : rows[r]) {
            if (cell.empty() || cell[0] != '=') continue;
            const std::size_t begin = cell.find_first_not_of(" \t", 1);
            std::size_t end = std::min(begin, cell.size());
            while (end < cell.size() && is_name_character(cell[end])) ++end;
            if (begin < cell.size() && cell.substr(begin, end - begin) == before)
                out = with_cell(out, r, column, "=" + name + cell.substr(end));
        }
    for (const table_line &line : lines_of_table(out))
        if (line.is_key() && lower_case(line.key()) == "follow") {
            peak_table none;
            table_scanner scan(none, line.text.substr(line.colon + 1), line.number, 1);
            if (scan.until("") == before) return with_key(out, "follow", name);
        }
    return out;
}

std::string with_key(const std::string &text, const std::string &key, const std::string &value) {
    std::string out = text;
    bool is_there = false;
    const std::vector<table_line> lines = lines_of_table(text);
    std::size_t first = lines.size();
    for (std::size_t l = lines.size(); l-- > 0;)
        if (lines[l].is_key() && lower_case(lines[l].key()) == key) first = l;
    for (std::size_t l = lines.size(); l-- > 0;) {
        const table_line &line = lines[l];
        if (!line.is_key() || lower_case(line.key()) != key) continue;
        if (l != first || value.empty()) {
            out = without_line(out, line);
            continue;
        }
        is_there = true;
        out.replace(line.begin + line.colon, line.text.size() - line.colon, ": " + value);
    }
    if (is_there || value.empty()) return out;
    if (!out.empty() && out.back() != '\n') out += '\n';
    return out + key + ": " + value + "\n";
}

// A hundredth of a hertz, a ten thousandth of a ppm, a tenth of a degree; four digits of the rest.
static std::string number_by_hand(double value, int quantity, table_unit unit) {
    if (quantity == phase_of) return format("%.1f", value);
    if (quantity == frequency_of) return format(unit == table_unit::ppm ? "%.4f" : "%.2f", value);
    const std::string text = format("%.4g", value);
    return text.find("e+") != std::string::npos ? format("%.0f", value) : text;
}

// Value in the unit of the cell.
static double in_unit(const table_axis &axis, int quantity, bool is_pattern, double value,
                      table_unit unit) {
    if (is_width(quantity))
        return unit == table_unit::ppm ? value / axis.width_hz(1.0, unit) : value;
    if (quantity != frequency_of) return value;
    if (is_pattern) return value / axis.offset_hz(1.0, unit);
    if (unit == table_unit::ppm) return axis.ppm_of(value);
    return (value - axis.position_hz(0.0, unit)) / axis.offset_hz(1.0, unit);
}

std::string number_cell(const peak_table &table, std::size_t row, int quantity, double value,
                        const table_axis &axis, const std::string &before, cell_digits digits) {
    const table_row &own = table.rows.at(row);
    const table_cell &cell = own.of(quantity);
    const bool is_number = cell.kind == cell_kind::number;
    table_unit unit = is_number ? cell.unit : table_unit::none;
    if (quantity == frequency_of && unit == table_unit::none)
        unit = axis.knows_ppm() && own.type != pattern_entry ? table_unit::ppm : table_unit::hz;
    const double shown = in_unit(axis, quantity, own.type == pattern_entry, value, unit);
    const std::string number = digits == cell_digits::all ? single_digits(as_single(shown))
                                                          : number_by_hand(shown, quantity, unit);
    if (is_number) { // in the place of the number that stands there
        const std::size_t word = lower_case(before).starts_with("fixed") ? 5 : 0;
        const std::size_t begin = before.find_first_of("+-.0123456789", word);
        const std::size_t end = before.find_first_not_of("+-.0123456789eE", begin);
        if (begin != std::string::npos)
            return before.substr(0, begin) + number +
                   (end == std::string::npos ? "" : before.substr(end));
    }
    const std::string fixed = cell.fixed ? "fixed " : "";
    return fixed + number +
           (quantity == frequency_of ? std::string(" ") + unit_name(unit) : std::string());
}

} // namespace tools
