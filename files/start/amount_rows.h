// SPDX-License-Identifier: BSD-3-Clause
// amount_rows.h -- what a table of peaks says about what follows from areas: rows "derive",
// "water", "amount", "te" and "tr"
//
// docs/quantification.md has the formula that takes the latter four.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tools {

struct peak_table;

// Where something stands in a table of peaks.
struct table_place {
    int line = 0, column = 0; // from 1; 0: not from a file
};

// A part of the voxel whose water has a content and relaxation of its own.
struct water_compartment {
    std::string name;
    std::optional<double> fraction; // of the voxel; not given: 1, for a single one
    std::optional<double> content;  // [kg/L] or [kg/kg]
    bool per_litre = false;
    std::optional<double> t1, t2; // [s]
    bool has_metabolites = true;
};

// What is wanted as an amount: an expression of areas, with what its protons do.
struct amount_row {
    std::string name, expression; // as files/results/derived_area.h has them
    double protons = 0.0;
    std::optional<double> t1, t2; // [s]
    table_place place;
};

struct amount_rows {
    std::vector<water_compartment> water;
    std::vector<amount_row> amounts;
    std::optional<double> echo_time, repetition_time; // [s]
};

// Both sides of the "=" of "NAME = EXPRESSION", of rows "derive" and of --derive; without one, the
// expression is its name.
std::string derived_name(const std::string &text);
std::string derived_expression(const std::string &text);

// Derived values and amounts stand in one table, by their names.
// Errors: bad_input with the place when a row "derive" or "amount" of the table has the name.
void refuse_derived_twice(const peak_table &table, const std::string &name,
                          const table_place &place);

// "gray, fraction=0.6, content=0.82 kg/L, t1=1.82 s, t2=99 ms, metabolites=no"
// Errors: bad_input with the place.
water_compartment read_water_row(const peak_table &table, const std::string &text,
                                 const table_place &place);
// "NAA, protons=3, t1=1.4 s, t2=280 ms" or "tNAA = NAA+NAAG, protons=3". Errors: as above.
amount_row read_amount_row(const peak_table &table, const std::string &text,
                           const table_place &place);
// "30 ms", "2 s": above 0. Errors: as above.
double read_time(const peak_table &table, const std::string &text, const table_place &place);

// Whether the compartments go together: all with content of one kind or none, fractions that add up
// to 1. Errors: bad_input.
void refuse_odd_water(const peak_table &table);

} // namespace tools
