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

#include <span>
#include <string>
#include <vector>

namespace tools {

// What a map of a batch shows: of an entry in shown units, or of the fit as a whole.
struct map_quantity {
    const char *name, *unit;
    // Not a number where there is none. entry: one of entries_of.
    double (*value)(const fit_record &record, const fitted_entry &entry);
};
std::span<const map_quantity> every_map();

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
    batch_rows rows_of(const planned_spectrum &spectrum, const fit_record &record) const;

    // As a single fit of the spectrum has it, without its signals.
    run_result result_of(const planned_spectrum &spectrum, const fit_record &record) const;

    std::vector<map_quantity> entry_maps(std::size_t entry) const;
    std::vector<map_quantity> fit_maps() const;
    // In shown units, without names and heights.
    std::vector<fitted_entry> entries_of(const fit_record &record) const;

  private:
    std::vector<fitted_entry> entries_of(const fit_record &record, std::vector<bool> &turned) const;
    const batch_plan &plan_;
    run_result common_; // what holds for all fits
    std::vector<linked_entry> rows_;
    std::vector<double> start_areas_;
};

} // namespace tools
