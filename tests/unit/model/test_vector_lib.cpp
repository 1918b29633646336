// SPDX-License-Identifier: BSD-3-Clause
#include "model/vector_lib.h"

#include "model/fft.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

typedef std::vector<double> vector;

TEST(vector_lib, element_wise_operations_may_write_over_an_input) {
    vector a = {1.0, -2.0, 3.0}, b = {4.0, 5.0, -6.0}, out(3);
    Sum_Vector(3, out.data(), a.data(), b.data());
    EXPECT_EQ(out, (vector{5.0, 3.0, -3.0}));
    Dif_Vector(3, out.data(), a.data(), b.data());
    EXPECT_EQ(out, (vector{-3.0, -7.0, 9.0}));
    Multiply_Vector(3, out.data(), a.data(), b.data());
    EXPECT_EQ(out, (vector{4.0, -10.0, -18.0}));
    Inv_Vector(3, out.data(), a.data());
    EXPECT_EQ(out, (vector{-1.0, 2.0, -3.0}));
    Copy_Vector(3, a.data(), out.data());
    Sum_Vector(3, out.data(), out.data(), b.data());
    EXPECT_EQ(out, (vector{5.0, 3.0, -3.0}));
    Zero_Vector(2, out.data());
    EXPECT_EQ(out, (vector{0.0, 0.0, -3.0}));
}

TEST(vector_lib, magnitude_of_a_point) {
    const vector re = {3.0, 0.0}, im = {-4.0, 0.0};
    vector out(2);
    Absolute_Vector(2, re.data(), im.data(), out.data());
    EXPECT_EQ(out, (vector{5.0, 0.0}));
}

TEST(vector_lib, lengths_below_one_do_nothing) {
    vector v = {7.0};
    for (int n : {0, -1, -1000000}) {
        Zero_Vector(n, v.data());
        Sum_Vector(n, v.data(), v.data(), v.data());
        int k = 1;
        Rotate_Vector(n, k, v.data());
        Calculate_Spectrum(n, v.data(), v.data(), nullptr);
        Truncate_Spectrum(n, 1, v.data(), v.data(), nullptr);
        Convolution(n, -1, 1, v.data(), v.data(), v.data());
        double product = 9.0;
        EXPECT_EQ(Calculate_In_Product(n, v.data(), v.data(), product), 0);
        EXPECT_EQ(product, 0.0);
    }
    EXPECT_EQ(v[0], 7.0);
}

TEST(vector_lib, in_product_returns_sum_and_number_of_terms) {
    const vector a = {1.0, 2.0, 3.0}, b = {4.0, -5.0, 6.0};
    double product = 0.0;
    EXPECT_EQ(Calculate_In_Product(3, a.data(), b.data(), product), 3);
    EXPECT_EQ(product, 12.0);
}

TEST(vector_lib, first_of_equal_maxima_wins) {
    const vector equal(5, 2.0), later = {1.0, 4.0, 4.0, 3.0};
    int index = -1;
    double top = 0.0;
    Max_Vector(5, equal.data(), index, top);
    EXPECT_EQ(index, 0);
    EXPECT_EQ(top, 2.0);
    Max_Vector(4, later.data(), index, top);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(top, 4.0);
}

TEST(vector_lib, maximum_below_the_floor_leaves_the_index) {
    const vector low(3, -1e300), nothing(3, std::nan(""));
    int index = 42;
    double top = 0.0;
    Max_Vector(3, low.data(), index, top);
    EXPECT_EQ(index, 42);
    EXPECT_EQ(top, -1e200);
    Max_Vector(3, nothing.data(), index, top);
    EXPECT_EQ(index, 42);
}

TEST(vector_lib, rotation_by_minus_one_goes_right_and_tells_the_caller) {
    vector v = {0.0, 1.0, 2.0, 3.0};
    int k = -1;
    Rotate_Vector(4, k, v.data());
    EXPECT_EQ(v, (vector{3.0, 0.0, 1.0, 2.0}));
    EXPECT_EQ(k, 3);
    k = 2;
    Rotate_Vector(4, k, v.data());
    EXPECT_EQ(v, (vector{1.0, 2.0, 3.0, 0.0}));
    EXPECT_EQ(k, 2);
}

