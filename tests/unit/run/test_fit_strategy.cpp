// SPDX-License-Identifier: BSD-3-Clause
#include "run/fit_strategy.h"

#include "model/objective.h"
#include "model/step_weights.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

// One Lorentzian line at point 30 of 64; the data have it `moved` points later.
static void make_moved_line(double moved) {
    support::random_numbers random(1);
    support::make_random_model(random, {.points = 64, .lines = 1, .links = false});
    const double values[5] = {2.0, 30.0, 0.0, 0.0, 3.0};
    for (int j = 0; j < 5; ++j) {
        par[j] = values[j];
        fixpar[j] = {2, j == 2 ? 1 : 0, values[j], values[j] - 10.0, values[j] + 10.0};
    }
    par[1] += moved;
    chi_square_of(par);
    for (int i = 0; i < ap; ++i) {
        xre[i] = xre_copy[i] = yre[i];
        xim[i] = xim_copy[i] = yim[i];
    }
    par[1] -= moved;
    chi_square_of(par);
    n_fit_strat_steps = 1;
    n_intervals[1] = 1;
    hxmin[1][1] = 0;
    hxmax[1][1] = 63;
    hrange[1] = h_cur_range = 63;
    ftol = 1e-12;
}

static std::string run_step(int free, int convo, int iterations) {
    return support::stdout_of([&] {
        Fit_Strategy_Step(2, 64, 1, free, free, free, free, free, 0, 1, convo, iterations, 2);
    });
}

// Lags reach from -n/16 to n/16 - 1: 4 points of 64 to the one side, 3 to the other.
TEST(alignment, moves_frequencies_and_their_bounds_by_whole_points) {
    for (const double moved : {-3.0, -1.0, 0.0, 2.0, 3.0}) {
        make_moved_line(moved);
        run_step(0, 1, 0);
        EXPECT_DOUBLE_EQ(par[1], 30.0 + moved);
        EXPECT_DOUBLE_EQ(fixpar[1].min, 20.0 + moved);
        EXPECT_DOUBLE_EQ(fixpar[1].max, 40.0 + moved);
        EXPECT_DOUBLE_EQ(fixpar[1].value, 30.0);
    }
}

TEST(alignment, divides_its_shift_by_the_frequency_scale) {
    make_moved_line(2.0);
    frscl = 0.5; // applies to the step alone: the model stands
    run_step(0, 1, 0);
    EXPECT_DOUBLE_EQ(par[1], 34.0);
}

TEST(alignment, without_an_interval_moves_by_half_the_band) {
    make_moved_line(2.0);
    n_intervals[1] = 0;
    run_step(0, 1, 0);
    EXPECT_DOUBLE_EQ(par[1], 62.0);
}

TEST(alignment, alone_leaves_weights_and_all_other_parameters) {
    make_moved_line(1.0);
    for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 0.5;
    const std::vector<double> before(par, par + 5);
    run_step(0, 1, 10);
    for (std::size_t j : {0u, 2u, 3u, 4u}) EXPECT_EQ(par[j], before[j]);
    for (int i = 0; i < ap; ++i) EXPECT_EQ(wre[i], 0.5);
}

TEST(step, fits_and_says_what_is_free) {
    make_moved_line(0.4);
    verbose = 2;
    const std::string said = run_step(1, 0, 100);
    EXPECT_NEAR(par[1], 30.4, 1e-5); // stops when chi-square, 0 at the truth, changes little
    EXPECT_TRUE(
        said.starts_with("weighting_type = 1\n\nStarting next fit step ... \n\n"
                         "amplitude fit :   yes \nfrequency fit :   yes \nwidth     fit :   yes \n"
                         "phase     fit :   yes \nvoigt     fit :   yes \n\n"))
        << said;
    EXPECT_NE(said.find("\nFit step performed no line shape function \n\n"), std::string::npos);
    EXPECT_EQ(itmax, 100);
    EXPECT_EQ(amp_fit + freq_fit + width_fit + phase_fit + voigt_fit, 5);
}

TEST(step, with_weights_of_type_3_moves_no_line) {
    make_moved_line(0.4);
    const std::vector<double> before(par, par + 5);
    support::stdout_of([&] { Fit_Strategy_Step(2, 64, 1, 1, 1, 1, 1, 1, 0, 3, 0, 10, 2); });
    // the model becomes its own weights at every evaluation, and its derivatives are taken as 0
    for (std::size_t j = 0; j < 5; ++j) EXPECT_EQ(par[j], before[j]);
}

TEST(step, without_an_interval_has_no_weights_and_moves_nothing) {
    make_moved_line(0.4);
    n_intervals[1] = 0;
    const std::vector<double> before(par, par + 5);
    run_step(1, 0, 10);
    for (int i = 0; i < ap; ++i) EXPECT_EQ(wre[i] + wim[i], 0.0);
    for (std::size_t j = 0; j < 5; ++j) EXPECT_EQ(par[j], before[j]);
}

TEST(step, with_a_lineshape_switch_but_no_coefficients_ends_without_a_fit) {
    make_moved_line(0.4);
    verbose = 1;
    const std::vector<double> before(par, par + 5);
    EXPECT_EQ(
        support::stdout_of([&] { Fit_Strategy_Step(2, 64, 1, 1, 1, 1, 1, 1, 1, 1, 0, 10, 2); }),
        "");
    for (std::size_t j = 0; j < 5; ++j) EXPECT_EQ(par[j], before[j]);
}

TEST(step, by_random_search_says_so_whatever_verbose_is) {
    make_moved_line(0.4);
    verbose = 0;
    EXPECT_EQ(support::stdout_of([&] {
                  Fit_Strategy_Step(1, 64, 1, 1, 1, 1, 1, 1, 0, 1, 0, 1, 2);
              }).substr(0, 32),
              "Performing random fit step ... \n");
}

TEST(box_weights, are_1_on_every_interval_clipped_to_the_signal) {
    make_moved_line(0.0);
    n_intervals[1] = 3;
    const int from[] = {-5, 10, 62}, to[] = {1, 10, 70};
    for (int j = 0; j < 3; ++j) {
        hxmin[1][j + 1] = from[j];
        hxmax[1][j + 1] = to[j];
    }
    Create_Weighting_Function(ap, 1, wre, wim);
    for (int i = 0; i < ap; ++i) {
        const double wanted = i <= 1 || i == 10 || i >= 62 ? 1.0 : 0.0;
        EXPECT_EQ(wre[i], wanted) << i;
        EXPECT_EQ(wim[i], wanted) << i;
    }
}
