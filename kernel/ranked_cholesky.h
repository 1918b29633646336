// SPDX-License-Identifier: BSD-3-Clause
// ranked_cholesky.h -- solution, inverse and rank of a symmetric matrix
#pragma once

#include <span>
#include <vector>

namespace kernel {

// Cholesky decomposition of a symmetric matrix that was scaled to a diagonal of 1, largest
// remaining pivot first. The remaining diagonal of a column is the part of it that the columns
// before it cannot make up: 1 - R^2, the inverse of its variance inflation.
//
// Source: N. J. Higham, Accuracy and Stability of Numerical Algorithms, SIAM 2002, section 10.3.
class ranked_cholesky {
  public:
    // Below this a column cannot be told from the others: the bound of its parameter would be 1e5
    // times as large as without them, and rounding of the sums has a say.
    static constexpr double lost = 1e-10;

    // matrix  double[stride^2] row-major, symmetric; only `chosen` rows and columns are used
    void factor(std::span<const double> matrix, int stride, std::span<const int> chosen);

    int size() const { return static_cast<int>(order_.size()); }
    int rank() const { return rank_; }
    // Solves matrix x = b for the columns within the rank; x of the others is 0. Both in the order
    // of `chosen`.
    void solve(std::span<const double> b, std::span<double> x);
    // Inverse of the part within the rank, row-major size x size; 0 outside.
    void invert(std::span<double> inverse);
    // Positions in `chosen` of columns that take part in a combination which changes nothing, in
    // order. A column of zeros does alone.
    std::vector<int> dependent() const;

  private:
    std::size_t place(int i, int j) const {
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(stride_) +
               static_cast<std::size_t>(j);
    }
    double &at(int i, int j) { return l_[place(i, j)]; }
    double at(int i, int j) const { return l_[place(i, j)]; }

    int stride_ = 0, rank_ = 0;
    std::vector<double> l_, scale_, work_;
    std::vector<int> order_; // row of l_ -> position in chosen
};

} // namespace kernel
