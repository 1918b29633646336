// SPDX-License-Identifier: BSD-3-Clause
// water_signal.cpp -- how much signal water without suppression gives
#include "files/measured/water_signal.h"

#include "files/base/tool_error.h"
#include "files/spectra/complex_polar.h"

#include "kernel/elementary.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace tools {

static constexpr std::size_t fewest = 8, most_odd = 8;

// Points before the first that has fallen below half of the strongest so far. Noise makes single
// points low, so three in a row have to be.
static std::size_t points_above_half(const std::vector<double> &sizes) {
    double most = 0.0;
    std::size_t low = 0;
    for (std::size_t k = 0; k < sizes.size(); ++k) {
        most = std::max(most, sizes[k]);
        low = sizes[k] < 0.5 * most ? low + 1 : 0;
        if (low == 3) return k - 2;
    }
    return sizes.size();
}

// The inverse of a symmetric positive matrix of three rows.
static std::array<std::array<double, 3>, 3>
inverse_of(const std::array<std::array<double, 3>, 3> &m) {
    std::array<std::array<double, 3>, 3> out{};
    const auto minor = [&](std::size_t a, std::size_t b) {
        const std::size_t r = (a + 1) % 3, s = (a + 2) % 3, p = (b + 1) % 3, q = (b + 2) % 3;
        return m[r][p] * m[s][q] - m[r][q] * m[s][p];
    };
    const double determinant =
        m[0][0] * minor(0, 0) + m[0][1] * minor(0, 1) + m[0][2] * minor(0, 2);
    for (std::size_t a = 0; a < 3; ++a)
        for (std::size_t b = 0; b < 3; ++b) out[a][b] = minor(b, a) / determinant;
    return out;
}

namespace {

// ln|s| as a parabola in units of the last time and of a size: the matrix is well conditioned.
struct parabola {
    std::array<double, 3> of{};
    std::array<std::array<double, 3>, 3> inverse{};
    double variance = 0.0; // of a point of weight 1
    double sum = 0.0, weights = 0.0;
};

class envelope {
  public:
    envelope(const std::vector<double> &sizes, std::size_t points, double dwell_time,
             double begin_time)
        : sizes_(sizes), points_(points), dwell_(dwell_time), begin_(begin_time),
          last(begin_time + dwell_time * static_cast<double>(points - 1)),
          scale(*std::max_element(sizes.begin(),
                                  sizes.begin() + static_cast<std::ptrdiff_t>(points))) {}

    // To the points from first on.
    parabola fitted(std::size_t first) const {
        parabola p;
        std::array<std::array<double, 3>, 3> normal{};
        std::array<double, 3> right{};
        for (std::size_t k = first; k < points_; ++k) {
            const std::array<double, 3> row = row_of(k);
            const double weight = weight_of(k);
            for (std::size_t a = 0; a < 3; ++a) {
                right[a] += weight * row[a] * height_of(k);
                for (std::size_t b = 0; b < 3; ++b) normal[a][b] += weight * row[a] * row[b];
            }
        }
        p.inverse = inverse_of(normal);
        for (std::size_t a = 0; a < 3; ++a)
            for (std::size_t b = 0; b < 3; ++b) p.of[a] += p.inverse[a][b] * right[b];
        for (std::size_t k = first; k < points_; ++k) p.sum += weight_of(k) * off(p, k) * off(p, k);
        p.weights = normal[0][0];
        p.variance = p.sum / static_cast<double>(points_ - first - 3);
        return p;
    }

    // Whether a point that is not among the fitted ones goes with them, within five standard
    // deviations of itself and of the parabola there, or within rounding of single precision.
    bool goes_with(const parabola &p, std::size_t k) const {
        const std::array<double, 3> row = row_of(k);
        double spread = 1.0 / weight_of(k);
        for (std::size_t a = 0; a < 3; ++a)
            for (std::size_t b = 0; b < 3; ++b) spread += row[a] * p.inverse[a][b] * row[b];
        return std::fabs(off(p, k)) <= std::max(1e-6, 5.0 * std::sqrt(p.variance * spread));
    }

  private:
    std::array<double, 3> row_of(std::size_t k) const {
        const double t = (begin_ + dwell_ * static_cast<double>(k)) / last;
        return {1.0, t, t * t};
    }
    double weight_of(std::size_t k) const { return sizes_[k] / scale * (sizes_[k] / scale); }
    double height_of(std::size_t k) const { return kernel::log(sizes_[k] / scale); }
    double off(const parabola &p, std::size_t k) const {
        const std::array<double, 3> row = row_of(k);
        return height_of(k) - p.of[0] - p.of[1] * row[1] - p.of[2] * row[2];
    }

    const std::vector<double> &sizes_;
    std::size_t points_;
    double dwell_, begin_;

  public:
    const double last, scale;
};

} // namespace

water_signal water_signal_of(const complex_signal &fid, double dwell_time, double begin_time,
                             const std::string &file) {
    std::vector<double> sizes;
    for (const std::complex<double> &point : fid) sizes.push_back(size_of(point));
    const std::size_t n = points_above_half(sizes);
    bool any_zero = n < fewest;
    for (std::size_t k = 0; k < n; ++k) any_zero = any_zero || !(sizes[k] > 0.0);
    if (any_zero)
        refuse_input(file, "its signal is not there or falls to half within " +
                               std::to_string(fewest) +
                               " points; expected the FID of water without suppression");
    const envelope shape(sizes, n, dwell_time, begin_time);
    // from behind the points that may be odd, back to the first that is
    std::size_t first = std::min(most_odd, n / 4);
    parabola found = shape.fitted(first);
    while (first > 0 && shape.goes_with(found, first - 1)) --first;
    found = shape.fitted(first);
    water_signal water;
    water.area = shape.scale * kernel::exp(found.of[0]);
    water.area_error = water.area * std::sqrt(found.variance * found.inverse[0][0]);
    water.lorentz_hz = -found.of[1] / shape.last / std::numbers::pi;
    water.gauss_squared_hz2 =
        -found.of[2] / (shape.last * shape.last) / (std::numbers::pi * std::numbers::pi);
    water.first = first;
    water.points = n - first;
    water.misfit = std::sqrt(found.sum / found.weights);
    return water;
}

} // namespace tools
