// SPDX-License-Identifier: BSD-3-Clause
#include "model/l_shapes.h"

#include "model/fft.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

using std::numbers::pi;
typedef std::vector<double> vector;

struct line {
    double A = 1.0, f = 0.0, g = 0.0, phi0 = 0.0, L = 0.0, phi_1 = 0.0;
    int trunc = 64, ignore = 0, n = 64;
};

static void time_curve(const line &l, vector &re, vector &im) {
    const int flags[2] = {0, 0};
    re.assign(static_cast<std::size_t>(l.n), 9.0);
    im = re;
    Calculate_td_VoigtCurve(1, l.n, l.trunc, 0, flags, 0, l.A, l.f, l.g, l.phi0, l.L, l.phi_1,
                            re.data(), im.data(), nullptr, nullptr, nullptr, nullptr, 1.0, nullptr,
                            l.ignore);
}

static void spectrum_curve(const line &l, vector &re, vector &im) {
    const int flags[2] = {0, 0};
    double table[256];
    create_lookup(table, l.n, 1);
    re.assign(static_cast<std::size_t>(l.n), 9.0);
    im = re;
    Calculate_ifft_VoigtCurve(1, l.n, l.trunc, 0, flags, 0, l.A, l.f, l.g, l.phi0, l.L, l.phi_1,
                              re.data(), im.data(), nullptr, nullptr, nullptr, nullptr, 1.0, table,
                              l.ignore);
}

TEST(l_shapes, without_widths_the_envelope_is_the_area) {
    vector re, im;
    time_curve({.A = 2.5, .f = 10.3}, re, im);
    for (std::size_t n = 0; n < 64; ++n) EXPECT_NEAR(std::hypot(re[n], im[n]), 2.5, 1e-14);
    EXPECT_DOUBLE_EQ(re[0], 2.5);
    EXPECT_EQ(im[0], 0.0);
}

TEST(l_shapes, envelope_of_a_voigt_line_is_the_product_of_both_decays) {
    vector re, im;
    const double g = 1.2, L = 2.3;
    time_curve({.A = 1.0, .f = 5.0, .g = g, .L = L}, re, im);
    for (std::size_t n = 0; n < 64; ++n) {
        const double t = static_cast<double>(n) / 64.0;
        const double wanted = std::exp(-pi * pi * g * g * t * t) * std::exp(-pi * L * t);
        EXPECT_NEAR(std::hypot(re[n], im[n]), wanted, 1e-14) << n;
    }
}

TEST(l_shapes, truncation_at_two_leaves_two_points_and_below_two_as_well) {
    for (int trunc : {2, 1, 0, -5}) {
        vector re, im;
        time_curve({.A = 1.0, .f = 7.0, .L = 1.0, .trunc = trunc}, re, im);
        EXPECT_NE(re[0], 0.0);
        EXPECT_NE(std::hypot(re[1], im[1]), 0.0);
        for (std::size_t n = 2; n < 64; ++n) EXPECT_EQ(std::hypot(re[n], im[n]), 0.0);
    }
}

TEST(l_shapes, ignored_points_are_zero) {
    vector re, im;
    time_curve({.A = 1.0, .f = 7.0, .L = 1.0, .ignore = 3}, re, im);
    for (std::size_t n = 0; n < 3; ++n) EXPECT_EQ(std::hypot(re[n], im[n]), 0.0);
    EXPECT_NE(re[3], 0.0);
    time_curve({.A = 1.0, .ignore = 1000}, re, im);
    for (double x : re) EXPECT_EQ(x, 0.0);
}

TEST(l_shapes, phase_without_delay_is_the_zero_order_phase) {
    vector re, im;
    time_curve({.A = 1.0, .f = 3.0, .phi0 = 90.0}, re, im);
    EXPECT_NEAR(re[0], 0.0, 1e-15);
    EXPECT_NEAR(im[0], 1.0, 1e-15);
}

