// SPDX-License-Identifier: BSD-3-Clause
// start_file.h -- the contents of a start value / fit control file, of any generation
#pragma once

#include "files/start/fit_method.h"

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools {

// The five parameters of an entry, in the order in which control files have them.
enum quantity : int { area_of, frequency_of, gauss_of, phase_of, lorentz_of, quantities };
const char *name_of(int quantity);

enum entry_type : int { gauss_entry = 1, lorentz_entry, voigt_entry, pattern_entry };
const char *type_name(int type);

inline bool is_width(int quantity) {
    return quantity == gauss_of || quantity == lorentz_of;
}

// An edge of a window that is none: "> 0" has no upper one. Finite, for files that know no
// infinity; whatever unit it is turned into, it stays beyond is_edge.
inline constexpr double no_edge = 1e300;
inline bool is_edge(double value) {
    return value > -1e280 && value < 1e280;
}

// In the units of the file: Hz from the left edge (a pattern: shift in Hz), degrees; widths see
// width_unit.
struct start_parameter {
    double value = 0.0;
    int link = 0; // 0 free, the own number: fixed, another number: tied to that entry
    std::optional<std::pair<double, double>> range;  // of the random search; finite
    std::optional<std::pair<double, double>> window; // that a table gives; the exact fit holds it
};

struct start_entry {
    std::string name; // empty when not known; files hold none
    int type = lorentz_entry;
    int takes_lineshape = 0;
    std::string pattern_file;
    std::array<start_parameter, quantities> parameters;
    start_parameter &of(int q) { return parameters[static_cast<std::size_t>(q)]; }
    const start_parameter &of(int q) const { return parameters[static_cast<std::size_t>(q)]; }
};

// Columns of a strategy line behind algorithm and truncation, those of the quantities first.
enum step_switch : int {
    fit_areas = area_of,
    fit_frequencies = frequency_of,
    fit_gauss = gauss_of,
    fit_phases = phase_of,
    fit_lorentz = lorentz_of,
    fit_lineshape,
    weighting,
    align,
    iterations,
    part,
    step_switches
};

struct start_step {
    int algorithm = 2; // 1 random search, 2 conjugate gradients
    int points = 0;    // of the time domain
    std::array<int, step_switches> switches = {0, 0, 0, 0, 0, 0, 1, 0, 100, 2};
    std::vector<std::pair<int, int>> intervals; // first and last point
    bool operator==(const start_step &) const = default;
};

// Not a step that only aligns, or does nothing.
bool fits_something(const start_step &step);
// The last step that fits something, whose points, part and intervals are those of the result;
// nullptr when there is none.
const start_step *last_fitting_step(const std::vector<start_step> &steps);
// Its intervals in a spectrum of so many points, first and last point; all points when it has none.
std::vector<std::pair<long long, long long>> fitted_intervals(const std::vector<start_step> &steps,
                                                              long long points);

struct start_file {
    std::string generation = "version 3"; // or "block format", "old format"
    int points = 0, noise_first = 0, noise_stop = 0;
    int lines = 0, patterns = 0; // the first so many entries, and those behind them
    double phi_1 = 0.0, hz_per_point = 1.0, tolerance = 1e-7;
    int fit_mode = 1, verbose = 1, followed = 1, errors = 1;
    std::string data_format = "none";
    int ranges = 2, ignored = 0;
    std::vector<start_step> steps;
    std::vector<start_entry> entries;
    std::vector<double> lineshape; // real and imaginary in turn
};

// Hertz of one unit in which a file has this width: 1 for Hz, Hz per point where it is in points,
// and 1.67 times that for the Gaussian width of a pattern, whose file holds the parameter itself.
double width_unit(int quantity, int type, double hz_per_point);

// "entry 3 (PCr)"; k from 0.
std::string entry_label(const start_file &start, std::size_t k);

// Whether a line of this type has the parameter at all.
bool is_used(int quantity, int type);

// What the fit would refuse or could not end well with, in its own words' order: counts, noise,
// strategy, types, links. Errors: bad_input with what to do; source names the file it came from.
//
// The search holds 49 entries and patterns of 4096 points; the engine has neither limit.
void refuse_what_fails(const start_file &start, const std::string &source,
                       fit_method by = fit_method::classic);
// Of it what is known without values: entries, parameters, points.
void refuse_counts(const start_file &start, const std::string &source, fit_method by);

// The text of a version 3 file. remarks stand behind its end, where the reader does not look.
std::string version_3_text(const start_file &start, const std::vector<std::string> &remarks);

// What a single-precision reader makes of a value.
double as_single(double value);

} // namespace tools
