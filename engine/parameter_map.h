// SPDX-License-Identifier: BSD-3-Clause
// parameter_map.h -- from the links of a problem to the columns of its Jacobian
//
// The fit moves one number per free parameter, a column. Every parameter of every entry is an
// affine function of at most one of them, whatever chain of links leads there:
//
//   p = factor y + offset,   y = x, or sqrt(x) for a column that holds a squared width
//
// A Gaussian width enters the model squared. Its own derivative is 0 at a width of 0, so that a
// search that starts or arrives there would never leave; the derivative by the square is not. A
// width that others follow at a distance stays as it is, since theirs is not 0 there.
#pragma once

#include "engine/fit_problem.h"

#include <array>
#include <optional>
#include <span>
#include <vector>

namespace engine {

struct column {
    int entry; // whose free parameter this is
    quantity of;
    bool squared;
    double start, lower, upper; // of x, lower <= start <= upper
    double given;               // the start before it was moved into the window
};

struct affine {
    int column = -1; // -1: the value is `offset`
    double factor = 0.0, offset = 0.0;
};

class parameter_map {
  public:
    // Errors: links to what is not there, to themselves in a circle, or to a width that the other
    //         line type has not; values that are not finite; windows that are empty.
    // Notes:
    //   1. The window of a tied parameter narrows that of the parameter it follows.
    //   2. A start outside its window is moved to its edge.
    //   3. Widths that a line type has not are fixed at 0, whatever the problem says of them.
    static result<parameter_map> make(const std::vector<entry> &entries);

    // Frequencies stay within a spectral width of the spectrum, or of where they start outside of
    // it. A line that lost its area has no place that the data could tell, and a step might take
    // it to 1e54 Hz without a change of the sum of squares.
    void keep_frequencies_near(int points);

    int columns() const { return static_cast<int>(columns_.size()); }
    int entries() const { return static_cast<int>(of_.size()); }
    const column &at(int c) const { return columns_[static_cast<std::size_t>(c)]; }
    const affine &of(int entry, quantity q) const {
        return of_[static_cast<std::size_t>(entry)][static_cast<std::size_t>(q)];
    }

    // Value of a parameter for the columns x.
    double value(int entry, quantity q, std::span<const double> x) const;
    std::array<double, quantities> values(int entry, std::span<const double> x) const;
    // dy/dx of a column: 1, or that of the root.
    double slope(int c, std::span<const double> x) const;
    // Columns from parameters: those of the free ones, moved into their windows.
    std::vector<double> columns_of(std::span<const std::array<double, quantities>> values) const;
    std::vector<double> starts() const;
    // The starts as they are in the problem, outside of their windows, too.
    std::vector<double> given() const;
    // The columns' x moved into its window.
    double inside(int c, double x) const;

  private:
    // Each returns what is wrong with the problem.
    std::optional<failure> add_columns(const std::vector<entry> &entries); // of free parameters
    std::optional<failure> resolve(const std::vector<entry> &entries, int k, quantity q);
    std::optional<failure> place_starts(); // into the windows, widths squared

    std::vector<column> columns_;
    std::vector<std::array<affine, quantities>> of_;
};

// Whether the curve of a line type depends on the parameter.
bool is_used(quantity q, line_type type);
// "area", "Gaussian width" ...: as messages have it.
const char *name_of(quantity q);

} // namespace engine
