// SPDX-License-Identifier: BSD-3-Clause
// starts.h -- other places to begin a fit from
#pragma once

#include "engine/search.h"

#include <utility>
#include <vector>

namespace engine {

// How far all frequencies have to move together so that the model lies on the data: the lag of the
// largest cross-correlation of their spectra at the fitted points, within a sixteenth of the band
// to either side. It does not depend on areas as a whole nor on a phase that all lines share.
// [points]
double common_shift(const model &of, model_workspace &ws, std::span<const double> x);

// x with all free frequencies moved.
std::vector<double> shifted(const model &of, std::span<const double> x, double shift);

// The end of searches on data and model that are broadened by several linewidths, then by one, from
// x: a line finds its signal from as far away as it is broad. Leaves the workspace unbroadened.
std::vector<double> through_broad_lines(const model &of, model_workspace &ws, searcher &search,
                                        std::vector<double> x, int &linearizations,
                                        int &evaluations);

// A line somewhere else.
struct relocation {
    int column;  // its frequency
    double to;   // [points]
    double gain; // expected change of the sum of squares by the move, the other lines as they are;
                 // negative: it would grow [noise_sd^2]
};

// Where else the signal of a line may be: the other lines kept, the gain of a line with its width
// is the square of the matched filter's output there, against that where it is now. Places within
// four linewidths of the start and more than one linewidth from where the line is, whose gain is
// above `least`; the best first. After linearize at x.
// Source: matched filter: D. O. North, Proc. IEEE 51 (1963) 1016-1027.
std::vector<relocation> relocations(const model &of, model_workspace &ws, std::span<const double> x,
                                    std::span<const double> start, double least);

// Lines that the model cannot tell apart but by their numbers: of one type, without followers, each
// of their columns their own or shared by both.
std::vector<std::pair<int, int>> interchangeable(const model &of);

// Exchanges such lines where they came out in the other order than that in which they were given,
// and where their windows allow it: the model stays what it is.
void restore_order(const model &of, std::span<const std::pair<int, int>> pairs,
                   std::span<const double> given, minimum &found);

// Lines whose area came out with the other sign than it was given, each beside the line nearest to
// it: one broad line less another in place of two narrow ones. Both get half of their joint area, a
// quarter of a width to either side of its centre in the order in which they were given, and half
// the width. Empty when there are none.
std::vector<double> split(const model &of, std::span<const double> x,
                          std::span<const double> given);

// x with random changes: areas and widths by factors around 2, frequencies by about a linewidth,
// phases by about 30 degrees. The same number gives the same changes everywhere.
std::vector<double> perturbed(const model &of, std::span<const double> x, unsigned number);

} // namespace engine
