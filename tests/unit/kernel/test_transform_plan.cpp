// SPDX-License-Identifier: BSD-3-Clause
//
// A plan as a value. What it computes is held by property/test_fft_laws.cpp at every length.
#include "kernel/transform_plan.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <complex>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

typedef std::vector<double> vector;
using kernel::transform_plan;

// Transform of n values drawn from a seed: real parts, then imaginary parts.
static vector transformed(const transform_plan &plan, unsigned seed) {
    support::random_numbers random(seed);
    const std::size_t n = static_cast<std::size_t>(plan.points());
    vector re(n), im(n), work_re(n), work_im(n);
    for (std::size_t i = 0; i < n; ++i) {
        re[i] = random.normal();
        im[i] = random.normal();
    }
    const kernel::split_vector y =
        plan.transform(re.data(), im.data(), work_re.data(), work_im.data(), 1.0, false);
    vector both(y.re, y.re + n);
    both.insert(both.end(), y.im, y.im + n);
    return both;
}

TEST(transform_plan, exists_for_powers_of_two_up_to_its_limit) {
    for (int n = 1; n <= transform_plan::most_points / 2; n *= 2) {
        EXPECT_TRUE(transform_plan::exists_for(n));
        if (n > 2) {
            EXPECT_FALSE(transform_plan::exists_for(n - 1));
        }
    }
    EXPECT_TRUE(transform_plan::exists_for(transform_plan::most_points));
    for (const int n : {0, -1, -8, 3, 2 * transform_plan::most_points,
                        std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_FALSE(transform_plan::exists_for(n));
        EXPECT_THROW(transform_plan{n}, std::invalid_argument) << n;
        EXPECT_THROW((transform_plan{n, nullptr}), std::invalid_argument) << n;
    }
}

TEST(transform_plan, in_storage_of_the_caller_fills_it_and_gives_the_same) {
    for (int n = 1; n <= 4096; n *= 2) {
        const std::size_t count = static_cast<std::size_t>(transform_plan::factor_count(n));
        constexpr double untouched = 7.0; // no factor is as large
        vector factors(count + 1, untouched);
        const transform_plan borrowed(n, factors.data());
        EXPECT_EQ(factors.back(), untouched) << n;
        for (std::size_t i = 0; i < count; ++i) EXPECT_LE(factors[i], 1.0) << n;
        EXPECT_EQ(transformed(borrowed, 3), transformed(transform_plan(n), 3)) << n;
    }
}

TEST(transform_plan, keeps_its_factors_when_it_is_moved) {
    transform_plan first(256);
    const vector before = transformed(first, 4);
    const transform_plan second = std::move(first);
    EXPECT_EQ(transformed(second, 4), before);
}

TEST(transform_plan, serves_many_threads_at_once) {
    const transform_plan plan(1024);
    constexpr unsigned threads = 4;
    std::vector<vector> wanted, got(threads);
    for (unsigned k = 0; k < threads; ++k) wanted.push_back(transformed(plan, k));
    std::vector<std::thread> running;
    for (unsigned k = 0; k < threads; ++k)
        running.emplace_back([&, k] {
            for (int repeat = 0; repeat < 200; ++repeat) got[k] = transformed(plan, k);
        });
    for (std::thread &thread : running) thread.join();
    for (unsigned k = 0; k < threads; ++k) EXPECT_EQ(got[k], wanted[k]) << k;
}

// Point k of the output is the sum of x[j] exp(-2 pi i j k / n); centred, it stands n/2 further on.
TEST(transform_plan, is_the_double_sum_and_centred_its_halves_exchanged) {
    for (int points = 2; points <= 256; points *= 2) {
        const transform_plan plan(points);
        const std::size_t n = static_cast<std::size_t>(points);
        support::random_numbers random(7);
        vector re(n), im(n), work_re(n), work_im(n);
        for (std::size_t j = 0; j < n; ++j) {
            re[j] = random.normal();
            im[j] = random.normal();
        }
        for (const bool centred : {false, true}) {
            vector x_re = re, x_im = im;
            const kernel::split_vector y = plan.transform(x_re.data(), x_im.data(), work_re.data(),
                                                          work_im.data(), 0.5, centred);
            for (std::size_t k = 0; k < n; ++k) {
                std::complex<double> sum;
                for (std::size_t j = 0; j < n; ++j)
                    sum += std::complex<double>(re[j], im[j]) *
                           std::polar(1.0, -2.0 * std::numbers::pi *
                                               static_cast<double>(j * k % n) / points);
                const std::size_t at = centred ? (k + n / 2) % n : k;
                // n terms of size 1, of which the plain sum rounds each
                ASSERT_NEAR(y.re[at], 0.5 * sum.real(), 1e-15 * points) << n << ' ' << k;
                ASSERT_NEAR(y.im[at], 0.5 * sum.imag(), 1e-15 * points) << n << ' ' << k;
            }
        }
    }
}