TEST(vector_lib, separate_rotation_goes_right) {
    const vector v = {0.0, 1.0, 2.0, 3.0};
    vector out(4);
    Rotate_Conv_Vector(4, 1, v.data(), out.data());
    EXPECT_EQ(out, (vector{3.0, 0.0, 1.0, 2.0}));
    Rotate_Conv_Vector(4, -1, v.data(), out.data());
    EXPECT_EQ(out, (vector{1.0, 2.0, 3.0, 0.0}));
}

TEST(vector_lib, correlation_by_hand_and_without_lags) {
    const vector a = {1.0, 2.0, 0.0, 0.0}, b = {0.0, 1.0, 2.0, 0.0};
    vector out(4, 9.0);
    Convolution(4, -1, 1, a.data(), b.data(), out.data());
    EXPECT_EQ(out, (vector{0.0, 0.0, 2.0, 5.0})); // lag 1: a moved right by one meets b
    Convolution(4, 1, 0, a.data(), b.data(), out.data());
    EXPECT_EQ(out, (vector{0.0, 0.0, 0.0, 0.0}));
    Convolution(4, -1000, 1000, a.data(), b.data(), out.data()); // outside the vector: left out
    EXPECT_EQ(out[3], 5.0);
}

TEST(vector_lib, spectrum_of_an_impulse_is_half_over_n) {
    double table[256];
    for (int n : {2, 8, 1024}) {
        create_lookup(table, n, 1);
        vector re(static_cast<std::size_t>(n)), im(re);
        re[0] = 1.0;
        Calculate_Spectrum(n, re.data(), im.data(), table);
        for (double x : re) EXPECT_EQ(x, 0.5 / n);
        for (double x : im) EXPECT_EQ(x, 0.0);
    }
}

// A single point m of the time domain has the spectrum exp(-2 pi i m (k - n/2) / n).
TEST(vector_lib, truncation_takes_the_points_from_its_place_on) {
    static constexpr int n = 16;
    double table[256];
    create_lookup(table, n, 1);
    for (int m = 0; m < n; ++m)
        for (int trunc = -1; trunc <= n; ++trunc) {
            vector re(n), im(n);
            for (int k = 0; k < n; ++k) {
                const double angle = -2.0 * std::numbers::pi * m * (k - n / 2) / n;
                re[static_cast<std::size_t>(k)] = std::cos(angle);
                im[static_cast<std::size_t>(k)] = std::sin(angle);
            }
            const vector was_re = re, was_im = im;
            Truncate_Spectrum(n, trunc, re.data(), im.data(), table);
            const double left = m < trunc ? 1.0 : 0.0;
            for (std::size_t k = 0; k < n; ++k) { // some roundings of 1
                ASSERT_NEAR(re[k], left * was_re[k], 1e-14) << m << ' ' << trunc;
                ASSERT_NEAR(im[k], left * was_im[k], 1e-14) << m << ' ' << trunc;
            }
        }
}

TEST(vector_lib, phase_correction_takes_a_phase_off_and_prints_by_level) {
    vector re = {0.0, 0.0, 0.0, 0.0}, im = {1.0, 1.0, 1.0, 1.0};
    const std::string silent =
        support::stdout_of([&] { Correct_Zo_Phase(0, 4, 90.0, 360.0, re.data(), im.data()); });
    EXPECT_EQ(silent, "");
    // i at 90 degrees less is 1; each point a quarter turn further back
    const double wanted_re[] = {1.0, 0.0, -1.0, 0.0}, wanted_im[] = {0.0, -1.0, 0.0, 1.0};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(re[i], wanted_re[i], 1e-15);
        EXPECT_NEAR(im[i], wanted_im[i], 1e-15);
    }
    const std::string said =
        support::stdout_of([&] { Correct_Zo_Phase(1, 4, 12.5, 0.0, re.data(), im.data()); });
    EXPECT_EQ(said, "correcting zero  order phase [degrees]      : 1.250000E+01 \n"
                    "correcting first order phase [degrees]      : 0.000000E+00 \n");
}

