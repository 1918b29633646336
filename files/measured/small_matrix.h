// SPDX-License-Identifier: BSD-3-Clause
// small_matrix.h -- linear algebra of complex matrices of a few dozen rows
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

namespace tools {

// n x n, row by row.
class small_matrix {
  public:
    explicit small_matrix(std::size_t n) : n_(n), values_(n * n) {}
    std::complex<double> &operator()(std::size_t i, std::size_t j) { return values_[i * n_ + j]; }
    const std::complex<double> &operator()(std::size_t i, std::size_t j) const {
        return values_[i * n_ + j];
    }
    std::size_t size() const { return n_; }

  private:
    std::size_t n_;
    std::vector<std::complex<double>> values_;
};

// Eigenvectors of a Hermitian matrix as columns, largest eigenvalue first, by Jacobi rotations.
// Source: G. H. Golub, C. F. Van Loan, Matrix Computations, 4th edition, 8.5.
small_matrix hermitian_vectors(small_matrix matrix);

// Eigenvalues of any matrix, in no order: Hessenberg form by elimination, then steps of QR with
// shifts. Fewer than its size where a step does not end (never seen).
// Source: J. H. Wilkinson, The Algebraic Eigenvalue Problem, Oxford 1965, chapters 6 and 8.
std::vector<std::complex<double>> eigenvalues(small_matrix matrix);

// x of matrix x = right, by elimination with the largest pivot; 0 for what a lost pivot leaves
// open.
std::vector<std::complex<double>> solve(small_matrix matrix,
                                        std::vector<std::complex<double>> right);

} // namespace tools
