// SPDX-License-Identifier: BSD-3-Clause
#include "minimize/frprmn.h"

#include "model/objective.h"
#include "oracle/plain_fit.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

// Data are the model of known values plus a little noise; par starts off.
static void make_fit(double noise_sd = 0.0, int lines = 2) {
    support::random_numbers random(61);
    support::make_random_model(random,
                               {.points = 128, .lines = lines, .links = false, .separated = true});
    for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 1.0;
    chi_square_of(par);
    for (int i = 0; i < ap; ++i) {
        xre[i] = yre[i] + noise_sd * random.normal();
        xim[i] = yim[i] + noise_sd * random.normal();
    }
    amp_fit = freq_fit = width_fit = phase_fit = voigt_fit = 1;
    itmax = 200;
    ftol = 1e-14;
}

// The one-sided difference puts the zero of the gradient half a step, 5e-8 of a parameter, beside
// the minimum; along the valley of the two widths of a Voigt line (condition 1e4) that is 1e-3.
TEST(frprmn, finds_the_values_behind_noise_free_data) {
    make_fit();
    const std::vector<double> truth(par, par + npar);
    for (int i = 0; i < npar; ++i)
        if (fixpar[i].fixed_to == 0) par[i] += i % 5 == freq_par ? 0.2 : 0.05 * par[i];
    frprmn(npar, par);
    for (int i = 0; i < npar; ++i)
        EXPECT_NEAR(par[i], truth[static_cast<std::size_t>(i)],
                    2e-3 * (1.0 + std::fabs(truth[static_cast<std::size_t>(i)])))
            << i;
    EXPECT_LT(minimum, 1e-7);
    EXPECT_GT(niter, 3);
    EXPECT_EQ(ncom, npar);
}

TEST(frprmn, without_iterations_changes_nothing_and_says_so_at_2) {
    make_fit(0.01);
    par[0] *= 1.2;
    const std::vector<double> before(par, par + npar);
    for (int limit : {0, -1}) {
        itmax = limit;
        niter = 77;
        verbose = 2;
        const std::string said = support::stdout_of([] { frprmn(npar, par); });
        EXPECT_EQ(before, std::vector<double>(par, par + npar));
        EXPECT_NE(said.find("pause in void frprmn: \ntoo many iterations \n\n"), std::string::npos);
        EXPECT_EQ(niter, 77);
    }
}

TEST(frprmn, announces_each_iteration_at_2_and_not_at_1) {
    make_fit(0.01);
    par[0] *= 1.2;
    itmax = 2;
    ftol = 0.0;
    verbose = 2;
    std::string said = support::stdout_of([] { frprmn(npar, par); });
    EXPECT_NE(said.find("\nfrprmn iteration step 1 of maximum 2 allowed steps \n"),
              std::string::npos);
    EXPECT_NE(said.find("\nfrprmn iteration step 2 of maximum 2 allowed steps \n"),
              std::string::npos);
    make_fit(0.01);
    verbose = 1;
    itmax = 2;
    said = support::stdout_of([] { frprmn(npar, par); });
    EXPECT_EQ(said.find("iteration step"), std::string::npos);
}

TEST(frprmn, brent_without_iterations_is_said) {
    make_fit(0.01);
    par[0] *= 1.2;
    itmax = 1;
    brent_itmax = 0;
    verbose = 2;
    const std::string said = support::stdout_of([] { frprmn(npar, par); });
    EXPECT_NE(said.find("Too many iterations in double brent\n"), std::string::npos);
}

// The eight widths of four lines on noise that they are far too strong for: without a line the
// chi-square is smaller, so the search walks to the end of its direction. That step is taken, being
// finite, and the next iteration finds nothing left to do; to refuse it repeats the walk until the
// iterations are used up, with the lines where they were.
TEST(frprmn, takes_every_finite_step_of_widths_on_noise) {
    const auto start = [] {
        support::random_numbers random(3);
        support::make_random_model(random,
                                   {.points = 128, .lines = 4, .links = false, .separated = true});
        for (int i = 0; i < ap; ++i) {
            wre[i] = wim[i] = 1.0;
            xre[i] = random.normal();
            xim[i] = random.normal();
        }
        for (int k = 0; k < nLines; ++k) par[5 * k + area_par] *= 100.0;
        width_fit = voigt_fit = 1;
        amp_fit = freq_fit = phase_fit = 0;
        itmax = 200;
        ftol = 1e-7;
    };
    start();
    const double before = chi_square_of(par);
    frprmn(npar, par);
    EXPECT_EQ(niter, 2);
    EXPECT_LT(minimum, 0.03 * before);
    double largest = 0.0;
    for (int i = 0; i < npar; ++i) {
        EXPECT_TRUE(std::isfinite(par[i])) << i;
        largest = std::max(largest, std::fabs(par[i]));
    }
    EXPECT_GT(largest, 1e100);
    const double ours = minimum;
    start();
    plain::frprmn(npar, par);
    EXPECT_EQ(niter, 2);
    EXPECT_NEAR(ours, minimum, 1e-9 * minimum);
}

TEST(frprmn, with_nothing_to_move_ends_and_leaves_finite_values) {
    make_fit(0.01);
    for (int i = 0; i < npar; ++i) fixpar[i].fixed_to = i / 5 + 1;
    const std::vector<double> before(par, par + npar);
    frprmn(npar, par);
    EXPECT_EQ(before, std::vector<double>(par, par + npar));
}

TEST(frprmn, without_weights_ends_and_leaves_finite_values) {
    make_fit(0.01);
    for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 0.0;
    const std::vector<double> before(par, par + npar);
    frprmn(npar, par);
    EXPECT_EQ(before, std::vector<double>(par, par + npar));
    EXPECT_EQ(minimum, 0.0);
}

TEST(frprmn, on_data_that_are_no_numbers_keeps_the_parameters_finite) {
    make_fit(0.01);
    xre[20] = NAN;
    frprmn(npar, par);
    for (int i = 0; i < npar; ++i) EXPECT_TRUE(std::isfinite(par[i])) << i;
}

// Two evaluations that are equally right differ by 1e-16 in a chi-square and by 1e-9 in a
// difference gradient; over five iterations that grows to about 1e-7 of a parameter, and to some
// 1e-6 where two widths of a line can make up for each other (Voigt). The chi-square, flat there,
// agrees better.
TEST(frprmn, takes_the_way_of_the_plain_fit_over_five_iterations) {
    for (int lines : {1, 2, 4}) {
        make_fit(0.02, lines);
        for (int i = 0; i < npar; ++i)
            if (fixpar[i].fixed_to == 0) par[i] += i % 5 == freq_par ? 0.2 : 0.05 * par[i];
        const std::vector<double> start(par, par + npar);
        itmax = 5;
        ftol = 0.0;
        frprmn(npar, par);
        const std::vector<double> ours(par, par + npar);
        const double our_minimum = minimum;
        std::copy(start.begin(), start.end(), par);
        plain::frprmn(npar, par);
        EXPECT_NEAR(our_minimum, minimum, 1e-6 * minimum);
        for (int i = 0; i < npar; ++i)
            EXPECT_NEAR(ours[static_cast<std::size_t>(i)], par[i], 1e-5 * (1.0 + std::fabs(par[i])))
                << lines << " lines, parameter " << i;
    }
}