TEST(fft, exchanges_halves_of_the_output_and_by_order_of_the_input) {
    double table[256];
    create_lookup(table, 4, 1);
    vector re = {1.0, 0.0, 0.0, 0.0}, im(4);
    fft(4, re.data(), im.data(), table, 0, 1);
    EXPECT_EQ(re, (vector{1.0, 1.0, 1.0, 1.0}));
    re = {0.0, 1.0, 0.0, 0.0};
    fft(4, re.data(), im.data(), table, 0, 1); // exp(-i pi j / 2), j = 2, 3, 0, 1
    const double wanted[] = {-1.0, 0.0, 1.0, 0.0}, wanted_im[] = {0.0, 1.0, 0.0, -1.0};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(re[i], wanted[i], 1e-15);
        EXPECT_NEAR(im[i], wanted_im[i], 1e-15);
    }
    re = {0.0, 0.0, 1.0, 0.0};
    im.assign(4, 0.0);
    fft(4, re.data(), im.data(), table, 1, 0); // the halves of the input first: an impulse at 0
    EXPECT_EQ(re, (vector{0.25, 0.25, 0.25, 0.25}));
}

TEST(fft, table_holds_one_pair_per_stage) {
    double table[256] = {};
    create_lookup(table, 8, 1);
    EXPECT_DOUBLE_EQ(table[0], -1.0);            // sin(-pi / 2)
    EXPECT_NEAR(table[1], 0.0, 1e-15);           // sin(-pi)
    EXPECT_DOUBLE_EQ(table[2], -std::sqrt(0.5)); // sin(-pi / 4)
    EXPECT_DOUBLE_EQ(table[3], -1.0);
    EXPECT_DOUBLE_EQ(table[5], -std::sqrt(0.5));
    EXPECT_EQ(table[6], 0.0); // three stages for eight points
    create_lookup(table, 2, 0);
    EXPECT_DOUBLE_EQ(table[0], 1.0);
    double untouched[2] = {5.0, 5.0};
    create_lookup(untouched, 1, 1);
    create_lookup(untouched, 0, 1);
    create_lookup(untouched, -4, 1);
    EXPECT_EQ(untouched[0], 5.0);
}

TEST(fft, leaves_a_length_alone_that_is_no_power_of_two) {
    double data[6] = {1.0, 2.0, 3.0, 4.0, 5.0, 6.0}, table[256] = {};
    four2(data, table, 3, 1);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(data[i], i + 1.0);
    EXPECT_TRUE(is_power_of_two(1));
    EXPECT_TRUE(is_power_of_two(1 << 24));
    for (int n : {0, -1, -8, 3, 1000}) EXPECT_FALSE(is_power_of_two(n)) << n;
}

TEST(phase_correction, turns_a_signal_of_that_phase_into_a_real_one) {
    for (const double phase : {-170.0, -30.0, 0.5, 45.0, 120.0}) {
        const double theta = phase * std::numbers::pi / 180.0;
        std::vector<double> re(8, 2.0 * std::cos(theta)), im(8, 2.0 * std::sin(theta));
        Correct_Zo_Phase(0, 8, phase, 0.0, re.data(), im.data());
        for (std::size_t i = 0; i < 8; ++i) {
            EXPECT_NEAR(re[i], 2.0, 1e-14);
            EXPECT_NEAR(im[i], 0.0, 1e-14);
        }
        // a first-order phase grows from 0 at point 0 to that value at the end of the band
        for (std::size_t i = 0; i < 8; ++i) {
            const double turn = theta * static_cast<double>(i) / 8.0;
            re[i] = std::cos(turn);
            im[i] = std::sin(turn);
        }
        Correct_Zo_Phase(0, 8, 0.0, phase, re.data(), im.data());
        for (std::size_t i = 0; i < 8; ++i) EXPECT_NEAR(im[i], 0.0, 1e-14);
    }
}
