// SPDX-License-Identifier: BSD-3-Clause
// curvature.cpp -- second derivatives of the model, times the residual
//
// Of one curve they are the curve times powers of the time up to 4, too: with the residual as a
// decay, five sums over the time serve all pairs of parameters of a group.
#include "engine/model.h"

#include "engine/time_factor.h"
#include "engine/vectors.h"

#include <algorithm>
#include <numbers>

namespace engine {

using std::numbers::pi;

// Values at the fitted points as a decay: its real product with a curve's decay is that of the
// values with the curve's spectrum.
void model_workspace::take_back(const model &of, std::span<const double> rows) {
    const int n = of.points();
    clear(n, copy_.re, copy_.im);
    const double *re = rows.data();
    const double *im = of.part_ == channel::both ? re + fitted_points_ : re;
    for (const interval &run : of.runs_) {
        for (int i = run.first; i <= run.last; ++i, ++re, ++im) {
            const int to = (i + n / 2) % n;
            if (of.part_ != channel::dispersion) copy_.re[to] = *re;
            if (of.part_ != channel::absorption) copy_.im[to] = -*im;
        }
    }
    const kernel::split_vector decay =
        of.plan_->transform(copy_.re, copy_.im, work_.re, work_.im, 1.0 / n, false);
    for (int i = 0; i < n; ++i) {
        backward_.re[i] = decay.re[i];
        backward_.im[i] = -decay.im[i];
    }
}

void model_workspace::take_moments(std::size_t group) {
    double *const moments = moments_[group].data();
    moments_[group].fill(0.0);
    kernel::add_moments(static_cast<int>(stride_), kernel::most_moments, times_.data(),
                        backward_.re, backward_.im, curve(group).re, curve(group).im, moments,
                        moments + kernel::most_moments);
}

void model_workspace::add_curvature(const model &of) {
    const std::size_t n = static_cast<std::size_t>(of.columns());
    std::fill(curvature_.begin(), curvature_.end(), 0.0);
    for (std::size_t i = 0; i < of.groups_.size(); ++i) {
        const int k = of.groups_[i].entries.front();
        const values_of_entry &p = values_[static_cast<std::size_t>(k)];
        const auto product = [&](std::complex<double> factor, int power) {
            const std::complex<double> moment = {
                moments_[i][static_cast<std::size_t>(power)],
                moments_[i][static_cast<std::size_t>(kernel::most_moments + power)]};
            return (factor * moment).real() / of.noise_sd_;
        };
        for (int a = 0; a < quantities; ++a) {
            const affine &by_a = of.map_.of(k, static_cast<quantity>(a));
            if (by_a.column < 0) continue;
            const bool squared = of.map_.at(by_a.column).squared;
            const time_factor first =
                time_factor_of(static_cast<quantity>(a), by_a, squared, p[gauss_width]);
            for (int b = 0; b <= a; ++b) {
                const affine &by_b = of.map_.of(k, static_cast<quantity>(b));
                if (by_b.column < 0 || (a == area && b == area)) continue;
                const time_factor second =
                    time_factor_of(static_cast<quantity>(b), by_b, of.map_.at(by_b.column).squared,
                                   p[gauss_width]);
                const double scale = b == area ? 1.0 : p[area];
                double value =
                    product(scale * first.factor * second.factor, first.power + second.power);
                if (a == gauss_width && b == gauss_width && !squared)
                    value += product(-2.0 * pi * pi * p[area] * by_a.factor * by_a.factor, 2);
                const std::size_t at_a = static_cast<std::size_t>(by_a.column);
                const std::size_t at_b = static_cast<std::size_t>(by_b.column);
                curvature_[at_a * n + at_b] += value;
                if (at_a != at_b) curvature_[at_b * n + at_a] += value;
            }
        }
    }
}

} // namespace engine
