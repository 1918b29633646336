// SPDX-License-Identifier: BSD-3-Clause
// covariance.h -- how the errors of a fit's parameters hang together
//
//   Cov = (J^T J)^-1, J in units of the noise standard deviation, at the optimum
//
// the inverse of the Fisher matrix: the bound for any unbiased estimate from data with white
// Gaussian noise (S. M. Kay, Fundamentals of Statistical Signal Processing: Estimation Theory,
// Prentice Hall 1993, chapter 3). Columns that stand at the edge of their window count as known.
#pragma once

#include "engine/model.h"

#include <span>
#include <vector>

namespace engine {

class entry_covariance {
  public:
    entry_covariance() = default;
    // products: of the last linearize at x. held: columns that count as known.
    entry_covariance(const model &of, std::span<const double> x, std::span<const double> products,
                     std::span<const signed char> held);

    // Covariance of two parameters, in the units of the problem; infinite for the variance of one
    // that cannot be told from others, 0 for what does not move.
    double of(int k, quantity q, int l, quantity r) const;
    double variance(int k, quantity q) const { return of(k, q, k, q); }
    // One standard deviation.
    double error(int k, quantity q) const;

    // Columns that cannot be told apart, or on which nothing depends.
    const std::vector<int> &dependent() const { return dependent_; }
    int columns() const { return n_; }
    // Of the columns themselves, row-major; infinite on the diagonal of dependent ones.
    double of_columns(int a, int b) const {
        return columns_[static_cast<std::size_t>(a) * static_cast<std::size_t>(n_) +
                        static_cast<std::size_t>(b)];
    }

  private:
    int n_ = 0;
    std::vector<double> columns_;
    std::vector<std::array<affine, quantities>> by_; // parameter = factor x column
    std::vector<int> dependent_;
};

} // namespace engine
