// SPDX-License-Identifier: BSD-3-Clause
#include "kernel/sums.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

typedef std::vector<double> vector;

TEST(sums, of_products_equal_those_in_extended_precision_at_every_length) {
    support::random_numbers random(61);
    EXPECT_EQ(kernel::dot(0, nullptr, nullptr), 0.0);
    EXPECT_EQ(kernel::dot(-1, nullptr, nullptr), 0.0);
    for (int n = 1; n < 70; ++n) {
        vector a(static_cast<std::size_t>(n)), b(a);
        long double sum = 0.0L, size = 0.0L;
        for (std::size_t i = 0; i < a.size(); ++i) {
            a[i] = random.normal();
            b[i] = random.normal();
            sum += static_cast<long double>(a[i]) * b[i];
            size += std::fabs(static_cast<long double>(a[i]) * b[i]);
        }
        // a product and at most n/8 + 4 additions round each term
        const double tolerance = (n / 8.0 + 5.0) * 1.2e-16 * static_cast<double>(size);
        EXPECT_NEAR(kernel::dot(n, a.data(), b.data()), static_cast<double>(sum), tolerance) << n;
    }
}

TEST(sums, read_nothing_behind_the_end) {
    for (int n = 1; n < 20; ++n) {
        vector a(static_cast<std::size_t>(n) + 8, std::numeric_limits<double>::quiet_NaN());
        for (int i = 0; i < n; ++i) a[static_cast<std::size_t>(i)] = 1.0;
        EXPECT_EQ(kernel::dot(n, a.data(), a.data()), n);
    }
}

TEST(sums, of_all_pairs_of_rows_are_added_and_mirrored) {
    support::random_numbers random(62);
    for (const int rows : {1, 2, 3, 4, 5, 7, 8, 9, 13}) {
        for (const int values : {1, 7, 8, 9, 500, 512, 520, 1100}) {
            const long long length = kernel::padded_values(values);
            const std::size_t L = static_cast<std::size_t>(length);
            EXPECT_EQ(length % 8, 0);
            EXPECT_LT(length - values, 8);
            vector v(static_cast<std::size_t>(kernel::padded_rows(rows)) * L);
            for (int r = 0; r < rows; ++r)
                for (int i = 0; i < values; ++i)
                    v[static_cast<std::size_t>(r) * L + static_cast<std::size_t>(i)] =
                        random.normal();
            const std::size_t R = static_cast<std::size_t>(rows);
            vector products(R * R, 3.0); // added to
            kernel::add_products(rows, length, v.data(), products.data());
            for (std::size_t i = 0; i < R; ++i) {
                for (std::size_t j = 0; j < R; ++j) {
                    long double sum = 3.0L;
                    for (std::size_t q = 0; q < L; ++q)
                        sum += static_cast<long double>(v[i * L + q]) * v[j * L + q];
                    EXPECT_NEAR(products[i * R + j], static_cast<double>(sum), 1e-13 * values);
                    EXPECT_EQ(products[i * R + j], products[j * R + i]);
                }
            }
        }
    }
}
