// SPDX-License-Identifier: BSD-3-Clause
// sums.cpp -- sums of products that come out the same, to the bit, on every machine
#include "kernel/sums.h"

#include "kernel/lanes.h"

#include <algorithm>

namespace kernel {

static constexpr int tile = rows_multiple; // rows times rows at a time: 16 sums fit the registers
static constexpr int values_at_once =
    512; // values of a row at a time: 8 rows of them fit the first cache

template <class V>
[[gnu::always_inline]] inline void sum_of_products(int n, const double *a, const double *b,
                                                   double &result) {
    double part[partial_sums];
    const int rest = n % partial_sums;
    for (int first = 0; first < partial_sums; first += width_of<V>) {
        V sum = {};
        for (int i = first; i < n - rest; i += partial_sums) {
            V x, y;
            load(x, a + i);
            load(y, b + i);
            sum += x * y;
        }
        store(part + first, sum);
    }
    for (int k = 0; k < rest; ++k) part[k] += a[n - rest + k] * b[n - rest + k];
    result = total(part);
}

MULTIVERSION_WIDTHS(static void dot_of(int n, const double *a, const double *b, double &result),
                    sum_of_products<V>(n, a, b, result))

double dot(int n, const double *a, const double *b) {
    if (n < 1) return 0.0;
    double result = 0.0;
    dot_of(n, a, b, result);
    return result;
}

// out[tile r + c] = sum over n values of row r of a times row c of b, rows `stride` apart. Each
// loaded value is used four times. n is a multiple of 8.
template <class V>
[[gnu::always_inline]] inline void multiply_rows(int n, long long stride, const double *a,
                                                 const double *b, double *out) {
    double part[tile * tile][partial_sums];
    for (int first = 0; first < partial_sums; first += width_of<V>) {
        V sum[tile][tile] = {};
        for (int i = first; i < n; i += partial_sums) {
            V x[tile], y;
            // unrolled, so that the sums stand in registers
#pragma GCC unroll 4
            for (int r = 0; r < tile; ++r) load(x[r], a + r * stride + i);
#pragma GCC unroll 4
            for (int c = 0; c < tile; ++c) {
                load(y, b + c * stride + i);
#pragma GCC unroll 4
                for (int r = 0; r < tile; ++r) sum[r][c] += x[r] * y;
            }
        }
#pragma GCC unroll 4
        for (int r = 0; r < tile; ++r)
#pragma GCC unroll 4
            for (int c = 0; c < tile; ++c) store(part[tile * r + c] + first, sum[r][c]);
    }
    for (int k = 0; k < tile * tile; ++k) out[k] = total(part[k]);
}

MULTIVERSION_WIDTHS(static void products_of_rows(int n, long long stride, const double *a,
                                                 const double *b, double *out),
                    multiply_rows<V>(n, stride, a, b, out))

void add_products(int rows, long long row_length, const double *values, double *products) {
    for (long long start = 0; start < row_length; start += values_at_once) {
        const int n = static_cast<int>(std::min<long long>(values_at_once, row_length - start));
        for (int i = 0; i < rows; i += tile) {
            for (int j = i; j < rows; j += tile) {
                double out[tile * tile];
                products_of_rows(n, row_length, values + i * row_length + start,
                                 values + j * row_length + start, out);
                for (int r = 0; r < tile && i + r < rows; ++r) {
                    double *const sums = products + static_cast<long long>(i + r) * rows;
                    for (int c = 0; c < tile && j + c < rows; ++c) sums[j + c] += out[tile * r + c];
                }
            }
        }
    }
    const long long n = rows;
    for (long long i = 0; i < n; ++i)
        for (long long j = i + 1; j < n; ++j) products[n * j + i] = products[n * i + j];
}

} // namespace kernel
