// SPDX-License-Identifier: BSD-3-Clause
// fitted_entries.h -- entries in shown units, from the numbers of a fit: names, values, signs
//
// A line of area A and phase p is the line of area -A and phase p + 180 degrees. Where areas and
// phases are free a search may end at either. Shown is the one with a positive sum of areas; where
// the start values ask for inverted lines, the one that is like them.
#pragma once

#include "files/spectra/spectrum_axis.h"
#include "files/results/run_result.h"

#include <array>
#include <string>
#include <vector>

namespace tools {

// Area, frequency, Gaussian width, phase and Lorentzian width, as .mat and .err have them.
typedef std::array<double, 5> parameter_row;

struct linked_entry {
    int type = 0;
    std::array<int, 5> link{}; // 0 free, the own number fixed, another number tied to that entry
};

// Errors that are all zero are none.
bool has_any_error(const std::vector<parameter_row> &errors);

// Numbered from 1, without names, places and heights. errors: two standard deviations, without the
// factor for zeros that were filled in.
std::vector<fitted_entry> shown_entries(const std::vector<linked_entry> &rows,
                                        const std::vector<parameter_row> &values,
                                        const std::vector<parameter_row> &errors,
                                        const spectrum_axis &axis);

// Sets their places on the axes. points: of the spectrum, whose carrier is at half of them.
void place_entries(std::vector<fitted_entry> &entries, const spectrum_axis &axis, long long points);

// Links as in start files: 0 free, the own number (from 1) fixed, another number tied to that
// entry.
struct signed_entry {
    int area_link = 0, phase_link = 0;
    double area = 0.0;       // of the fit
    double start_area = 0.0; // 0 where it is not known
};

// Entries whose area is to be negated and whose phase is to be turned by 180 degrees. Entries that
// are tied by area or phase turn together, and only where none of their phases and areas is fixed
// (but for areas of 0). Sums that are no finite numbers turn nothing.
std::vector<bool> entries_to_turn(const std::vector<signed_entry> &entries);

// The same phase in (-180, 180] degrees.
double principal_phase(double degrees);

// Of the two descriptions that every curve has, takes the one with positive areas, else with the
// signs of the start values (none: 0 each); phases in (-180, 180]. Returns which were turned.
std::vector<bool> choose_signs(std::vector<fitted_entry> &entries,
                               const std::vector<double> &start_areas);

// The names of a file, one a line up to a blank or comma; lines that begin with # are remarks.
// Errors: bad_input, naming the line, for a name that stands there twice or is not UTF-8.
std::vector<std::string> read_names(const std::string &file);

// Names of the entries: those of the file `asked` or of names.txt in the folder, of patterns that
// of their file, else numbers. Errors: bad_input for a file with other names than entries.
void name_entries(run_result &run, const std::string &asked);

// Whether all that a line of this type has is finite.
bool all_finite(int type, const parameter_row &row);

// The description with positive areas; the covariance of areas follows, a note says so.
void choose_signs(run_result &run);

// The covariance where the areas of these entries have the other sign. Nothing without one.
void turn_covariance(rebuilt_model &model, const std::vector<bool> &turned);

} // namespace tools
