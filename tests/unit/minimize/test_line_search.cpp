// SPDX-License-Identifier: BSD-3-Clause
#include "minimize/line_search.h"

#include "support/support.h"

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

// Functions with one minimum, as a chi-square has along a line: the sum of squares of a Lorentzian
// less one of another width or place, and others that no parabola follows.
static double shape[4] = {};
static double valley(const double &x) {
    const double t = (x - shape[1]) / shape[2];
    switch (static_cast<int>(shape[0])) {
    case 0:
        return t * t + shape[3] * t * t * t * t;
    case 1:
        return std::fabs(t) + std::log1p(std::exp(-2.0 * std::fabs(t))) + 1e-3 * shape[3] * t * t;
    case 2:
        return std::log1p(t * t) + shape[3] * std::fabs(t);
    default:
        return 2.0 - 2.0 / (1.0 + t * t) + shape[3] * t * t;
    }
}

// Golden sections from one end of the bracket to the other, without any parabola.
// Source: J. Kiefer, Proc. Amer. Math. Soc. 4 (1953) 502-506.
static double by_golden_sections(line_function f, const bracket &start) {
    const double share = (std::sqrt(5.0) - 1.0) / 2.0;
    double lo = std::min(start.a, start.c), hi = std::max(start.a, start.c);
    for (int i = 0; i < 400 && hi > lo; ++i) {
        const double left = hi - share * (hi - lo), right = lo + share * (hi - lo);
        (f(left) <= f(right) ? hi : lo) = f(left) <= f(right) ? right : left;
    }
    return 0.5 * (lo + hi);
}

TEST(line_search, ends_where_golden_sections_end) {
    support::random_numbers random(11);
    for (int k = 0; k < 400; ++k) {
        shape[0] = k % 4;
        shape[1] = random.uniform(-1.0, 1.0) * std::pow(10.0, random.uniform(-2.0, 3.0));
        shape[2] = std::pow(10.0, random.uniform(-1.0, 2.0));
        shape[3] = random.uniform(0.01, 1.0);
        const bracket start = bracket_minimum(valley);
        double f_min = 0.0;
        bool exhausted = true;
        const double found = brent_minimum(valley, start, 200, f_min, exhausted);
        const double wanted = by_golden_sections(valley, start);
        EXPECT_FALSE(exhausted) << k;
        EXPECT_EQ(f_min, valley(found)) << k;
        // the interval that is left holds the minimum and is no longer than twice the tolerance; a
        // function that is flat to the rounding of its value says no more than that
        const double rounding = 4e-8 * shape[2];
        EXPECT_NEAR(found, wanted, 2.0 * (0.0002 * std::fabs(found) + 1e-10) + rounding)
            << "shape " << shape[0] << ", at " << shape[1] << ", width " << shape[2];
    }
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
