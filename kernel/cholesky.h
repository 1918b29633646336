// SPDX-License-Identifier: BSD-3-Clause
// cholesky.h -- factors, solution and inverse of a symmetric positive definite matrix, scaled
//
// D A D = L L^T, D = diag(1/sqrt(A_ii)): with the diagonal scaled to 1, units of the parameters do
// not matter, and pivot k says by itself what is left of column k once the columns before it are
// taken out: 1 - R^2, R its multiple correlation with them.
//
// Method: G. H. Golub, C. F. Van Loan, Matrix Computations, 4th ed. 2013, sections 4.2 and 3.5
// (scaling).
#pragma once

namespace kernel {

// A pivot at or below n times this is lost. The rounding of a pivot is about n 2^-53 of the
// diagonal 1 that it is what is left of; below four times that it says nothing.
inline constexpr double lost_pivot_per_row = 0x1p-51;

// Factors a matrix in place.
//
// Given:
//   n      rows, 1 or more
//   a      double[n][n], symmetric; only j >= i (row i, column j) is read
// Returned:
//   a      L below and on the diagonal, its transpose above
//   scale  double[n]: D_ii = 1/sqrt(A_ii)
//   value  -1, or the index (0-based) of the first lost pivot: the column depends on those before
//          it within rounding, or its diagonal is not a number above 0 and below infinity. a and
//          scale then mean nothing.
int cholesky(int n, double *a, double *scale);

// x = A^-1 x with the factors of cholesky(); x double[n], overwritten.
void cholesky_solve(int n, const double *a, const double *scale, double *x);

// inverse = A^-1 with the factors of cholesky(); double[n][n], symmetric to the bit. Must not
// overlap a.
void cholesky_inverse(int n, const double *a, const double *scale, double *inverse);

} // namespace kernel
