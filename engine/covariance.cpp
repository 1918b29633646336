// SPDX-License-Identifier: BSD-3-Clause
// covariance.cpp -- how the errors of a fit's parameters hang together
#include "engine/covariance.h"

#include "kernel/ranked_cholesky.h"

#include <cmath>
#include <limits>

namespace engine {

entry_covariance::entry_covariance(const model &of, std::span<const double> x,
                                   std::span<const double> products,
                                   std::span<const signed char> held)
    : n_(of.columns()) {
    const std::size_t n = static_cast<std::size_t>(n_);
    columns_.assign(n * n, 0.0);
    std::vector<int> chosen;
    for (int c = 0; c < n_; ++c)
        if (held[static_cast<std::size_t>(c)] == 0) chosen.push_back(c);
    kernel::ranked_cholesky cholesky;
    cholesky.factor(products, n_ + 1, chosen);
    std::vector<double> inverse(chosen.size() * chosen.size());
    cholesky.invert(inverse);
    // a column that holds a square: its root moves by the root's slope
    std::vector<double> slope(n, 1.0);
    for (int c = 0; c < of.map().columns(); ++c)
        slope[static_cast<std::size_t>(c)] = of.map().slope(c, x);
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        const std::size_t a = static_cast<std::size_t>(chosen[i]);
        for (std::size_t j = 0; j < chosen.size(); ++j) {
            const std::size_t b = static_cast<std::size_t>(chosen[j]);
            columns_[a * n + b] = inverse[i * chosen.size() + j] * slope[a] * slope[b];
        }
    }
    for (const int i : cholesky.dependent()) {
        const int c = chosen[static_cast<std::size_t>(i)];
        dependent_.push_back(c);
        const std::size_t at = static_cast<std::size_t>(c);
        for (std::size_t b = 0; b < n; ++b) columns_[at * n + b] = columns_[b * n + at] = 0.0;
    }
    for (const int c : dependent_)
        columns_[static_cast<std::size_t>(c) * (n + 1)] = std::numeric_limits<double>::infinity();
    for (int k = 0; k < of.map().entries(); ++k) {
        std::array<affine, quantities> &own = by_.emplace_back();
        for (const quantity q : every_quantity) own[q] = of.map().of(k, q);
    }
}

double entry_covariance::of(int k, quantity q, int l, quantity r) const {
    const affine &a = by_[static_cast<std::size_t>(k)][q];
    const affine &b = by_[static_cast<std::size_t>(l)][r];
    if (a.column < 0 || b.column < 0 || a.factor == 0.0 || b.factor == 0.0) return 0.0;
    return a.factor * b.factor * of_columns(a.column, b.column);
}

double entry_covariance::error(int k, quantity q) const {
    return std::sqrt(variance(k, q));
}

} // namespace engine
