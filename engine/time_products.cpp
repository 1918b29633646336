// SPDX-License-Identifier: BSD-3-Clause
// time_products.cpp -- the normal matrix of a fit of all points in both channels, over the time
//
// With S = FT(s) / N, sum_j conj(A_j) B_j over the spectrum is sum_n conj(a_n) b_n / N over the
// time (Parseval). A column of the Jacobian is a sum of f t^p e, e the curve of a group; so the
// product of two columns is made from the moments sum_n t^m conj(e_n) e'_n, m = 0 to 2 for
// Lorentzians, to 4 where Gaussian widths are free. No curve is transformed, and the products of
// two curves are formed once for all pairs of their parameters.
#include "engine/model.h"

#include "engine/vectors.h"
#include "kernel/sums.h"

#include <algorithm>

namespace engine {

using kernel::most_moments;

// Two signals of this length and the times stay in the first cache.
static constexpr int block = 512;

void model_workspace::prepare_time(const model &of) {
    data_decay_.assign(2 * stride_, 0.0);
    residual_decay_.assign(2 * stride_, 0.0);
    const std::size_t groups = of.groups_.size();
    pairs_.assign(groups * (groups + 1) / 2, {});
    power_.clear();
    for (const model::group &g : of.groups_)
        power_.push_back(g.moves[2] ? 2 : g.moves[1] ? 1 : g.moves[0] ? 0 : -1);
}

// Data less model; returned: the sum of squares.
double model_workspace::residual_over_time(const model &of) {
    residual_decay_ = data_decay_;
    double *const re = residual_decay_.data(), *const im = re + stride_;
    for (std::size_t g = 0; g < of.groups_.size(); ++g)
        add_times(of.points(), curve(g).re, curve(g).im, -area_of(of, g) / of.noise_sd_, re, im);
    return kernel::dot(static_cast<int>(2 * stride_), re, re) / of.points();
}

void model_workspace::moments_of_residual(const model &of, bool curvature) {
    const double *const re = residual_decay_.data(), *const im = re + stride_;
    for (std::size_t g = 0; g < of.groups_.size(); ++g) {
        if (power_[g] < 0) continue;
        moments_[g].fill(0.0);
        double *const to = moments_[g].data();
        kernel::add_moments(static_cast<int>(stride_), (curvature ? 2 : 1) * power_[g] + 1,
                            times_.data(), re, im, curve(g).re, curve(g).im, to, to + most_moments);
        for (double &moment : moments_[g]) moment /= of.points();
    }
}

void model_workspace::moments_of_pairs(const model &of) {
    for (auto &moments : pairs_) moments.fill(0.0);
    for (std::size_t start = 0; start < stride_; start += block) {
        const int n = static_cast<int>(std::min<std::size_t>(block, stride_ - start));
        auto pair = pairs_.begin();
        for (std::size_t h = 0; h < of.groups_.size(); ++h) {
            const pair_of b = {curve(h).re + start, curve(h).im + start};
            for (std::size_t g = 0; g <= h; ++g, ++pair) {
                if (power_[g] < 0 || power_[h] < 0) continue;
                kernel::add_moments(n, power_[g] + power_[h] + 1, times_.data() + start,
                                    curve(g).re + start, curve(g).im + start, b.re, b.im,
                                    pair->data(), pair->data() + most_moments);
            }
        }
    }
}

void model_workspace::products_over_time(const model &of, bool curvature) {
    const std::size_t stride = static_cast<std::size_t>(of.columns()) + 1;
    std::fill(products_.begin(), products_.end(), 0.0);
    products_.back() = residual_over_time(of);
    moments_of_residual(of, curvature);
    moments_of_pairs(of);
    if (curvature) add_curvature(of);
    const double scale = 1.0 / of.points();
    for (std::size_t i = 0; i < terms_.size(); ++i) { // in the order of their groups
        const term &t = terms_[i];
        const std::size_t c = static_cast<std::size_t>(t.column);
        const std::size_t h = static_cast<std::size_t>(t.group);
        const double *const r = moments_[h].data() + t.power;
        products_[(stride - 1) * stride + c] +=
            t.factor.real() * r[0] - t.factor.imag() * r[most_moments];
        for (std::size_t j = 0; j <= i; ++j) {
            const term &u = terms_[j];
            const std::size_t b = static_cast<std::size_t>(u.column);
            const std::size_t g = static_cast<std::size_t>(u.group);
            const double *const m = pairs_[h * (h + 1) / 2 + g].data() + t.power + u.power;
            const std::complex<double> f = std::conj(u.factor) * t.factor;
            const double value = scale * (f.real() * m[0] - f.imag() * m[most_moments]);
            products_[std::max(b, c) * stride + std::min(b, c)] +=
                b == c && i != j ? 2.0 * value : value;
        }
    }
    for (std::size_t c = 0; c < stride; ++c)
        for (std::size_t b = 0; b < c; ++b) products_[b * stride + c] = products_[c * stride + b];
}

std::span<const double> model_workspace::residual(const model &of) {
    if (!of.is_over_time()) return residual_;
    const std::size_t n = static_cast<std::size_t>(of.points());
    std::copy_n(residual_decay_.data(), n, copy_.re);
    std::copy_n(residual_decay_.data() + stride_, n, copy_.im);
    std::fill(residual_.begin(), residual_.end(), 0.0);
    put_row(of, to_spectrum(of, copy_), 1.0, residual_.data());
    return residual_;
}

} // namespace engine
