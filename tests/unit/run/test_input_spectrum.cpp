// SPDX-License-Identifier: BSD-3-Clause
#include "run/input_spectrum.h"

#include "model/fft.h"
#include "run/state.h"
#include "run/storage.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <numbers>
#include <vector>

using std::vector;

// A signal of `stored` points, point i is (i, -2 i), read by a run of `points` with a noise window.
static void read_ramp(const support::temporary_folder &folder, int stored, int points, int from,
                      int to) {
    support::reset_state();
    vector<double> re, im;
    for (int i = 0; i < stored; ++i) {
        re.push_back(i);
        im.push_back(-2.0 * i);
    }
    support::write_signal(folder.file("ramp"), re, im);
    std::snprintf(path, sizeof path, "%s/", folder.name().c_str());
    std::snprintf(sdffnm, sizeof sdffnm, "ramp");
    ap = points;
    noise_strt = from;
    noise_stop = to;
    sigma = 0.25;
    allocate_parameter_arrays(nLines, lsf_coefs, n_patterns);
    allocate_memory(ap);
    create_lookup(lookup, ap, 1);
    InputSpectrumToFit(xre, xim);
}

TEST(noise, is_the_standard_deviation_over_the_window_without_its_end) {
    const support::temporary_folder folder;
    read_ramp(folder, 16, 16, 4, 8); // 4 5 6 7: mean 5.5, variance 1.25
    EXPECT_EQ(ap_noise, 4);
    EXPECT_DOUBLE_EQ(sigma, std::sqrt(1.25));
    EXPECT_DOUBLE_EQ(sigma_im, 2.0 * std::sqrt(1.25));
}

TEST(noise, of_an_empty_window_is_1_and_0) {
    const support::temporary_folder folder;
    read_ramp(folder, 16, 16, 8, 8);
    EXPECT_EQ(sigma, 1.0);
    EXPECT_EQ(sigma_im, 0.0);
}

TEST(noise, of_one_point_is_the_point_behind_the_fitted_ones) {
    const support::temporary_folder folder;
    read_ramp(folder, 16, 8, 11, 12);
    EXPECT_EQ(ap_noise, 1);
    EXPECT_EQ(sigma, 8.0);
    EXPECT_EQ(sigma_im, 16.0);
}

TEST(noise, of_one_point_without_a_point_behind_is_the_windows_own) {
    const support::temporary_folder folder;
    read_ramp(folder, 8, 8, 3, 4);
    EXPECT_EQ(sigma, 3.0);
    EXPECT_EQ(sigma_im, 6.0);
}

TEST(noise, of_an_inverted_window_is_the_root_of_what_was_there) {
    const support::temporary_folder folder;
    read_ramp(folder, 16, 16, 9, 5);
    EXPECT_EQ(ap_noise, -4);
    EXPECT_EQ(sigma, 0.5);
}

TEST(noise, of_a_window_that_begins_before_the_signal_is_of_its_points_in_it) {
    const support::temporary_folder folder;
    read_ramp(folder, 16, 16, -5, 4); // 0 1 2 3
    EXPECT_EQ(ap_noise, 9);
    EXPECT_DOUBLE_EQ(sigma, std::sqrt(1.25));
    EXPECT_DOUBLE_EQ(sigma_im, 2.0 * std::sqrt(1.25));
}

TEST(noise, window_may_lie_behind_the_fitted_points) {
    const support::temporary_folder folder;
    read_ramp(folder, 16, 8, 12, 16); // 12 13 14 15
    EXPECT_DOUBLE_EQ(sigma, std::sqrt(1.25));
    EXPECT_EQ(xre[15], 15.0);
    EXPECT_EQ(xim[15], -30.0);
}

TEST(input, says_its_numbers_when_asked) {
    const support::temporary_folder folder;
    read_ramp(folder, 16, 16, 4, 8);
    verbose = 1;
    EXPECT_EQ(support::stdout_of([] { InputSpectrumToFit(xre, xim); }),
              "number of complex data  points             : 16\n"
              "number of complex noise points             : 4\n"
              "standard deviation absorption              : 1.11803\n"
              "standard deviation dispersion              : 2.23607\n");
}

TEST(input, keeps_a_copy_before_leading_points_are_removed) {
    const support::temporary_folder folder;
    read_ramp(folder, 16, 16, 4, 8);
    ignore = 3;
    InputSpectrumToFit(xre, xim);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(shifted_xre[i], i);
    EXPECT_NE(xre[7], 7.0);
}

// The spectrum of an FID is S = 1/n sum fid[k] exp(-2 pi i j k / n), rotated by n/2; what is left
// must be the spectrum of the FID without its first points.
TEST(leading_points, are_zero_in_the_time_domain_afterwards) {
    constexpr int n = 16;
    support::random_numbers random(3);
    vector<std::complex<double>> fid(n);
    for (auto &z : fid) z = {random.normal(), random.normal()};
    double table[64] = {};
    create_lookup(table, n, 1);
    const auto spectrum = [&](int first, vector<double> &re, vector<double> &im) {
        re.assign(n, 0.0);
        im.assign(n, 0.0);
        for (int j = 0; j < n; ++j) {
            for (int k = first; k < n; ++k) {
                const std::complex<double> z =
                    fid[static_cast<std::size_t>(k)] *
                    std::polar(1.0, -2.0 * std::numbers::pi * (j + n / 2.0) * k / n);
                re[static_cast<std::size_t>(j)] += z.real() / n;
                im[static_cast<std::size_t>(j)] += z.imag() / n;
            }
        }
    };
    for (const int removed : {1, 2, 5, n, n + 3}) {
        vector<double> re, im, wanted_re, wanted_im;
        spectrum(0, re, im);
        spectrum(std::min(removed, n), wanted_re, wanted_im);
        update_spectrum(n, removed, re.data(), im.data(), table);
        for (std::size_t j = 0; j < n; ++j) {
            EXPECT_NEAR(re[j], wanted_re[j], 1e-14) << removed << " of point " << j;
            EXPECT_NEAR(im[j], wanted_im[j], 1e-14) << removed << " of point " << j;
        }
    }
}
