// SPDX-License-Identifier: BSD-3-Clause
// matrix_lib.h -- square matrices of double, stored row by row
//
// Element (row, col), both counted from 1, lives at n (row - 1) + col - 1.
#pragma once

bool is_inside_matrix(int n, int row, int col);

// Stores or fetches an element; an index above n (or below 1) prints a message, the store is
// skipped, the fetch gives 0.
void push_2d_matrix_element(double *a, const int &n, const int &row, const int &col,
                            const double &value);
double pop_2d_matrix_element(const double *a, const int &n, const int &row, const int &col);

// Inverts the n x n matrix a in place by Gauss-Jordan elimination with full pivoting.
//
// Errors: a zero pivot prints a message and the elimination goes on with an infinite reciprocal,
//         so that a singular matrix ends in infinite or not-a-number elements.
// Source: W. H. Press et al., Numerical Recipes, 2nd ed. 1992, section 2.1.
void gaussj(double *a, const int &n);
