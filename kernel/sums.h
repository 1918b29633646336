// SPDX-License-Identifier: BSD-3-Clause
// sums.h -- sums of products that come out the same, to the bit, on every machine
//
// Each sum has eight partial sums, term i in number i mod 8, added up at the end in one order.
#pragma once

namespace kernel {

// sum of a[i] b[i], 0 <= i < n; 0 for n < 1
double dot(int n, const double *a, const double *b);

// What rows of values are padded to with zeros for add_products.
inline constexpr int rows_multiple = 4;
inline constexpr int values_multiple = 8;

// Rows including the padding.
constexpr int padded_rows(int rows) {
    return (rows + rows_multiple - 1) / rows_multiple * rows_multiple;
}
// Values of a row including the padding.
constexpr long long padded_values(long long values) {
    return (values + values_multiple - 1) / values_multiple * values_multiple;
}

// Adds the products of all pairs of rows to a symmetric matrix: the normal matrix of a fit, when
// row i holds the derivatives of the model by parameter i.
//
// Given:
//   rows        R
//   row_length  length of a row in memory, a multiple of 8
//   values      double[padded_rows(R)][row_length]; behind the values in use and in the rows from R
//               on stand zeros
// Returned:
//   products    double[R][R]: values of row i times row j are added to products[R i + j]. Only
//               i <= j is read; the other half is written over with its mirror image.
// Notes:
//   The values are taken 512 at a time, so that those in use stay in the first cache.
void add_products(int rows, long long row_length, const double *values, double *products);

} // namespace kernel