TEST(l_shapes, delay_moves_the_time_and_takes_half_its_phase_off) {
    vector re, im;
    // one point of delay; a line at the carrier, f = n/2: omega d / n = 2 pi, minus pi
    time_curve({.A = 1.0, .f = 32.0, .L = 3.0, .phi_1 = 360.0}, re, im);
    const double wanted = std::exp(-pi * 3.0 / 64.0);
    EXPECT_NEAR(re[0], -wanted, 1e-14);
    EXPECT_NEAR(im[0], 0.0, 1e-14);
}

TEST(l_shapes, line_lies_at_its_frequency_with_half_height_at_half_width) {
    vector re, im;
    const double L = 4.0;
    spectrum_curve({.A = 1.0, .f = 100.0, .L = L, .trunc = 256, .n = 256}, re, im);
    std::size_t top = 0;
    for (std::size_t i = 0; i < 256; ++i)
        if (re[i] > re[top]) top = i;
    EXPECT_EQ(top, 100U);
    // The periodic sum of a decay that ends at exp(-4 pi) differs from a Lorentzian by that much.
    EXPECT_NEAR(re[100], 1.0 / (pi * L), 0.01 / (pi * L));
    EXPECT_NEAR(re[102] / re[100], 0.5, 0.01); // half the width L away
    EXPECT_NEAR(re[98] / re[100], 0.5, 0.01);
}

TEST(l_shapes, sum_of_the_absorption_is_half_the_area) {
    vector re, im;
    spectrum_curve({.A = 3.0, .f = 20.4, .g = 1.0, .L = 2.0}, re, im);
    double sum = 0.0;
    for (double x : re) sum += x;
    EXPECT_NEAR(sum, 1.5, 1e-13);
}

TEST(l_shapes, one_coefficient_describes_the_lineshape_one_and_becomes_one) {
    double xt[4] = {7.0, 7.0, -0.3, 0.4}, table[256];
    vector re(16), im(16);
    create_lookup(table, 16, 1);
    ParArrayToLineShapeFunction(1, 16, 2, xt, re.data(), im.data(), table);
    for (std::size_t n = 0; n < 16; ++n) {
        EXPECT_NEAR(re[n], 1.0, 1e-15);
        EXPECT_NEAR(im[n], 0.0, 1e-15);
    }
    EXPECT_NEAR(xt[2], 1.0, 1e-15);
    EXPECT_NEAR(xt[3], 0.0, 1e-15);
    EXPECT_EQ(xt[0], 7.0);
}

// No function of theirs begins with 1: what takes it must not look like a model.
TEST(l_shapes, coefficients_that_cancel_at_time_zero_give_no_numbers) {
    double xt[4] = {1.0, 0.0, -1.0, 0.0}, table[256];
    vector re(16), im(16);
    create_lookup(table, 16, 1);
    ParArrayToLineShapeFunction(2, 16, 0, xt, re.data(), im.data(), table);
    for (double x : xt) EXPECT_FALSE(std::isfinite(x));
    for (double x : re) EXPECT_FALSE(std::isfinite(x));
    for (double x : im) EXPECT_FALSE(std::isfinite(x));
}

TEST(l_shapes, more_coefficients_than_points_stay_inside) {
    vector xt(40, 0.5), re(8), im(8);
    double table[256];
    create_lookup(table, 8, 1);
    ParArrayToLineShapeFunction(20, 8, 0, xt.data(), re.data(), im.data(), table);
    EXPECT_NEAR(re[0], 1.0, 1e-14);
}

TEST(l_shapes, complex_products_by_hand) {
    double re[1] = {1.0}, im[1] = {2.0};
    const double cr[1] = {3.0}, ci[1] = {-4.0};
    Complex_Multiply(1, re, im, cr, ci); // (1 + 2i)(3 - 4i) = 11 + 2i
    EXPECT_EQ(re[0], 11.0);
    EXPECT_EQ(im[0], 2.0);
}
