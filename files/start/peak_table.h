// SPDX-License-Identifier: BSD-3-Clause
// peak_table.h -- a table of peaks as a spectroscopist writes it: what is fitted, from where
//
// One row per line or pattern below a heading of column names; cells stand apart by two or more
// blanks, a tab or a bar. Rows "key: value" say the rest (intervals, strategy). The grammar is in
// docs/file_formats/peak_table.md.
#pragma once

#include "files/spectra/reference_peak.h"
#include "files/start/amount_rows.h"
#include "files/start/start_file.h"

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools {

enum class table_unit { none, ppm, hz, points, degrees };
const char *unit_name(table_unit unit);

enum class cell_kind { unused, number, estimate, link };

// One parameter of a row. Widths are in Hz, phases in degrees, areas in units of the signal.
struct table_cell {
    cell_kind kind = cell_kind::unused;
    bool fixed = false;
    double value = 0.0;  // of a number; offset of a link
    double factor = 1.0; // of a link of areas
    table_unit unit = table_unit::none;
    std::string source;                             // row that a link names
    std::optional<std::pair<double, double>> range; // window; an edge may be none (no_edge)
    table_unit range_unit = table_unit::none;
    table_place place;
};

struct table_row {
    std::string name;
    int type = lorentz_entry;
    std::string pattern_file;
    bool takes_lineshape = true; // in fit mode 3
    std::array<table_cell, quantities> cells;
    table_cell &of(int q) { return cells[static_cast<std::size_t>(q)]; }
    const table_cell &of(int q) const { return cells[static_cast<std::size_t>(q)]; }
    table_place place;
};

struct table_interval {
    double first = 0.0, last = 0.0; // in any order
    table_unit unit = table_unit::points;
    table_place place;
};

// A step as the table has it. Of a preset, the switches still depend on what the model has.
struct table_step {
    start_step step; // points 0: all measured; intervals empty: those of the table
    table_place place;
};

struct peak_table {
    std::string file;
    std::vector<table_row> rows;
    std::vector<table_interval> intervals;
    std::string preset; // quick, standard, random-then-gradient; empty with steps of its own
    std::vector<table_step> steps;
    table_place strategy_place;

    // "key: value" rows; what is not given comes from the spectrum, or has a default
    std::optional<int> points, measured;
    std::optional<double> hz_per_point, phi_1, tolerance;
    std::optional<table_interval> noise;
    std::optional<reference_peak> reference; // sets the ppm axis of the spectra
    std::vector<std::string> derived;        // NAME = EXPRESSION
    amount_rows amounts;                     // by a water reference
    std::optional<std::string> followed, data_format;
    std::optional<int> ignored, verbose, ranges;
    std::optional<bool> errors;
    int fit_mode = 1;
    std::vector<double> lineshape; // coefficients of fit mode 3, real and imaginary in turn
};

// Errors: bad_input "FILE:LINE:COLUMN: found ...; expected ...".
peak_table read_peak_table(const std::string &file);
// The same for a text in storage; file is its name in messages.
peak_table parse_peak_table(const std::string &text, const std::string &file);

// What the table says at a place, for a message.
[[noreturn]] void refuse_at(const peak_table &table, const table_place &place,
                            const std::string &text);

} // namespace tools
