// SPDX-License-Identifier: BSD-3-Clause
// ranked_cholesky.cpp -- solution, inverse and rank of a symmetric matrix
#include "kernel/ranked_cholesky.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace kernel {

void ranked_cholesky::factor(std::span<const double> matrix, int stride,
                             std::span<const int> chosen) {
    const int n = static_cast<int>(chosen.size());
    stride_ = n;
    l_.resize(static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
    scale_.resize(static_cast<std::size_t>(n));
    work_.resize(static_cast<std::size_t>(n));
    order_.resize(static_cast<std::size_t>(n));
    std::iota(order_.begin(), order_.end(), 0);
    const auto element = [&](int i, int j) {
        return matrix[static_cast<std::size_t>(chosen[static_cast<std::size_t>(i)]) *
                          static_cast<std::size_t>(stride) +
                      static_cast<std::size_t>(chosen[static_cast<std::size_t>(j)])];
    };
    for (int i = 0; i < n; ++i) {
        const double d = element(i, i);
        scale_[static_cast<std::size_t>(i)] =
            d > 0.0 && std::isfinite(d) ? 1.0 / std::sqrt(d) : 0.0;
    }
    const auto nothing = [&](int i) { return scale_[static_cast<std::size_t>(i)] == 0.0; };
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j)
            at(i, j) = nothing(i) || nothing(j)
                           ? 0.0 // also where the element is infinite
                           : element(i, j) * scale_[static_cast<std::size_t>(i)] *
                                 scale_[static_cast<std::size_t>(j)];
    // row by row; work_ holds what remains of the diagonal
    for (int i = 0; i < n; ++i) work_[static_cast<std::size_t>(i)] = at(i, i);
    rank_ = n;
    for (int k = 0; k < n; ++k) {
        const auto largest = std::max_element(work_.begin() + k, work_.end());
        const int p = static_cast<int>(largest - work_.begin());
        if (!(*largest > lost)) {
            rank_ = k;
            break;
        }
        if (p != k) {
            std::swap(work_[static_cast<std::size_t>(k)], work_[static_cast<std::size_t>(p)]);
            std::swap(order_[static_cast<std::size_t>(k)], order_[static_cast<std::size_t>(p)]);
            for (int j = 0; j < k; ++j) std::swap(at(k, j), at(p, j));
            std::swap(at(k, k), at(p, p));
            for (int j = k + 1; j < p; ++j) std::swap(at(j, k), at(p, j));
            for (int j = p + 1; j < n; ++j) std::swap(at(j, k), at(j, p));
        }
        const double pivot = std::sqrt(work_[static_cast<std::size_t>(k)]);
        at(k, k) = pivot;
        for (int i = k + 1; i < n; ++i) {
            double sum = at(i, k);
            for (int j = 0; j < k; ++j) sum -= at(i, j) * at(k, j);
            const double value = sum / pivot;
            at(i, k) = value;
            work_[static_cast<std::size_t>(i)] -= value * value;
        }
    }
}

void ranked_cholesky::solve(std::span<const double> b, std::span<double> x) {
    const auto chosen = [&](int i) {
        return static_cast<std::size_t>(order_[static_cast<std::size_t>(i)]);
    };
    for (int i = 0; i < rank_; ++i) {
        double sum = b[chosen(i)] * scale_[chosen(i)];
        for (int j = 0; j < i; ++j) sum -= at(i, j) * work_[static_cast<std::size_t>(j)];
        work_[static_cast<std::size_t>(i)] = sum / at(i, i);
    }
    for (int i = rank_ - 1; i >= 0; --i) {
        double sum = work_[static_cast<std::size_t>(i)];
        for (int j = i + 1; j < rank_; ++j) sum -= at(j, i) * work_[static_cast<std::size_t>(j)];
        work_[static_cast<std::size_t>(i)] = sum / at(i, i);
    }
    std::fill(x.begin(), x.end(), 0.0);
    for (int i = 0; i < rank_; ++i)
        x[chosen(i)] = work_[static_cast<std::size_t>(i)] * scale_[chosen(i)];
}

void ranked_cholesky::invert(std::span<double> inverse) {
    const std::size_t n = order_.size();
    std::vector<double> unit(n, 0.0), column(n);
    std::fill(inverse.begin(), inverse.end(), 0.0);
    for (int k = 0; k < rank_; ++k) {
        const std::size_t c = static_cast<std::size_t>(order_[static_cast<std::size_t>(k)]);
        unit[c] = 1.0;
        solve(unit, column);
        unit[c] = 0.0;
        for (std::size_t i = 0; i < n; ++i) inverse[i * n + c] = column[i];
    }
    for (std::size_t i = 0; i < n; ++i) // equal to the bit on both sides of the diagonal
        for (std::size_t j = 0; j < i; ++j)
            inverse[i * n + j] = inverse[j * n + i] =
                0.5 * (inverse[i * n + j] + inverse[j * n + i]);
}

std::vector<int> ranked_cholesky::dependent() const {
    // A column behind the rank is L21 L11^-1 times those within it, in scaled columns; what is
    // below a tenth of the largest is rounding or a bystander.
    static constexpr double bystander = 0.1;
    std::vector<int> out;
    std::vector<double> weight(static_cast<std::size_t>(rank_));
    for (int k = rank_; k < size(); ++k) {
        const int own = order_[static_cast<std::size_t>(k)];
        out.push_back(own);
        if (scale_[static_cast<std::size_t>(own)] == 0.0) continue;
        double largest = 0.0;
        for (int i = rank_ - 1; i >= 0; --i) {
            double sum = at(k, i);
            for (int j = i + 1; j < rank_; ++j)
                sum -= at(j, i) * weight[static_cast<std::size_t>(j)];
            weight[static_cast<std::size_t>(i)] = sum / at(i, i);
            largest = std::max(largest, std::fabs(weight[static_cast<std::size_t>(i)]));
        }
        for (int i = 0; i < rank_; ++i)
            if (std::fabs(weight[static_cast<std::size_t>(i)]) > bystander * std::max(largest, 1.0))
                out.push_back(order_[static_cast<std::size_t>(i)]);
    }
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

} // namespace kernel
