// SPDX-License-Identifier: BSD-3-Clause
// matrix_lib.cpp -- square matrices of double, stored row by row
#include "errors/matrix_lib.h"

#include "model/lanes.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>
#include <utility>

static bool inside(int n, int row, int col) {
    return row >= 1 && col >= 1 && row <= n && col <= n;
}

static long long position(int n, int row, int col) {
    return static_cast<long long>(n) * (row - 1) + col - 1;
}

void push_2d_matrix_element(double *a, const int &n, const int &row, const int &col,
                            const double &value) {
    if (!inside(n, row, col)) {
        std::printf("fatal memory implementation error : \n");
        std::printf("trying to push 2d matrix matrix_element outside allocated memory area \n");
        return;
    }
    a[position(n, row, col)] = value;
}

double pop_2d_matrix_element(const double *a, const int &n, const int &row, const int &col) {
    if (!inside(n, row, col)) {
        std::printf("fatal memory implementation error : \n");
        std::printf("trying to pop 2d matrix matrix_element outside allocated memory area \n");
        return 0.0;
    }
    return a[position(n, row, col)];
}

// target -= factor source, n values
MULTIVERSION static void subtract_row(int n, double factor, const double *__restrict source,
                                      double *__restrict target) {
    for (int l = 0; l < n; ++l) target[l] -= source[l] * factor;
}

void gaussj(double *a, const int &n) {
    const scratch<int> ipiv(n + 1LL, " Memory requested to store ipiv[] in gaussj not available\n");
    const scratch<int> indxr(n + 1LL,
                             " Memory requested to store indxr[] in gaussj not available\n");
    const scratch<int> indxc(n + 1LL,
                             " Memory requested to store indxc[] in gaussj not available\n");
    const scratch<int> open(n, " Memory requested to store indxc[] in gaussj not available\n");
    if (ipiv == nullptr || indxr == nullptr || indxc == nullptr || open == nullptr) return;
    const auto at = [a, n](int row, int col) -> double & { return a[position(n, row, col)]; };

    for (int pass = 1; pass <= n; ++pass) {
        double largest = 0.0;
        int pivot_row = 0;
        int pivot_col = 0;
        int n_open = 0;
        for (int k = 1; k <= n; ++k) {
            if (ipiv[k] == 0) open[n_open++] = k;
            if (ipiv[k] > 1) std::printf("pause 1 in GAUSSJ - Singular matrix \n");
        }
        for (int j = 1; j <= n; ++j) {
            if (ipiv[j] == 1) continue;
            const double *row = a + position(n, j, 1);
            for (int m = 0; m < n_open; ++m) {
                const double size = std::fabs(row[open[m] - 1]);
                // A matrix of not-a-numbers has no largest element: any open one will do.
                if (size >= largest || pivot_row == 0) {
                    largest = size;
                    pivot_row = j;
                    pivot_col = open[m];
                }
            }
        }
        if (pivot_row == 0) return;
        ++ipiv[pivot_col];
        if (pivot_row != pivot_col)
            for (int l = 1; l <= n; ++l) std::swap(at(pivot_row, l), at(pivot_col, l));
        indxr[pass] = pivot_row;
        indxc[pass] = pivot_col;
        double &pivot = at(pivot_col, pivot_col);
        if (pivot == 0.0) std::printf("pause 2 in GAUSSJ - Singular matrix \n");
        const double reciprocal = 1.0 / pivot;
        pivot = 1.0;
        for (int l = 1; l <= n; ++l) at(pivot_col, l) *= reciprocal;
        for (int row = 1; row <= n; ++row) {
            if (row == pivot_col) continue;
            const double factor = at(row, pivot_col);
            at(row, pivot_col) = 0.0;
            subtract_row(n, factor, a + position(n, pivot_col, 1), a + position(n, row, 1));
        }
    }
    for (int pass = n; pass >= 1; --pass) {
        if (indxr[pass] == indxc[pass]) continue;
        for (int k = 1; k <= n; ++k) std::swap(at(k, indxr[pass]), at(k, indxc[pass]));
    }
}
