// SPDX-License-Identifier: BSD-3-Clause
// batch_table.h -- records of fits as rows of tables, and as values of maps
//
// The tables are those of single fits (files/results/results_table.h), with a column for each
// direction of the input behind the name of the spectrum, and a row for each entry also without
// results.
#pragma once

#include "files/batch/fit_record.h"
#include "files/batch/plan_lines.h"
#include "files/results/fitted_entries.h"
#include "files/results/results_table.h"

#include <string>
#include <vector>

namespace tools {

enum class map_quantity {
    area,
    area_error,
    area_percent,
    frequency,
    frequency_ppm,
    gauss_width,
    lorentz_width,
    phase,
    quality,
    noise,
    iterations
};
static constexpr map_quantity every_map[] = {
    map_quantity::area,          map_quantity::area_error,    map_quantity::area_percent,
    map_quantity::frequency,     map_quantity::frequency_ppm, map_quantity::gauss_width,
    map_quantity::lorentz_width, map_quantity::phase,         map_quantity::quality,
    map_quantity::noise,         map_quantity::iterations};
const char *map_name(map_quantity quantity);
const char *map_unit(map_quantity quantity);

// Of results.tsv, one for each entry, and of quality.tsv, with what they say.
struct batch_rows {
    std::string results, quality;
    fit_judgement judgement; // as of a single fit
};

// The columns for the directions of the input, with seconds where these are known, and their cells.
table_shape table_shape_of(const batch_plan &plan);
std::vector<std::string> places_of(const batch_plan &plan, const planned_spectrum &spectrum);

class batch_table {
  public:
    explicit batch_table(const batch_plan &plan);
    std::string results_header() const { return tools::results_header(shape_); }
    std::string quality_header() const { return tools::quality_header(shape_); }
    std::string results_dictionary() const { return tools::results_dictionary(shape_); }
    std::string quality_dictionary() const { return tools::quality_dictionary(shape_); }
    batch_rows rows_of(const planned_spectrum &spectrum, const fit_record &record) const;

    // As a single fit of the spectrum has it, without its signals.
    run_result result_of(const planned_spectrum &spectrum, const fit_record &record) const;

    std::vector<map_quantity> entry_maps(std::size_t entry) const;
    std::vector<map_quantity> fit_maps() const;
    // In shown units, without names and heights.
    std::vector<fitted_entry> entries_of(const fit_record &record) const;
    // Not a number where there is none. entry: one of entries_of, for a quantity of an entry.
    static double value_of(map_quantity quantity, const fit_record &record,
                           const fitted_entry &entry);

  private:
    std::vector<fitted_entry> entries_of(const fit_record &record, std::vector<bool> &turned) const;
    const batch_plan &plan_;
    run_result common_; // what holds for all fits
    std::vector<linked_entry> rows_;
    std::vector<double> start_areas_;
    table_shape shape_;
};

} // namespace tools
