// SPDX-License-Identifier: BSD-3-Clause
#include "model/gradient.h"

#include "model/objective.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

// Gaussian, Lorentzian and Voigt lines without links, everything switched on, weights everywhere.
static void make_free_lines() {
    support::random_numbers random(51);
    support::make_random_model(random, {.points = 64, .lines = 3, .links = false});
    for (int i = 0; i < npar; ++i) {
        fixpar[i].type = 3;
        fixpar[i].fixed_to = 0;
        fixpar[i].value = par[i];
    }
    for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 1.0;
    amp_fit = freq_fit = width_fit = phase_fit = voigt_fit = 1;
}

static std::vector<double> gradient_of_par() {
    std::vector<double> g(static_cast<std::size_t>(npar + 2 * lsf_coefs), 9.0);
    const double f0 = chi_square_of(par);
    dfnc(f0, par, g.data());
    return g;
}

TEST(gradient, of_switched_off_groups_is_zero) {
    for (int kind = 0; kind < 5; ++kind) {
        make_free_lines();
        int *const switches[] = {&amp_fit, &freq_fit, &width_fit, &phase_fit, &voigt_fit};
        *switches[kind] = 0;
        const std::vector<double> g = gradient_of_par();
        for (std::size_t i = 0; i < g.size(); ++i) {
            if (static_cast<int>(i) % 5 == kind)
                EXPECT_EQ(g[i], 0.0);
            else
                EXPECT_NE(g[i], 0.0);
        }
    }
}

TEST(gradient, of_fixed_and_dependent_parameters_is_zero) {
    make_free_lines();
    fixpar[6].fixed_to = 2;
    fixpar[8].fixed_to = 1;
    const std::vector<double> g = gradient_of_par();
    EXPECT_EQ(g[6], 0.0);
    EXPECT_EQ(g[8], 0.0);
    EXPECT_NE(g[5], 0.0);
}

// Central differences of the chi-square, whichever parameters are fitted beside one: with area and
// phase switched off the curve of an entry is not made for them.
TEST(gradient, is_the_slope_of_the_chi_square_whatever_else_is_fitted) {
    for (const int others : {1, 0})
        for (int kind = 0; kind < 5; ++kind) {
            make_free_lines();
            int *const switches[] = {&amp_fit, &freq_fit, &width_fit, &phase_fit, &voigt_fit};
            for (int other = 0; other < 5; ++other) *switches[other] = other == kind ? 1 : others;
            const std::vector<double> g = gradient_of_par();
            for (int i = kind; i < npar; i += 5) {
                const double before = par[i], h = 1e-5 * std::max(std::fabs(before), 1.0);
                par[i] = before + h;
                const double above = chi_square_of(par);
                par[i] = before - h;
                const double below = chi_square_of(par);
                par[i] = before;
                const double slope = (above - below) / (2.0 * h);
                // one-sided steps of 1e-7 of the parameter
                EXPECT_NEAR(g[static_cast<std::size_t>(i)], slope, 1e-4 * std::fabs(slope) + 1e-6)
                    << "kind " << kind << ", others " << others << ", parameter " << i;
            }
        }
}

TEST(gradient, steps_a_parameter_at_zero_to_a_ten_millionth) {
    make_free_lines();
    par[3] = 0.0;
    const std::vector<double> g = gradient_of_par();
    std::vector<double> stepped(par, par + npar);
    stepped[3] = 1e-7;
    const double f0 = chi_square_of(par);
    const double f1 = chi_square_of(stepped.data());
    // the difference quotient of two sums of about f0: 1e-16 of it over 1e-7
    EXPECT_NEAR(g[3], (f1 - f0) * 1e7, 20.0 * 1.1e-16 * f0 * 1e7);
}

TEST(gradient, of_a_line_that_starts_where_there_is_no_weight_is_zero) {
    make_free_lines();
    fixpar[1].value = 10.9; // point 10
    wre[10] = wim[10] = 0.0;
    wre[11] = 1.0;
    std::vector<double> g = gradient_of_par();
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(g[i], 0.0);
    wre[10] = wim[10] = 1.0;
    g = gradient_of_par();
    for (std::size_t i = 0; i < 5; ++i) EXPECT_NE(g[i], 0.0);
    wre[10] = 2.0; // counts, but is not a box weight
    g = gradient_of_par();
    EXPECT_EQ(g[0], 0.0);
}

TEST(gradient, of_a_line_that_starts_outside_the_points_is_zero) {
    for (double start : {-1.0, 64.0, 1e300, -1e300, static_cast<double>(NAN)}) {
        make_free_lines();
        fixpar[6].value = start;
        const std::vector<double> g = gradient_of_par();
        EXPECT_EQ(g[5], 0.0) << start;
        EXPECT_NE(g[0], 0.0);
    }
    make_free_lines();
    fixpar[6].value = -0.9; // towards zero: point 0
    EXPECT_NE(gradient_of_par()[5], 0.0);
}

TEST(gradient, without_a_model_is_zero_and_the_report_is_printed) {
    make_free_lines();
    spec = 0;
    verbose = 1;
    std::vector<double> g;
    const std::string said = support::stdout_of([&] { g = gradient_of_par(); });
    for (double x : g) EXPECT_EQ(x, 0.0);
    EXPECT_NE(said.find("scaled chi-sqr                              : "), std::string::npos);
}

TEST(gradient, counts_a_chi_square_that_is_not_that_of_the_vector) {
    make_free_lines();
    const double f0 = chi_square_of(par);
    std::vector<double> right(15), wrong(15);
    dfnc(f0, par, right.data());
    dfnc(f0 - 1e-3, par, wrong.data());
    for (std::size_t i = 0; i < 15; ++i) {
        const double h = par[i] / deriv_p;
        EXPECT_NEAR(wrong[i] - right[i], 1e-3 / h, 1e-6 * std::fabs(1e-3 / h));
    }
}

TEST(gradient, prints_the_followed_line_at_2_and_all_at_3) {
    make_free_lines();
    show_line = 2;
    verbose = 2;
    std::string said = support::stdout_of([] { gradient_of_par(); });
    EXPECT_NE(said.find("Gradient # 5 : "), std::string::npos);
    EXPECT_NE(said.find("  \t| Amplitude        : "), std::string::npos);
    EXPECT_NE(said.find("   \t| Lorentzian width : "), std::string::npos);
    EXPECT_EQ(said.find("Function value"), std::string::npos);
    for (int outside : {0, -1, 4, 1000}) {
        show_line = outside;
        said = support::stdout_of([] { gradient_of_par(); });
        EXPECT_EQ(said.find("Gradient # "), std::string::npos) << outside;
    }
    verbose = 3;
    said = support::stdout_of([] { gradient_of_par(); });
    EXPECT_NE(said.find("\n\nFunction value             : "), std::string::npos);
    EXPECT_NE(said.find("Gradient #0 : "), std::string::npos);
    EXPECT_NE(said.find("Gradient #14 : "), std::string::npos);
    EXPECT_EQ(said.find("Gradient #15 : "), std::string::npos);
}
