// SPDX-License-Identifier: BSD-3-Clause
// matrix_lib.cpp -- square matrices of double, stored row by row
#include "errors/matrix_lib.h"

#include "kernel/lanes.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>
#include <utility>

using kernel::lanes;
using kernel::load;

bool is_inside_matrix(int n, int row, int col) {
    return row >= 1 && col >= 1 && row <= n && col <= n;
}

static long long position(int n, int row, int col) {
    return static_cast<long long>(n) * (row - 1) + col - 1;
}

void push_2d_matrix_element(double *a, const int &n, const int &row, const int &col,
                            const double &value) {
    if (!is_inside_matrix(n, row, col)) {
        std::printf("fatal memory implementation error : \n");
        std::printf("trying to push 2d matrix matrix_element outside allocated memory area \n");
        return;
    }
    a[position(n, row, col)] = value;
}

double pop_2d_matrix_element(const double *a, const int &n, const int &row, const int &col) {
    if (!is_inside_matrix(n, row, col)) {
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

// Largest magnitude among the values of a row that are open (1.0, else 0.0); below 0 when there is
// none. Not-a-numbers are passed over.
MULTIVERSION static double largest_open(int n, const double *row, const double *is_open) {
    const lanes zero = {};
    lanes most = zero - 1.0;
    lanes most_2 = most;
    const auto look = [&](lanes & found, int l) __attribute__((always_inline)) {
        lanes v, counts;
        load(v, row + l);
        load(counts, is_open + l);
        v = v < zero ? -v : v;
        found = ((counts != zero) & (v > found)) ? v : found;
    };
    int l = 0;
    for (; l + 8 <= n; l += 8) { // two chains: each comparison waits for the one before it
        look(most, l);
        look(most_2, l + 4);
    }
    most = most_2 > most ? most_2 : most;
    double found = most[0];
    for (int k = 1; k < 4; ++k) found = most[k] > found ? most[k] : found;
    for (; l < n; ++l)
        if (is_open[l] != 0.0 && std::fabs(row[l]) > found) found = std::fabs(row[l]);
    return found;
}

struct matrix_place {
    int row, col; // 1-based; 0 where there is none
};

// The last of the largest elements of the rows and columns without a pivot; none where all are
// not-a-numbers.
static matrix_place largest_element(const double *a, int n, const int *ipiv, const double *open) {
    double largest = 0.0;
    int row = 0;
    for (int k = 1; k <= n; ++k) {
        if (ipiv[k] == 1) continue;
        const double row_largest = largest_open(n, a + position(n, k, 1), open);
        if (row_largest < largest) continue;
        largest = row_largest;
        row = k;
    }
    for (int k = n; k >= 1 && row != 0; --k)
        if (open[k - 1] != 0.0 && std::fabs(a[position(n, row, k)]) == largest) return {row, k};
    return {0, 0};
}

void gaussj(double *a, const int &n) {
    const scratch<int> ipiv(n + 1LL, " Memory requested to store ipiv[] in gaussj not available\n");
    const scratch<int> indxr(n + 1LL,
                             " Memory requested to store indxr[] in gaussj not available\n");
    const scratch<int> indxc(n + 1LL,
                             " Memory requested to store indxc[] in gaussj not available\n");
    const scratch<double> open(n, " Memory requested to store open[] in gaussj not available\n");
    if (ipiv == nullptr || indxr == nullptr || indxc == nullptr || open == nullptr) return;
    const auto at = [a, n](int row, int col) -> double & { return a[position(n, row, col)]; };

    int pivot_row = 0;
    int pivot_col = 0;
    for (int pass = 1; pass <= n; ++pass) {
        int rows = 0; // that are searched
        int used_twice = 0;
        for (int k = 1; k <= n; ++k) {
            open[k - 1] = ipiv[k] == 0 ? 1.0 : 0.0;
            rows += ipiv[k] != 1 ? 1 : 0;
            used_twice += ipiv[k] > 1 ? 1 : 0;
        }
        for (int i = 0; i < rows * used_twice; ++i)
            std::printf("pause 1 in GAUSSJ - Singular matrix \n");
        // Where there is none the pass takes the pivot of the one before, whose column is then used
        // twice.
        if (const matrix_place found = largest_element(a, n, ipiv, open); found.col != 0) {
            pivot_row = found.row;
            pivot_col = found.col;
        }
        if (pivot_col == 0) return; // a matrix of not-a-numbers, which is its own inverse
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
