// SPDX-License-Identifier: BSD-3-Clause
#include "errors/ncr_mvb.h"

#include "errors/error_bounds.h"
#include "model/objective.h"
#include "oracle/plain_fit.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

static void make_lines(int lines, bool links = false) {
    support::random_numbers random(91);
    support::make_random_model(random,
                               {.points = 128, .lines = lines, .links = links, .separated = true});
    for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 1.0;
    chi_square_of(par);
}

TEST(ncr_mvb, area_of_a_single_line_by_its_formula) {
    // One undamped... one free area: F = sum |Y/A|^2 over all points, by Parseval the mean of the
    // squared envelope with the first point at a quarter, over n.
    make_lines(1);
    for (int i = 0; i < 5; ++i) fixpar[i] = {2, i == 0 ? 0 : 1, par[i], 0.0, 0.0};
    const double L = par[4];
    sigma = 0.25;
    double fisher = 0.25;
    for (int n = 1; n < ap; ++n) fisher += std::exp(-2.0 * std::numbers::pi * L * n / ap);
    fisher /= ap;
    support::stdout_of([] { compute_error_bounds(); });
    EXPECT_NEAR(errpar[0], 2.0 * 0.25 / std::sqrt(fisher), 1e-6 * errpar[0]);
    for (int i = 1; i < 5; ++i) EXPECT_EQ(errpar[i], 0.0);
    EXPECT_EQ(nfitted, 1);
}

TEST(ncr_mvb, says_channel_and_number_of_parameters) {
    const char *const channel[] = {"absorption channal case", "dispersion channal case",
                                   "complex case", "absorption channal case",
                                   "absorption channal case"};
    for (int mode = 0; mode <= 4; ++mode) {
        make_lines(1);
        complex = mode;
        char wanted[200];
        int free = 0;
        for (int i = 0; i < npar; ++i) free += fixpar[i].fixed_to == 0 ? 1 : 0;
        std::snprintf(wanted, sizeof wanted,
                      "calculating errors for %s ...\n"
                      "number of parameters fitted                 : %5d\n",
                      channel[mode], free);
        EXPECT_EQ(support::stdout_of([] { compute_error_bounds(); }), wanted);
    }
}

TEST(ncr_mvb, nothing_free_gives_zeros) {
    make_lines(2);
    for (int i = 0; i < npar; ++i) {
        fixpar[i].fixed_to = i / 5 + 1;
        errpar[i] = 7.0;
    }
    const std::string said = support::stdout_of([] { compute_error_bounds(); });
    EXPECT_NE(said.find("fitted                 :     0\n"), std::string::npos);
    for (int i = 0; i < npar; ++i) EXPECT_EQ(errpar[i], 0.0);
    EXPECT_EQ(nfitted, 0);
}

TEST(ncr_mvb, weights_only_select_points) {
    make_lines(2);
    support::stdout_of([] { compute_error_bounds(); });
    const std::vector<double> ones(errpar, errpar + npar);
    for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 2.0;
    support::stdout_of([] { compute_error_bounds(); });
    EXPECT_EQ(ones, std::vector<double>(errpar, errpar + npar));
    for (int i = 0; i < ap / 2; ++i) wre[i] = wim[i] = 0.0;
    support::stdout_of([] { compute_error_bounds(); });
    EXPECT_GT(errpar[0], ones[0]); // fewer points, larger bounds
}

TEST(ncr_mvb, dependent_area_has_the_error_scaled_by_the_ratio) {
    make_lines(2);
    fixpar[5].fixed_to = 1;
    fixpar[6].fixed_to = 1;
    chi_square_of(par);
    support::stdout_of([] { compute_error_bounds(); });
    EXPECT_DOUBLE_EQ(errpar[5], errpar[0] * par[5] / par[0]);
    EXPECT_EQ(errpar[6], errpar[1]);
}

TEST(ncr_mvb, parameter_at_zero_is_stepped_by_a_ten_millionth) {
    make_lines(1);
    par[3] = 0.0;
    std::vector<double> re(static_cast<std::size_t>(ap)), im(re);
    f_new_complex_select(ap, 3, npar, par, re.data(), im.data(), nLines, td_ap_trunc, npar,
                         par_copy, fixpar, xre, xim, yre, yim, wre, wim, re_ref, im_ref, r_lsf,
                         i_lsf, frscl, phi_1, n_patterns, pat, spec, complex, weighting_type,
                         single_line, lsf_coefs, ref_line, fit_lsf, lookup, ignore);
    EXPECT_EQ(par[3], 0.0);
    chi_square_of(par);
    // d/dphi of Y is i pi/180 Y; half a step of 1e-7 degrees is nothing, rounding is 1e-16/1e-7
    for (std::size_t k = 0; k < re.size(); ++k) {
        EXPECT_NEAR(re[k], -std::numbers::pi / 180.0 * yim[k], 1e-9);
        EXPECT_NEAR(im[k], std::numbers::pi / 180.0 * yre[k], 1e-9);
    }
}

TEST(ncr_mvb, unused_free_width_makes_all_bounds_no_numbers) {
    make_lines(2);
    for (int i = 0; i < 10; ++i) fixpar[i].type = 2;
    fixpar[2].fixed_to = 0; // a Lorentzian's Gaussian width
    fixpar[4].fixed_to = 0;
    const std::string said = support::stdout_of([] { compute_error_bounds(); });
    EXPECT_NE(said.find("pause 2 in GAUSSJ - Singular matrix \n"), std::string::npos);
    EXPECT_FALSE(std::isfinite(errpar[0]));
}

// Derivatives by forward differences err by 1e-7, twice the same way in both: what is left is
// rounding, 1e-9 of a derivative, times the conditioning of the problem (below 100 here).
TEST(ncr_mvb, equals_the_definition_with_four_models_per_element) {
    for (bool links : {false, true}) {
        make_lines(3, links);
        sigma = 0.3;
        std::vector<double> plain_errors(static_cast<std::size_t>(npar));
        plain::error_bounds(par, plain_errors.data());
        chi_square_of(par);
        support::stdout_of([] { compute_error_bounds(); });
        for (int i = 0; i < npar; ++i) {
            const double wanted = plain_errors[static_cast<std::size_t>(i)];
            EXPECT_NEAR(errpar[i], wanted, 1e-6 * wanted) << i;
        }
    }
}
