// SPDX-License-Identifier: BSD-3-Clause
#include "kernel/moments.h"

#include "kernel/aligned.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

// conj(a) b t^m by its definition, in more digits, on top of what is there already
TEST(moments, equal_the_definition_for_every_count_and_length) {
    support::random_numbers random(5);
    for (const int n : {0, 8, 16, 24, 512, 1024})
        for (int moments = 1; moments <= kernel::most_moments; ++moments) {
            std::vector<double> v[5];
            for (auto &row : v)
                for (int i = 0; i < n; ++i) row.push_back(random.normal());
            double re[5] = {1, 2, 3, 4, 5}, im[5] = {6, 7, 8, 9, 10};
            kernel::add_moments(n, moments, v[0].data(), v[1].data(), v[2].data(), v[3].data(),
                                v[4].data(), re, im);
            for (int m = 0; m < 5; ++m) {
                long double wanted_re = m + 1, wanted_im = m + 6, size = 10;
                for (std::size_t i = 0; m < moments && i < v[0].size(); ++i) {
                    const long double time = std::pow(static_cast<long double>(v[0][i]), m);
                    const long double a = v[1][i], b = v[2][i], x = v[3][i], y = v[4][i];
                    wanted_re += time * (a * x + b * y);
                    wanted_im += time * (a * y - b * x);
                    size += std::fabs(time) * (std::fabs(a) + std::fabs(b)) *
                            (std::fabs(x) + std::fabs(y));
                }
                const double tolerance = 1e-15 * static_cast<double>(size);
                EXPECT_NEAR(re[m], static_cast<double>(wanted_re), tolerance) << n << " " << m;
                EXPECT_NEAR(im[m], static_cast<double>(wanted_im), tolerance) << n << " " << m;
            }
        }
}

TEST(moments, of_numbers_that_are_not_finite_are_not_finite_either) {
    const std::vector<double> one(8, 1.0);
    std::vector<double> odd = one;
    odd[3] = std::nan("");
    double re[2] = {0, 0}, im[2] = {0, 0};
    kernel::add_moments(8, 2, one.data(), odd.data(), one.data(), one.data(), one.data(), re, im);
    EXPECT_TRUE(std::isnan(re[0]) && std::isnan(im[0]) && std::isnan(re[1]) && std::isnan(im[1]));
}

TEST(aligned_doubles, begin_on_a_cache_line) {
    kernel::aligned_doubles v;
    for (const std::size_t n : {1, 7, 100, 4096}) {
        v.resize(n);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(v.data()) % 64, 0u);
    }
}
