// SPDX-License-Identifier: BSD-3-Clause
//
// A plan as a value. What it computes is held by property/test_fft_laws.cpp at every length.
#include "kernel/transform_plan.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <limits>
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
