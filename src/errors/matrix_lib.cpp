// SPDX-License-Identifier: BSD-3-Clause
// matrix_lib.cpp -- square matrices of double, stored row by row
#include "errors/matrix_lib.h"

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

void gaussj(double *a, const int &n) {
    const scratch<int> ipiv(n + 1LL, " Memory requested to store ipiv[] in gaussj not available\n");
    const scratch<int> indxr(n + 1LL,
                             " Memory requested to store indxr[] in gaussj not available\n");
    const scratch<int> indxc(n + 1LL,
                             " Memory requested to store indxc[] in gaussj not available\n");
    if (ipiv == nullptr || indxr == nullptr || indxc == nullptr) return;
    const auto at = [a, n](int row, int col) -> double & { return a[position(n, row, col)]; };

    for (int pass = 1; pass <= n; ++pass) {
        double largest = 0.0;
        int pivot_row = 0;
        int pivot_col = 0;
        for (int j = 1; j <= n; ++j) {
            if (ipiv[j] == 1) continue;
            for (int k = 1; k <= n; ++k) {
                if (ipiv[k] == 0) {
                    // A matrix of not-a-numbers has no largest element: any free one will do.
                    if (std::fabs(at(j, k)) >= largest || pivot_row == 0) {
                        largest = std::fabs(at(j, k));
                        pivot_row = j;
                        pivot_col = k;
                    }
                } else if (ipiv[k] > 1) {
                    std::printf("pause 1 in GAUSSJ - Singular matrix \n");
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
            for (int l = 1; l <= n; ++l) at(row, l) -= at(pivot_col, l) * factor;
        }
    }
    for (int pass = n; pass >= 1; --pass) {
        if (indxr[pass] == indxc[pass]) continue;
        for (int k = 1; k <= n; ++k) std::swap(at(k, indxr[pass]), at(k, indxc[pass]));
    }
}
