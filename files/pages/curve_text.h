// SPDX-License-Identifier: BSD-3-Clause
// curve_text.h -- curves as text inside a page
#pragma once

#include "files/base/ordered_json.h"
#include "files/pictures/draw_spectra.h"

#include <string>
#include <utility>
#include <vector>

namespace tools {

// A quarter of a turn more brings the imaginary part where the real one was: i x -> Re(-i (i x)).
inline constexpr double quarter_turn = 90.0; // [degrees]

// Values as little-endian float32 in base64.
std::string float_text(const std::vector<double> &values);

// Points first to last of a curve in 16 bits each: {"unit": u, "values": base64 of v/u}, little
// endian. The highest of these points is 32767 u, so a step is 1/100 of a pixel where the curve
// fills a panel of 300, and still below a pixel at a hundredfold of that. What is no finite number
// becomes 0.
ordered_json short_curve(const std::vector<double> &curve, long long first, long long last);

// The points that pages of many spectra show: from the first to the last of the intervals, and a
// tenth of their number to both sides.
std::pair<long long, long long>
points_with_margin(const std::vector<std::pair<long long, long long>> &intervals, long long points);

// What a readout puts behind a value of a horizontal axis with this label.
const char *unit_of_axis(const std::string &label);

// The axis as charts.js takes it, of curves that begin with point first.
ordered_json axis_item(const plot_axis &axis, long long first);

} // namespace tools
