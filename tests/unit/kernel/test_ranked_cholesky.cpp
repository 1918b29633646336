// SPDX-License-Identifier: BSD-3-Clause
#include "kernel/ranked_cholesky.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

typedef std::vector<double> matrix;

static std::vector<int> all(int n) {
    std::vector<int> out(static_cast<std::size_t>(n));
    std::iota(out.begin(), out.end(), 0);
    return out;
}

// J^T J of a random J with `rows` rows.
static matrix random_gram(support::random_numbers &random, int n, int rows) {
    std::vector<double> j(static_cast<std::size_t>(n * rows));
    for (double &v : j) v = random.normal();
    matrix out(static_cast<std::size_t>(n * n));
    for (int a = 0; a < n; ++a)
        for (int b = 0; b < n; ++b)
            for (int i = 0; i < rows; ++i)
                out[static_cast<std::size_t>(a * n + b)] +=
                    j[static_cast<std::size_t>(a * rows + i)] *
                    j[static_cast<std::size_t>(b * rows + i)];
    return out;
}

TEST(ranked_cholesky, solves_a_system_worked_out_by_hand) {
    const matrix a = {4, 2, 2, 3};
    kernel::ranked_cholesky c;
    c.factor(a, 2, all(2));
    EXPECT_EQ(c.rank(), 2);
    // a few roundings of the scaled system
    std::vector<double> x(2), b = {10, 11}; // 4 x + 2 y = 10, 2 x + 3 y = 11: x = 1, y = 3
    c.solve(b, x);
    EXPECT_NEAR(x[0], 1.0, 4e-15);
    EXPECT_NEAR(x[1], 3.0, 4e-15);
    matrix inverse(4);
    c.invert(inverse);
    EXPECT_NEAR(inverse[0], 0.375, 1e-15);
    EXPECT_NEAR(inverse[1], -0.25, 1e-15);
    EXPECT_NEAR(inverse[3], 0.5, 1e-15);
}

TEST(ranked_cholesky, inverse_times_matrix_is_one_in_any_units) {
    support::random_numbers random(5);
    for (int n : {1, 2, 3, 7, 16, 40}) {
        matrix a = random_gram(random, n, 3 * n);
        std::vector<double> unit(static_cast<std::size_t>(n));
        for (double &u : unit) u = std::pow(10.0, random.uniform(-100, 100));
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                a[static_cast<std::size_t>(i * n + j)] *=
                    unit[static_cast<std::size_t>(i)] * unit[static_cast<std::size_t>(j)];
        kernel::ranked_cholesky c;
        c.factor(a, n, all(n));
        ASSERT_EQ(c.rank(), n);
        matrix inverse(a.size());
        c.invert(inverse);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                EXPECT_EQ(inverse[static_cast<std::size_t>(i * n + j)],
                          inverse[static_cast<std::size_t>(j * n + i)]);
                double sum = 0.0;
                for (int k = 0; k < n; ++k)
                    sum += a[static_cast<std::size_t>(i * n + k)] /
                           unit[static_cast<std::size_t>(i)] *
                           (inverse[static_cast<std::size_t>(k * n + j)] *
                            unit[static_cast<std::size_t>(j)]);
                // rounding times the condition of a random matrix of three times as many rows
                EXPECT_NEAR(sum, i == j ? 1.0 : 0.0, 1e-12) << n << " " << i << " " << j;
            }
        }
    }
}

TEST(ranked_cholesky, uses_the_chosen_rows_and_columns_only) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const matrix a = {4, nan, 2, nan, nan, nan, 2, nan, 3};
    kernel::ranked_cholesky c;
    c.factor(a, 3, std::vector<int>{2, 0});
    std::vector<double> x(2);
    c.solve(std::vector<double>{11, 10}, x);
    EXPECT_NEAR(x[0], 3.0, 4e-15);
    EXPECT_NEAR(x[1], 1.0, 4e-15);
}

// Two columns with correlation r: what is left of the second is 1 - r^2.
TEST(ranked_cholesky, a_pivot_is_lost_at_the_limit_and_not_above) {
    for (const double left : {1e-14, 1e-12, 0.5e-10, 0.99e-10, 1.01e-10, 2e-10, 1e-8, 1e-3, 1.0}) {
        const double r = std::sqrt(1.0 - left);
        const matrix a = {1, r, r, 1};
        kernel::ranked_cholesky c;
        c.factor(a, 2, all(2));
        const bool lost = left < kernel::ranked_cholesky::lost;
        EXPECT_EQ(c.rank(), lost ? 1 : 2) << left;
        EXPECT_EQ(c.dependent().size(), lost ? 2u : 0u) << left;
    }
}

