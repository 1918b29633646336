// SPDX-License-Identifier: BSD-3-Clause
// amounts.h -- amounts of substance by the water of the same voxel
//
//   c = 55508 mmol/kg (2 / n) (A_m / A_w) (sum_i f_i w_i R_i) / (R_m sum_j f_j)
//   R = exp(-TE / T2) (1 - exp(-TR / T1))
//
// A_m the area of a metabolite's line of n protons, A_w that of water; f_i the fraction of
// compartment i of the voxel, w_i the content of water in it, R_i what relaxation leaves of its
// water; j over the compartments that hold metabolites. With w in kg/kg the result is in mmol per
// kg wet weight, in kg/L in mmol per litre of tissue, without it (w = 1, fractions of water) in
// mmol per kg of water. Factors of relaxation times that are not given are 1.
//
// Sources: P. B. Barker et al., Magn. Reson. Med. 30 (1993) 38-45; T. Ernst, R. Kreis, B. D. Ross,
// J. Magn. Reson. B 102 (1993) 1-8 (compartments); C. Gasparovic et al., Magn. Reson. Med. 55
// (2006) 1219-1226 (tissue fractions); J. Near et al., NMR Biomed. 34 (2021) e4257 (consensus).
#pragma once

#include "files/base/ordered_json.h"
#include "files/results/derived_area.h"
#include "files/start/amount_rows.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

// What relaxation leaves of a signal; 1 for what is not given. The excitation is of 90 degrees.
double relaxation_left(std::optional<double> t1, std::optional<double> t2,
                       std::optional<double> echo_time, std::optional<double> repetition_time);

// A measurement of water, and what it shares with the one of the metabolites.
struct water_measurement {
    double area = 0.0, area_error = 0.0; // one standard deviation [signal]
    double scale = 1.0;                  // by which it is multiplied to be in the unit of the data
    std::optional<double> echo_time, repetition_time; // [s]
};

// The item "water_reference" of a sidecar: factors from areas to amounts, their unit, and all that
// was assumed for them, a sentence each.
//
// Given:
//   rows         of the table; echo and repetition time of the metabolites, whoever says them
//   water        measured
//   assumed      what is known already: of files, scale, averages
// Errors: bad_input when a relaxation time is given and the time that it needs is not.
ordered_json amounts_item(const amount_rows &rows, const water_measurement &water,
                          const std::vector<std::string> &assumed, const std::string &table_file);

// Behind the expression of an amount in tables.
inline constexpr const char *by_water = " by water";

// What such an item of a run's sidecar says of its areas; nothing without one. The error of the
// water's area is in those of the amounts. Errors: bad_input for an item that holds something else.
std::vector<derived_area> amounts_of(const run_result &run);

// What these expressions of a fitted run give, and its amounts. Errors: as derive_area, and above.
std::vector<derived_area> derived_of(const run_result &run,
                                     const std::vector<std::string> &expressions);

// The same of another water, with this area and its error [signal].
std::vector<derived_area> amounts_of(const run_result &run, const ordered_json &item, double area,
                                     double area_error);

} // namespace tools
