// SPDX-License-Identifier: BSD-3-Clause
#include "minimize/line_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

static int calls = 0;
static double parabola(const double &x) {
    ++calls;
    return (x - 3.0) * (x - 3.0) + 1.0;
}
static double behind(const double &x) {
    return (x + 2.0) * (x + 2.0);
}
static double far(const double &x) {
    return std::fabs(x - 1e6);
}
static double flat(const double &) {
    return 5.0;
}
static double flat_until_infinity(const double &x) {
    return std::isfinite(x) ? 5.0 : NAN;
}
static double falling(const double &x) {
    return -x;
}

static void expect_bracket(line_function f, double minimum_at) {
    const bracket b = bracket_minimum(f);
    EXPECT_LT(std::min(b.a, b.c), minimum_at);
    EXPECT_GT(std::max(b.a, b.c), minimum_at);
    EXPECT_LE(f(b.b), f(b.a));
    EXPECT_LE(f(b.b), f(b.c));
}

TEST(line_search, brackets_a_minimum_ahead_behind_and_far_away) {
    expect_bracket(parabola, 3.0);
    expect_bracket(behind, -2.0);
    expect_bracket(far, 1e6);
}

TEST(line_search, finds_the_minimum_to_its_relative_tolerance) {
    double f_min = 0.0;
    bool exhausted = true;
    double x = brent_minimum(parabola, bracket_minimum(parabola), 100, f_min, exhausted);
    EXPECT_FALSE(exhausted);
    EXPECT_NEAR(x, 3.0, 0.0002 * 3.0);
    EXPECT_EQ(f_min, parabola(x));
    x = brent_minimum(far, bracket_minimum(far), 100, f_min, exhausted);
    EXPECT_NEAR(x, 1e6, 0.0004 * 1e6);
}

TEST(line_search, takes_few_steps_for_a_parabola) {
    double f_min = 0.0;
    bool exhausted = true;
    calls = 0;
    brent_minimum(parabola, bracket_minimum(parabola), 100, f_min, exhausted);
    EXPECT_LT(calls, 20);
}

TEST(line_search, without_iterations_returns_the_middle_of_the_bracket) {
    const bracket b{0.0, 2.0, 7.0};
    for (int limit : {0, -3}) {
        double f_min = 0.0;
        bool exhausted = false;
        EXPECT_EQ(brent_minimum(parabola, b, limit, f_min, exhausted), 2.0);
        EXPECT_TRUE(exhausted);
        EXPECT_EQ(f_min, 2.0);
    }
}

TEST(line_search, ends_on_flat_and_on_bottomless_functions) {
    for (line_function f : {flat, flat_until_infinity, falling}) {
        const bracket b = bracket_minimum(f);
        EXPECT_FALSE(std::isfinite(b.c));
        double f_min = 0.0;
        bool exhausted = false;
        brent_minimum(f, b, 100, f_min, exhausted); // must come back
    }
}
