// SPDX-License-Identifier: BSD-3-Clause
// linked_value.h -- cells of a table, followed along their links, as parameters of a start file
#pragma once

#include "files/start/peak_table.h"
#include "files/start/spectrum_facts.h"
#include "files/start/start_file.h"

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tools {

// Where a parameter comes from when every link is followed to its end.
struct origin {
    std::size_t entry = 0; // from 0
    double factor = 1.0;   // of an area
    double offset = 0.0;   // of any other, in the unit of the file
    bool unknown = false;  // to be estimated
};

class linked_values {
  public:
    // entry_of_row: entries from 0, of every row. What is given must outlive this.
    linked_values(const peak_table &table, const table_axis &axis, double hz_per_point,
                  const std::vector<std::size_t> &entry_of_row);

    // Value (left as it is when unknown), link and range of quantity q in a row, into own.
    // Errors: bad_input, naming the cell.
    origin resolve(std::size_t row, int q, start_parameter &own) const;

  private:
    const table_cell &cell(std::size_t row, int q) const { return table_.rows[row].of(q); }
    std::size_t source_of(std::size_t row, int q) const;
    double in_file(std::size_t row, int q, double value, table_unit unit, bool is_offset) const;
    double place_in_file(std::size_t row) const;
    void refuse_link(std::size_t row, std::size_t source, int q) const;

    const peak_table &table_;
    const table_axis &axis_;
    double hz_per_point_;
    const std::vector<std::size_t> &entry_of_row_;
    std::unordered_map<std::string_view, std::size_t> row_named_;
};

} // namespace tools