TEST(ranked_cholesky, names_the_columns_of_a_combination_and_keeps_the_others) {
    support::random_numbers random(6);
    // columns 0 ... 5; 4 = column 1 - 2 x column 3, column 5 is nothing
    const int n = 6, rows = 50;
    std::vector<std::vector<double>> j(static_cast<std::size_t>(n), std::vector<double>(rows));
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t c = 0; c < 4; ++c) j[c][i] = random.normal();
        j[4][i] = j[1][i] - 2.0 * j[3][i];
    }
    matrix a(static_cast<std::size_t>(n * n));
    for (std::size_t p = 0; p < 6; ++p)
        for (std::size_t q = 0; q < 6; ++q)
            a[p * 6 + q] = std::inner_product(j[p].begin(), j[p].end(), j[q].begin(), 0.0);
    kernel::ranked_cholesky c;
    c.factor(a, n, all(n));
    EXPECT_EQ(c.rank(), 4);
    EXPECT_EQ(c.dependent(), (std::vector<int>{1, 3, 4, 5}));
    matrix inverse(a.size());
    c.invert(inverse);
    // the errors of columns 0 and 2 are those without the combination
    kernel::ranked_cholesky part;
    part.factor(a, n, std::vector<int>{0, 1, 2, 3});
    matrix wanted(16);
    part.invert(wanted);
    EXPECT_NEAR(inverse[0], wanted[0], 1e-12 * wanted[0]);
    EXPECT_NEAR(inverse[2 * 6 + 2], wanted[2 * 4 + 2], 1e-12 * wanted[10]);
    for (std::size_t q = 0; q < 6; ++q) EXPECT_EQ(inverse[5 * 6 + q], 0.0);
}

// Nearly parallel columns e1, e1 + e2/10, e1 + e3/10, and the second and third less the first: what
// is left of each behind the first pivot is small, the combination takes all of them alike.
TEST(ranked_cholesky, names_all_columns_of_a_combination_of_nearly_parallel_ones) {
    const double columns[5][4] = {
        {1, 0, 0, 0}, {1, 0.1, 0, 0}, {0, 0, 0, 1}, {1, 0, 0.1, 0}, {1, 0.1, 0.1, 0}};
    matrix a(25);
    for (std::size_t p = 0; p < 5; ++p)
        for (std::size_t q = 0; q < 5; ++q)
            a[5 * p + q] = std::inner_product(columns[p], columns[p] + 4, columns[q], 0.0);
    kernel::ranked_cholesky c;
    c.factor(a, 5, all(5));
    EXPECT_EQ(c.rank(), 4);
    EXPECT_EQ(c.dependent(), (std::vector<int>{0, 1, 3, 4}));
}

TEST(ranked_cholesky, a_diagonal_that_is_no_positive_number_counts_as_nothing) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double bad : {0.0, -1.0, infinity, -infinity, std::nan("")}) {
        const matrix a = {bad, 0, 0, 2};
        kernel::ranked_cholesky c;
        c.factor(a, 2, all(2));
        EXPECT_EQ(c.rank(), 1) << bad;
        EXPECT_EQ(c.dependent(), std::vector<int>{0}) << bad;
        std::vector<double> x(2);
        c.solve(std::vector<double>{1, 4}, x);
        EXPECT_EQ(x[0], 0.0);
        EXPECT_DOUBLE_EQ(x[1], 2.0);
    }
}

TEST(ranked_cholesky, scales_of_any_size_leave_the_rank_alone) {
    // the diagonal's root and its inverse are numbers from 1e-300 to 1e300
    for (const double d : {1e-300, 1e-100, 1.0, 1e100, 1e300}) {
        const matrix a = {d, 0.5 * std::sqrt(d), 0.5 * std::sqrt(d), 1};
        kernel::ranked_cholesky c;
        c.factor(a, 2, all(2));
        EXPECT_EQ(c.rank(), 2) << d;
    }
}

TEST(ranked_cholesky, of_nothing_is_nothing) {
    kernel::ranked_cholesky c;
    c.factor(matrix(), 0, {});
    EXPECT_EQ(c.rank(), 0);
    EXPECT_TRUE(c.dependent().empty());
}
