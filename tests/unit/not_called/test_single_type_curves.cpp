// SPDX-License-Identifier: BSD-3-Clause
#include "not_called/single_type_curves.h"

#include "model/fft.h"
#include "model/l_shapes.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

typedef std::vector<double> vector;
typedef void (*point_function)(const double &nu, const double *a, double &y, double *dyda,
                               const int &n_lines);

// Two lines: amplitude, frequency, width.
static const double two_lines[6] = {2.0, 10.0, 3.0, -0.5, 12.5, 1.5};

TEST(gaussian_lines, add_up_to_their_exponentials) {
    double y = 9.0, slopes[6];
    fgauss(11.0, two_lines, y, slopes, 2);
    EXPECT_DOUBLE_EQ(y, 2.0 * std::exp(-1.0 / 9.0) - 0.5 * std::exp(-1.0));
}

TEST(gaussian_lines, count_next_to_nothing_beyond_282_hundredths_of_a_width) {
    const double line[3] = {4.0, 0.0, 1.0};
    double y = 0.0, slopes[3];
    fgauss(2.82, line, y, slopes, 1);
    EXPECT_DOUBLE_EQ(y, 4.0 * std::exp(-2.82 * 2.82));
    for (const double nu : {2.8200001, -2.8200001}) {
        fgauss(nu, line, y, slopes, 1);
        EXPECT_EQ(y, 4e-25);
        EXPECT_EQ(slopes[0], 1e-25);
        EXPECT_DOUBLE_EQ(slopes[1], 8e-25 * nu);
        EXPECT_DOUBLE_EQ(slopes[2], 8e-25 * nu * nu);
    }
}

TEST(lorentzian_lines, have_half_height_one_width_away) {
    double y = 9.0, slopes[6];
    const double line[3] = {4.0, 20.0, 2.5};
    florentz(20.0, line, y, slopes, 1);
    EXPECT_EQ(y, 4.0);
    florentz(22.5, line, y, slopes, 1);
    EXPECT_EQ(y, 2.0);
    florentz(11.0, two_lines, y, slopes, 2);
    EXPECT_DOUBLE_EQ(y, 2.0 / (1.0 + 1.0 / 9.0) - 0.5 / 2.0);
}

// Central differences with a step of 1e-5: their error is 1e-10 times a third derivative of about
// 1, and 1e-16 / 1e-5 of rounding.
TEST(lines_by_points, have_the_derivatives_of_their_sum) {
    for (const point_function f : {fgauss, florentz}) {
        for (const double nu : {8.0, 10.0, 11.0, 13.0}) {
            double y = 0.0, slopes[6], unused[6];
            f(nu, two_lines, y, slopes, 2);
            for (int j = 0; j < 6; ++j) {
                double a[6], up = 0.0, down = 0.0;
                for (int i = 0; i < 6; ++i) a[i] = two_lines[i];
                a[j] = two_lines[j] + 1e-5;
                f(nu, a, up, unused, 2);
                a[j] = two_lines[j] - 1e-5;
                f(nu, a, down, unused, 2);
                EXPECT_NEAR(slopes[j], (up - down) / 2e-5, 1e-9) << nu << " by parameter " << j;
            }
        }
    }
}

TEST(lines_by_points, without_a_line_are_zero) {
    for (const point_function f : {fgauss, florentz}) {
        double y = 9.0;
        f(1.0, nullptr, y, nullptr, 0);
        EXPECT_EQ(y, 0.0);
    }
}

TEST(curves_by_points, hold_one_line_from_point_0_on) {
    double gauss[8], lorentz[8];
    CalculateGaussCurve(8, 3.0, 2.0, 4.0, gauss);
    CalculateLorentzCurve(8, 3.0, 2.0, 4.0, lorentz);
    for (int i = 0; i < 8; ++i) {
        const double x = (i - 2.0) / 4.0;
        EXPECT_DOUBLE_EQ(gauss[i], 3.0 * std::exp(-x * x)) << i;
        EXPECT_DOUBLE_EQ(lorentz[i], 3.0 / (1.0 + x * x)) << i;
    }
}

// A delay, a phase, a truncation and ignored points: every argument must arrive in its place.
struct both_curves {
    static constexpr int n = 32;
    vector re = vector(n, 9.0), im = re, voigt_re = re, voigt_im = re;
    void expect_equal() const {
        EXPECT_EQ(re, voigt_re);
        EXPECT_EQ(im, voigt_im);
        double size = 0.0;
        for (double v : re) size += std::fabs(v);
        EXPECT_GT(size, 0.1);
    }
};

TEST(single_type_curves, are_voigt_curves_with_one_width) {
    constexpr int n = both_curves::n;
    const int flags[3] = {0, 0, 1};
    double table[64];
    create_lookup(table, n, 1);
    support::random_numbers random(5);
    vector ref_re, ref_im, lsf_re, lsf_im;
    for (int i = 0; i < n; ++i)
        for (vector *v : {&ref_re, &ref_im, &lsf_re, &lsf_im}) v->push_back(random.normal());
    const double *const a = ref_re.data(), *const b = ref_im.data();
    const double *const c = lsf_re.data(), *const d = lsf_im.data();

    both_curves gauss_td, gauss_fd, lorentz_td, lorentz_fd;
    Calculate_td_GaussCurve(2, n, 20, 1, flags, 3, 2.0, 5.3, 1.4, 40.0, 90.0, gauss_td.re.data(),
                            gauss_td.im.data(), a, b, c, d, 0.9, table, 2);
    Calculate_td_VoigtCurve(2, n, 20, 1, flags, 3, 2.0, 5.3, 1.4, 40.0, 0.0, 90.0,
                            gauss_td.voigt_re.data(), gauss_td.voigt_im.data(), a, b, c, d, 0.9,
                            table, 2);
    gauss_td.expect_equal();
    Calculate_ifft_GaussCurve(2, n, 20, 1, flags, 3, 2.0, 5.3, 1.4, 40.0, 90.0, gauss_fd.re.data(),
                              gauss_fd.im.data(), a, b, c, d, 0.9, table, 2);
    Calculate_ifft_VoigtCurve(2, n, 20, 1, flags, 3, 2.0, 5.3, 1.4, 40.0, 0.0, 90.0,
                              gauss_fd.voigt_re.data(), gauss_fd.voigt_im.data(), a, b, c, d, 0.9,
                              table, 2);
    gauss_fd.expect_equal();
    Calculate_td_Lorentz_Curve(2, n, 20, 1, flags, 3, 2.0, 5.3, 40.0, 1.7, 90.0,
                               lorentz_td.re.data(), lorentz_td.im.data(), a, b, c, d, 0.9, table,
                               2);
    Calculate_td_VoigtCurve(2, n, 20, 1, flags, 3, 2.0, 5.3, 0.0, 40.0, 1.7, 90.0,
                            lorentz_td.voigt_re.data(), lorentz_td.voigt_im.data(), a, b, c, d, 0.9,
                            table, 2);
    lorentz_td.expect_equal();
    Calculate_ifft_LorentzCurve(2, n, 20, 1, flags, 3, 2.0, 5.3, 40.0, 1.7, 90.0,
                                lorentz_fd.re.data(), lorentz_fd.im.data(), a, b, c, d, 0.9, table,
                                2);
    Calculate_ifft_VoigtCurve(2, n, 20, 1, flags, 3, 2.0, 5.3, 0.0, 40.0, 1.7, 90.0,
                              lorentz_fd.voigt_re.data(), lorentz_fd.voigt_im.data(), a, b, c, d,
                              0.9, table, 2);
    lorentz_fd.expect_equal();
}
