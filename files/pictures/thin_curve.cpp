// SPDX-License-Identifier: BSD-3-Clause
// thin_curve.cpp -- the points of a curve that a picture shows
#include "files/pictures/thin_curve.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tools {

// Lowest and highest of the curve in each half pixel, in the order in which they come.
static std::vector<pixel> extremes_per_half_pixel(const std::vector<pixel> &curve) {
    std::vector<pixel> out;
    for (std::size_t i = 0; i < curve.size();) {
        const double column = std::floor(2.0 * curve[i].x);
        std::size_t low = i, high = i, end = i;
        for (; end < curve.size() && std::floor(2.0 * curve[end].x) == column; ++end) {
            if (curve[end].y < curve[low].y) low = end;
            if (curve[end].y > curve[high].y) high = end;
        }
        out.push_back(curve[std::min(low, high)]);
        if (low != high) out.push_back(curve[std::max(low, high)]);
        i = end;
    }
    return out;
}

static double distance_to_line(const pixel &p, const pixel &a, const pixel &b) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double length = std::hypot(dx, dy);
    if (length == 0.0) return std::hypot(p.x - a.x, p.y - a.y);
    return std::fabs(dx * (p.y - a.y) - dy * (p.x - a.x)) / length;
}

// Leaves out what is not seen. Method: D. H. Douglas, T. K. Peucker, Cartographica 10 (1973)
// 112-122, with a stack of stretches that are still to be looked at.
static std::vector<pixel> without_straight_points(const std::vector<pixel> &curve,
                                                  double tolerance) {
    if (curve.size() < 3) return curve;
    std::vector<bool> kept(curve.size(), false);
    kept.front() = kept.back() = true;
    std::vector<std::pair<std::size_t, std::size_t>> stretches = {{0, curve.size() - 1}};
    while (!stretches.empty()) {
        const auto [a, b] = stretches.back();
        stretches.pop_back();
        std::size_t farthest = a;
        double distance = tolerance;
        for (std::size_t i = a + 1; i < b; ++i) {
            const double d = distance_to_line(curve[i], curve[a], curve[b]);
            if (d <= distance) continue;
            distance = d;
            farthest = i;
        }
        if (farthest == a) continue;
        kept[farthest] = true;
        stretches.emplace_back(a, farthest);
        stretches.emplace_back(farthest, b);
    }
    std::vector<pixel> out;
    for (std::size_t i = 0; i < curve.size(); ++i)
        if (kept[i]) out.push_back(curve[i]);
    return out;
}

std::vector<pixel> thinned(const std::vector<pixel> &curve) {
    return without_straight_points(extremes_per_half_pixel(curve), 0.1);
}

} // namespace tools
