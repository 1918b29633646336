// SPDX-License-Identifier: BSD-3-Clause
// batch_table.h -- records of fits as rows of tables, and as values of maps
//
// Columns, units and rounding are those of the results table of single fits, with a column for each
// direction of the input behind the name of the spectrum.
#pragma once

#include "files/batch/fit_record.h"
#include "files/results/judgement.h"

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

// Nine digits, enough for what the result files hold; "n/a" for what is no finite number.
std::string table_text(double value);

class batch_table {
  public:
    explicit batch_table(const batch_plan &plan);
    // As of a single fit; correlations are not known here.
    fit_judgement judgement(const fit_record &record) const;
    std::string results_header() const;
    std::string quality_header() const;
    std::string results_rows(const planned_spectrum &spectrum, const fit_record &record) const;
    std::string quality_row(const planned_spectrum &spectrum, const fit_record &record) const;
    std::string results_dictionary() const;
    std::string quality_dictionary() const;

    std::vector<map_quantity> entry_maps(std::size_t entry) const;
    std::vector<map_quantity> fit_maps() const;
    // Not a number where there is none.
    double value_of(map_quantity quantity, const fit_record &record, std::size_t entry) const;

  private:
    struct shown {
        double value, error_2sd; // shown unit
    };
    shown parameter(const fit_record &record, std::size_t entry, int quantity) const;
    std::vector<bool> turned(const fit_record &record) const;
    std::string signs_text(const fit_record &record) const; // which were turned; or empty
    // The record with areas of positive sum where phases are free (results/equivalent_signs.h).
    fit_record with_signs(fit_record record) const;
    double ppm(std::size_t entry, double hz) const;
    std::string link(const fit_record &record, std::size_t entry, int quantity) const;
    std::string place(const planned_spectrum &spectrum) const;

    const batch_plan &plan_;
    double hz_per_point_, carrier_hz_;
    fit_facts common_; // what holds for all fits
    std::vector<std::pair<long long, long long>> intervals_;
};

} // namespace tools
