// SPDX-License-Identifier: BSD-3-Clause
#include "kernel/decay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

typedef std::vector<double> vector;

// A curve by its definition, in extended precision, and its largest point.
struct exact_curve {
    vector re, im;
    double top = 0.0;
};

static exact_curve exactly(const kernel::decay &c, int begin, int end) {
    exact_curve y{vector(static_cast<std::size_t>(end)), vector(static_cast<std::size_t>(end))};
    long double top = 0.0L;
    for (int n = begin; n < end; ++n) {
        const long double t = n + static_cast<long double>(c.d);
        const long double e = std::exp(-c.gauss * t * t - c.lorentz * t);
        long double turns = static_cast<long double>(c.frequency) * n / c.points;
        if (c.half_band) turns += 0.5L * n;
        turns -= std::nearbyint(turns);
        const long double a = 2.0L * 3.14159265358979323846L * turns;
        const long double A = std::hypot(static_cast<long double>(c.re), c.im);
        const std::size_t at = static_cast<std::size_t>(n);
        y.re[at] = static_cast<double>(e * (c.re * std::cos(a) - c.im * std::sin(a)));
        y.im[at] = static_cast<double>(e * (c.re * std::sin(a) + c.im * std::cos(a)));
        top = std::max(top, A * std::fabs(e));
    }
    y.top = static_cast<double>(top);
    return y;
}

// Each point within 1e-12 of the largest one: docs/numerics.md
static void expect_equal(const vector &re, const vector &im, const exact_curve &y, const char *what,
                         double a, double b) {
    for (std::size_t n = 0; n < y.re.size(); ++n) {
        ASSERT_NEAR(re[n], y.re[n], 1e-12 * y.top) << what << ' ' << n << ' ' << a << ' ' << b;
        ASSERT_NEAR(im[n], y.im[n], 1e-12 * y.top) << what << ' ' << n << ' ' << a << ' ' << b;
    }
}

static void hold_against_definition(const kernel::decay &curve, int begin, int end) {
    const std::size_t room = static_cast<std::size_t>(end);
    vector re(room), im(room);
    kernel::add_decay(curve, begin, end, re.data(), im.data());
    expect_equal(re, im, exactly(curve, begin, end), "curve", curve.gauss, curve.lorentz);
}

// What the recurrence must not do: leave the range of a double, or lose the start of a signal that
// rises from nothing. Compared with exp, cos and sin at every point.
TEST(decay, equals_its_definition_at_extreme_parameters) {
    struct extreme {
        double frequency, gauss, lorentz, d;
        int begin, end;
    };
    const extreme cases[] = {
        {100.25, 0.0, 0.0, 0.0, 0, 4096},    {100.25, 1e-6, 0.0, 0.0, 0, 4096},
        {-3000.7, 1e-4, 1e-3, 3.0, 1, 4096}, {1e7 + 0.3, 0.0, 1e-3, 0.5, 0, 4096},
        {5.0, 2.0, 0.0, 0.0, 0, 4096},       {5.0, 0.0, 40.0, 0.0, 0, 4096},
        {5.0, 1.0, 0.0, -60.0, 0, 4096},     {5.0, 0.0, -0.1, 0.0, 0, 4096},
        {5.0, 1e-3, -0.5, 0.0, 0, 4096},     {5.0, 1e-5, 1e-4, 1e5, 0, 4096},
        {5.0, 1e-6, 0.0, 0.0, 4095, 4096},   {5.0, 1e-6, 0.0, 0.0, 7, 20},
    };
    for (const extreme &c : cases)
        hold_against_definition({1.5, -0.5, c.frequency, c.gauss, c.lorentz, c.d, 4096, true},
                                c.begin, c.end);
}

