// SPDX-License-Identifier: BSD-3-Clause
// draw_spectra.h -- data, fit, components and residual of a run as an SVG picture
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tools {

// What the horizontal axis shows. Point i of the curves has the axis value at_zero + per_point i.
struct plot_axis {
    std::string label;
    double at_zero = 0.0, per_point = 1.0; // per_point may be negative, never 0
    bool falls_to_the_right = false;       // chemical shifts are drawn that way
};

// Where a table of peaks lets a frequency be, in points; active: the fit ended at its edge.
struct plot_window {
    int entry = 0; // from 1
    double low = 0.0, high = 0.0;
    bool active = false;
};

// A peak of a table, above the curve.
struct plot_mark {
    std::string name;
    double point = 0.0;
};

struct spectra_plot {
    std::string title;
    plot_axis axis;
    std::vector<double> data, fit, residual;     // one length, 2 points at least; the last two may
                                                 // be empty together: nothing was fitted
    std::vector<std::vector<double>> components; // each of that length; may be empty
    std::vector<std::pair<long long, long long>> intervals; // shaded, first and last point
    std::optional<std::pair<long long, long long>> noise;   // shaded otherwise, and named
    std::vector<plot_window> windows;
    std::vector<plot_mark> marks;
    long long first = 0, last = 0; // points shown, first < last
};

// The picture: data and fit above, then the components if there are any, then the residual, all
// to one scale, 800 pixels wide. Without a fit it is the data, and the marks of peaks.
//
// Notes:
//   1. The same plot gives the same bytes. Curves are thinned to what 800 pixels can show: lowest
//      and highest point of each half pixel, then no point that lies within a tenth of a pixel of
//      the line through its neighbours.
//   2. Colours are the palette for colour-blind readers of M. Okabe and K. Ito (2008).
std::string draw_spectra(const spectra_plot &plot);

} // namespace tools
