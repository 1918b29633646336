// SPDX-License-Identifier: BSD-3-Clause
// table_strategy.h -- intervals and steps of a table's fit, and its search ranges
#pragma once

#include "files/start/make_start.h"

#include <string>
#include <utility>
#include <vector>

namespace tools {

// First and last point. what names the interval in the message. Errors: bad_input for one that is
// not within the spectrum.
std::pair<int, int> interval_points(const peak_table &table, const table_axis &axis,
                                    const table_interval &interval, const spectrum_facts &facts,
                                    const char *what);

// Those of the table; else the one beside the spectrum; else all entries with a margin. The latter
// two are guesses. Empty where every step of the table has its own.
std::vector<std::pair<int, int>> intervals_of(const peak_table &table, const table_axis &axis,
                                              const spectrum_facts &facts, start_result &result);

// That of the table, else the one of its strategy.
double tolerance_of(const peak_table &table);

// Steps of a preset free only what the model has; those that free nothing are left out. They align
// the entries first, unless one of them has a fixed frequency, which is noted.
std::vector<start_step> steps_of(const peak_table &table, const start_file &start,
                                 const std::vector<std::pair<int, int>> &intervals, int measured,
                                 std::vector<std::string> &notes);

// Lines must lie in the spectrum. Outside of all intervals nothing tells where they are, and the
// fit leaves them there, which is warned of. row_of: of an entry.
void check_places(const peak_table &table, const table_axis &axis,
                  const std::vector<std::size_t> &row_of, start_result &result);

// The table with free Gaussian widths of 0 replaced by a point's width, or half the Lorentzian one;
// warns of it.
peak_table with_gauss_widths(peak_table table, const table_axis &axis, double hz_per_point,
                             std::vector<std::string> &warnings);

// Search ranges of free parameters without their own: wide enough for a start value that was read
// off a picture.
void add_default_ranges(start_file &start);

} // namespace tools
