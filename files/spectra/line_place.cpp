// SPDX-License-Identifier: BSD-3-Clause
// line_place.cpp -- where a weak line stands
#include "files/spectra/line_place.h"

#include <algorithm>
#include <cmath>

namespace tools {

namespace {

class line_on_background {
  public:
    // full_width: of its magnitude at half height [points]
    line_on_background(const std::vector<complex_signal> &spectra, double near, double full_width)
        : spectra_(spectra), near_(near), h_(std::max(0.5, 0.5 * full_width / std::sqrt(3.0))) {
        const double reach = std::clamp(std::ceil(6.0 * h_) + 3.0, 3.0, 64.0);
        const auto last = static_cast<double>(spectra.front().size() - 1);
        first_ = static_cast<std::size_t>(std::clamp(near - reach, 0.0, last));
        last_ = static_cast<std::size_t>(std::clamp(near + reach, 0.0, last));
    }

    double place() const {
        double best = 0.0, at = near_, half_width = h_;
        const double reach = std::max(1.5, 1.5 * h_);
        for (const double factor : {0.5, 0.7, 1.0, 1.4, 2.0, 2.8, 4.0}) {
            const double h = factor * h_;
            const double step = std::min(0.25 * h, 0.25 * reach);
            for (double x = near_ - reach; x <= near_ + reach; x += step)
                if (const double own = explained(x, h); own > best) {
                    best = own;
                    at = x;
                    half_width = h;
                }
        }
        for (double step = 0.25 * half_width; step > 0.01; step *= 0.3) { // vertex of a parabola
            const double below = explained(at - step, half_width),
                         above = explained(at + step, half_width);
            const double here = explained(at, half_width), bend = below - 2.0 * here + above;
            if (bend < 0.0) at += step * std::clamp(0.5 * (below - above) / bend, -1.0, 1.0);
        }
        return at;
    }

  private:
    // Power of the spectra that a line of half width h at x explains beyond the background.
    double explained(double x, double h) const {
        const std::size_t n = last_ - first_ + 1;
        const double middle = 0.5 * static_cast<double>(n - 1);
        std::vector<std::complex<double>> line(n);
        std::complex<double> mean = 0.0, slope = 0.0;
        double squares = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            const double off = (static_cast<double>(first_ + j) - x) / h;
            line[j] = std::complex<double>(1.0, -off) / (1.0 + off * off);
            const double from_middle = static_cast<double>(j) - middle;
            mean += line[j] / static_cast<double>(n);
            slope += from_middle * line[j];
            squares += from_middle * from_middle;
        }
        double power = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            line[j] -= mean + (static_cast<double>(j) - middle) * slope / squares;
            power += std::norm(line[j]);
        }
        if (!(power > 0.0)) return 0.0;
        double sum = 0.0;
        for (const complex_signal &own : spectra_) {
            std::complex<double> along = 0.0;
            for (std::size_t j = 0; j < n; ++j) along += std::conj(line[j]) * own[first_ + j];
            sum += std::norm(along) / power;
        }
        return sum;
    }

    const std::vector<complex_signal> &spectra_;
    double near_, h_;
    std::size_t first_ = 0, last_ = 0;
};

} // namespace

double line_place(const std::vector<complex_signal> &spectra, double near, double width) {
    return line_on_background(spectra, near, width).place();
}

} // namespace tools
