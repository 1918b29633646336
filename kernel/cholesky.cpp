// SPDX-License-Identifier: BSD-3-Clause
// cholesky.cpp -- factors, solution and inverse of a symmetric positive definite matrix, scaled
//
// The factor is kept in both triangles, so that every inner loop runs along a row: multiples of a
// row are taken off other rows, element by element, the same on every machine.
#include "kernel/cholesky.h"

#include "kernel/lanes.h"

#include <algorithm>
#include <cmath>

namespace kernel {

// target -= factor source, n values
MULTIVERSION static void take_off(int n, double factor, const double *__restrict source,
                                  double *__restrict target) {
    for (int l = 0; l < n; ++l) target[l] -= factor * source[l];
}

int cholesky(int n, double *a, double *scale) {
    const long long N = n;
    for (int i = 0; i < n; ++i) {
        const double diagonal = a[i * N + i];
        if (!(diagonal > 0.0) || !std::isfinite(diagonal)) return i;
        scale[i] = 1.0 / std::sqrt(diagonal);
    }
    for (int i = 0; i < n; ++i)
        for (int j = i; j < n; ++j)
            a[i * N + j] = i == j ? 1.0 : a[i * N + j] * scale[i] * scale[j];
    for (int k = 0; k < n; ++k) {
        double *const row = a + k * N;
        if (!(row[k] > lost_pivot_per_row * n)) return k;
        row[k] = std::sqrt(row[k]);
        for (int j = k + 1; j < n; ++j) row[j] /= row[k];
        for (int i = k + 1; i < n; ++i) take_off(n - i, row[i], row + i, a + i * N + i);
    }
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < i; ++j) a[i * N + j] = a[j * N + i];
    return -1;
}

void cholesky_solve(int n, const double *a, const double *scale, double *x) {
    const long long N = n;
    for (int i = 0; i < n; ++i) x[i] *= scale[i];
    for (int i = 0; i < n; ++i) { // L y = x
        x[i] /= a[i * N + i];
        take_off(n - i - 1, x[i], a + i * N + i + 1, x + i + 1);
    }
    for (int i = n - 1; i >= 0; --i) { // L^T x = y
        x[i] /= a[i * N + i];
        take_off(i, x[i], a + i * N, x);
    }
    for (int i = 0; i < n; ++i) x[i] *= scale[i];
}

void cholesky_inverse(int n, const double *a, const double *scale, double *inverse) {
    const long long N = n;
    for (int i = 0; i < n; ++i) {
        double *const row = inverse + i * N;
        std::fill(row, row + n, 0.0);
        row[i] = 1.0;
        cholesky_solve(n, a, scale, row);
    }
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < i; ++j) inverse[i * N + j] = inverse[j * N + i];
}

} // namespace kernel
