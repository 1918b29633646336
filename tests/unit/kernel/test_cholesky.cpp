// SPDX-License-Identifier: BSD-3-Clause
#include "kernel/cholesky.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

typedef std::vector<double> vector;

// G^T G of a random n x n matrix G, whose columns are `units` apart in size.
static vector random_matrix(support::random_numbers &random, int n, double units) {
    const std::size_t N = static_cast<std::size_t>(n);
    vector g(N * N), a(N * N);
    for (std::size_t i = 0; i < N; ++i)
        for (std::size_t j = 0; j < N; ++j)
            g[i * N + j] = (random.normal() + (i == j ? 3.0 : 0.0)) *
                           std::pow(units, static_cast<double>(j) / n);
    for (std::size_t i = 0; i < N; ++i)
        for (std::size_t j = i; j < N; ++j) {
            double sum = 0.0;
            for (std::size_t k = 0; k < N; ++k) sum += g[k * N + i] * g[k * N + j];
            a[i * N + j] = a[j * N + i] = sum;
        }
    return a;
}

TEST(cholesky, factors_by_hand) {
    vector a = {4.0, 2.0, 99.0, 10.0}; // what stands below the diagonal is not read
    vector scale(2);
    ASSERT_EQ(kernel::cholesky(2, a.data(), scale.data()), -1);
    EXPECT_EQ(scale[0], 0.5);
    EXPECT_DOUBLE_EQ(scale[1], 1.0 / std::sqrt(10.0));
    const double r = 2.0 / std::sqrt(40.0); // the correlation
    EXPECT_DOUBLE_EQ(a[0], 1.0);
    EXPECT_DOUBLE_EQ(a[1], r);
    EXPECT_DOUBLE_EQ(a[2], r);
    EXPECT_DOUBLE_EQ(a[3], std::sqrt(1.0 - r * r));
}

TEST(cholesky, solves_and_inverts_in_any_units) {
    support::random_numbers random(63);
    for (const int n : {1, 2, 3, 5, 8, 17, 40, 64}) {
        for (const double units : {1.0, 1e12, 1e-12}) {
            const std::size_t N = static_cast<std::size_t>(n);
            const vector a = random_matrix(random, n, units);
            vector l = a, scale(N), inverse(N * N), x(N), b(N);
            ASSERT_EQ(kernel::cholesky(n, l.data(), scale.data()), -1);
            kernel::cholesky_inverse(n, l.data(), scale.data(), inverse.data());
            for (std::size_t i = 0; i < N; ++i) x[i] = b[i] = random.normal();
            kernel::cholesky_solve(n, l.data(), scale.data(), x.data());
            for (std::size_t i = 0; i < N; ++i) {
                long double back = 0.0L, size = std::fabs(b[i]);
                for (std::size_t j = 0; j < N; ++j) {
                    back += static_cast<long double>(a[i * N + j]) * x[j];
                    size += std::fabs(static_cast<long double>(a[i * N + j]) * x[j]);
                    EXPECT_EQ(inverse[i * N + j], inverse[j * N + i]);
                }
                // backward stable: a few n roundings of the terms
                EXPECT_NEAR(static_cast<double>((back - b[i]) / size), 0.0, 4e-16 * (n + 4));
                for (std::size_t j = 0; j < N; ++j) {
                    long double one = 0.0L, terms = 0.0L;
                    for (std::size_t k = 0; k < N; ++k) {
                        const long double term =
                            static_cast<long double>(a[i * N + k]) * inverse[k * N + j];
                        one += term;
                        terms += std::fabs(term);
                    }
                    EXPECT_NEAR(static_cast<double>((one - (i == j ? 1.0L : 0.0L)) / terms), 0.0,
                                4e-16 * (n + 4))
                        << n << ' ' << i << ' ' << j;
                }
            }
        }
    }
}

TEST(cholesky, says_which_column_depends_on_those_before) {
    support::random_numbers random(64);
    const int n = 9;
    for (const double scale_of_column : {1.0, 1e10, 1e-10, 1e150}) {
        for (int column = 1; column < n; ++column) {
            vector a = random_matrix(random, n, 1.0);
            const std::size_t N = n, c = static_cast<std::size_t>(column);
            // column c becomes the sum of the two before it (of the one, at 1), times a factor
            const std::size_t one = c - 1, two = c >= 2 ? c - 2 : c - 1;
            const auto at = [&](std::size_t i, std::size_t j) -> double & { return a[i * N + j]; };
            for (std::size_t i = 0; i < N; ++i)
                if (i != c) at(i, c) = at(c, i) = scale_of_column * (at(i, one) + at(i, two));
            at(c, c) = scale_of_column * (at(one, c) + at(two, c));
            vector scale(N);
            EXPECT_EQ(kernel::cholesky(n, a.data(), scale.data()), column);
        }
    }
}

// 1 - r^2 of two columns, on both sides of the threshold.
TEST(cholesky, loses_a_pivot_at_its_threshold) {
    const double threshold = 2.0 * kernel::lost_pivot_per_row;
    for (const double rest : {0.25, 1e-10, 4.0 * threshold, threshold / 4.0, 0.0, -1e-3}) {
        vector a = {1.0, std::sqrt(1.0 - rest), 0.0, 1.0};
        vector scale(2);
        EXPECT_EQ(kernel::cholesky(2, a.data(), scale.data()), rest > threshold ? -1 : 1) << rest;
    }
}

TEST(cholesky, refuses_a_diagonal_that_is_not_positive_and_finite) {
    for (const double wrong : {0.0, -1.0, std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()}) {
        vector a = {1.0, 0.0, 0.0, 0.0, wrong, 0.0, 0.0, 0.0, 1.0};
        vector scale(3);
        EXPECT_EQ(kernel::cholesky(3, a.data(), scale.data()), 1) << wrong;
    }
    vector a = {1.0, std::numeric_limits<double>::quiet_NaN(), 0.0, 1.0};
    vector scale(2);
    EXPECT_EQ(kernel::cholesky(2, a.data(), scale.data()), 1);
}