// Where the curve may be cut off: the decays of a line are any powers of ten apart.
TEST(decay, is_whole_however_far_apart_its_two_decays_are) {
    for (const double lorentz : {0.0, 1e-300, 1e-12, 1e-4, 7e-3, 0.3, 4.0, 1e3, 1e160, 1e300}) {
        for (int exponent = -300; exponent <= 8; exponent += 7) {
            const double ratio = std::pow(10.0, exponent); // of the two times of decay
            for (const double gauss : {ratio, ratio * lorentz, ratio * lorentz * lorentz}) {
                if (!std::isfinite(gauss)) continue;
                hold_against_definition({1.0, 0.5, 11.3, gauss, lorentz, 0.0, 300, true}, 0, 300);
            }
        }
    }
    // an oscillation that rises slowly while the Gaussian takes it down
    for (int exponent = -300; exponent <= 0; exponent += 5)
        hold_against_definition({1.0, 0.0, 3.0, std::pow(10.0, exponent), -1e-3, 0.0, 300, true}, 0,
                                300);
}

// The time at which a decay is cut off, over all doubles: by its own equation where that can be
// evaluated, never short of it elsewhere.
TEST(decay, its_time_of_exponent_solves_the_equation_over_the_whole_range) {
    constexpr double exponent = 100.0;
    int solved = 0;
    for (int i = -308; i <= 308; i += 4) {
        for (int j = -312; j <= 308; j += 4) {
            for (const double sign : {1.0, -1.0, 0.0}) {
                const double a = j < -309 ? 0.0 : std::pow(10.0, j);
                const double b = sign * std::pow(10.0, i);
                const double t = kernel::time_of_exponent(a, b, exponent);
                ASSERT_FALSE(t < 0.0 || std::isnan(t)) << a << ' ' << b;
                const long double T = t;
                const long double value = a * T * T + b * T;
                if (a == 0.0 && b <= 0.0) {
                    EXPECT_TRUE(std::isinf(t));
                } else if (std::isinf(t)) {
                    EXPECT_TRUE(i < -300 || j < -300 || (b < 0.0 && i - j > 300)) << a << ' ' << b;
                } else if (t < 1e-140) {
                    EXPECT_TRUE(i > 140 || j > 280) << a << ' ' << b; // nothing is left at point 1
                } else if (i > -150 && j > -290 && i < 150 && j < 300) {
                    // rounding of a t^2 + b t, two large numbers when b is negative
                    const long double terms = a * T * T + std::fabs(b) * T;
                    ASSERT_NEAR(static_cast<double>((value - exponent) / terms), 0.0, 1e-15)
                        << a << ' ' << b;
                    ++solved;
                } else if (b >= 0.0) {
                    ASSERT_GE(static_cast<double>(value), exponent * (1.0 - 1e-12))
                        << a << ' ' << b;
                    ++solved;
                }
            }
        }
    }
    EXPECT_GT(solved, 10000);
}

// A delay beyond the integers, where a decay has long ended.
TEST(decay, adds_nothing_when_it_ended_before_it_begins) {
    for (const double d : {1e5, 1e10, 1e300}) {
        vector re(64, 1.0), im(64, 2.0);
        kernel::add_decay({1.0, 0.0, 3.0, 0.0, 1.0, d, 64, true}, 0, 64, re.data(), im.data());
        EXPECT_EQ(re, vector(64, 1.0));
        EXPECT_EQ(im, vector(64, 2.0));
    }
}

TEST(decay, adds_to_what_stands_there_and_only_in_its_range) {
    vector re(32, 1.0), im(32, 2.0);
    kernel::add_decay({1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 32, false}, 5, 9, re.data(), im.data());
    for (std::size_t n = 0; n < 32; ++n) {
        EXPECT_NEAR(re[n], n >= 5 && n < 9 ? 2.0 : 1.0, 1e-15);
        EXPECT_NEAR(im[n], 2.0, 1e-15);
    }
    kernel::add_decay({1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 32, false}, 9, 9, re.data(), im.data());
    EXPECT_EQ(re[9], 1.0);
}
