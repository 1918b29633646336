// SPDX-License-Identifier: BSD-3-Clause
// thin_curve.h -- the points of a curve that a picture shows
#pragma once

#include <vector>

namespace tools {

struct pixel {
    double x, y;
};

// A curve that rises or falls in x, without what is not seen: lowest and highest point of each half
// pixel stay, and of these, points within a tenth of a pixel of the line through their neighbours
// go.
std::vector<pixel> thinned(const std::vector<pixel> &curve);

} // namespace tools
