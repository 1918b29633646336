// SPDX-License-Identifier: BSD-3-Clause
// linked_value.cpp -- cells of a table, followed along their links, as parameters of a start file
#include "files/start/linked_value.h"

#include "files/base/tool_error.h"
#include "files/start/values_in_points.h"

#include <algorithm>

namespace tools {

linked_values::linked_values(const peak_table &table, const table_axis &axis, double hz_per_point,
                             const std::vector<std::size_t> &entry_of_row)
    : table_(table), axis_(axis), hz_per_point_(hz_per_point), entry_of_row_(entry_of_row) {
    for (std::size_t r = 0; r < table.rows.size(); ++r) row_named_.emplace(table.rows[r].name, r);
}

std::size_t linked_values::source_of(std::size_t row, int q) const {
    return row_named_.at(cell(row, q).source);
}

double linked_values::in_file(std::size_t r, int q, double value, table_unit unit,
                              bool is_offset) const {
    const table_row &row = table_.rows[r];
    try {
        if (q == frequency_of) {
            if (!is_offset && row.type != pattern_entry) return axis_.position_hz(value, unit);
            return axis_.offset_hz(value, unit);
        }
        if (is_width(q))
            return axis_.width_hz(value, unit) / width_unit(q, row.type, hz_per_point_);
        return value;
    } catch (const tool_error &error) {
        refuse_at(table_, cell(r, q).place, error.what());
    }
}

// Where a line lies, its links followed.
double linked_values::place_in_file(std::size_t row) const {
    double at = 0.0;
    while (cell(row, frequency_of).kind == cell_kind::link) {
        const table_cell &link = cell(row, frequency_of);
        at += in_file(row, frequency_of, link.value, link.unit, true);
        row = source_of(row, frequency_of);
    }
    const table_cell &end = cell(row, frequency_of);
    return at + in_file(row, frequency_of, end.value, end.unit, false);
}

// What the types of two rows do not allow.
void linked_values::refuse_link(std::size_t row, std::size_t source, int q) const {
    const table_row &own = table_.rows[row], &other = table_.rows[source];
    const table_place &place = cell(row, q).place;
    if (q == frequency_of && other.type == pattern_entry && own.type != pattern_entry)
        refuse_at(table_, place,
                  own.name + ": a line tied to the shift of a pattern has no position of its "
                             "own; tie the pattern to the line");
    if (is_width(q) && own.type != other.type)
        refuse_at(table_, place,
                  own.name + " is a " + type_name(own.type) + ", " + other.name + " a " +
                      type_name(other.type) + "; tied widths need two of the same type");
}

origin linked_values::resolve(std::size_t r, int q, start_parameter &own) const {
    const table_cell &given = cell(r, q);
    double factor = 1.0, offset = 0.0;
    std::size_t end = r;
    for (std::size_t steps = 0; cell(end, q).kind == cell_kind::link; ++steps) {
        const table_cell &link = cell(end, q);
        const std::size_t source = source_of(end, q);
        if (source == r || steps > table_.rows.size())
            refuse_at(table_, given.place,
                      table_.rows[r].name + ", " + name_of(q) +
                          ": tied to itself in the end; give one of the rows a value");
        refuse_link(end, source, q);
        factor *= link.factor;
        offset += in_file(end, q, link.value, link.unit, true);
        // the shift of a pattern follows the movement of a line, not its place
        if (q == frequency_of && table_.rows[end].type == pattern_entry &&
            table_.rows[source].type != pattern_entry)
            offset -= place_in_file(source);
        end = source;
    }
    const table_cell &source = cell(end, q);
    if (end != r) {
        own.link = static_cast<int>(entry_of_row_[end]) + 1;
    } else if (given.fixed || given.kind == cell_kind::unused ||
               (given.kind == cell_kind::number && !is_used(q, table_.rows[r].type))) {
        own.link = static_cast<int>(entry_of_row_[r]) + 1;
    }
    if (source.kind != cell_kind::estimate) {
        const double value = in_file(end, q, source.value, source.unit, false);
        own.value = q == area_of ? value * factor : value + offset;
    }
    if (given.range) {
        const double a = in_file(r, q, given.range->first, given.range_unit, false);
        const double b = in_file(r, q, given.range->second, given.range_unit, false);
        own.window = std::minmax({a, b});
        if (is_edge(a) && is_edge(b)) own.range = own.window;
    }
    return {entry_of_row_[end], factor, offset, source.kind == cell_kind::estimate};
}

} // namespace tools
