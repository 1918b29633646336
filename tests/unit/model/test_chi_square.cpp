// SPDX-License-Identifier: BSD-3-Clause
#include "model/chi_square.h"

#include "model/objective.h"
#include "model/step_weights.h"
#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

// A problem without a model to build: data 1 + 2i, model 0.5 - 1i at every point.
static void make_plain_problem(int mode, int weighting) {
    support::random_numbers random(7);
    support::make_random_model(random, {.points = 16, .lines = 1});
    spec = 0;
    complex = mode;
    weighting_type = weighting;
    for (int i = 0; i < ap; ++i) {
        xre[i] = 1.0;
        xim[i] = 2.0;
        yre[i] = 0.5;
        yim[i] = -1.0;
        wre[i] = wim[i] = i < 4 ? 1.0 : 0.0;
    }
}

TEST(chi_square, modes_by_hand) {
    // four points; dr = 0.5, di = 3, |x|^2 = 5, |y|^2 = 1.25
    const double root = std::sqrt(5.0) - std::sqrt(1.25);
    const double wanted[] = {4 * 0.25, 4 * 9.0, 4 * 9.25, 4 * root * root, 4 * 3.75 * 3.75};
    for (int mode = 0; mode <= 4; ++mode) {
        make_plain_problem(mode, 1);
        EXPECT_DOUBLE_EQ(chi_square_of(par), wanted[mode]) << mode;
    }
}

TEST(chi_square, weights_scale_channels_but_only_select_in_magnitude_and_power) {
    for (int mode = 0; mode <= 4; ++mode) {
        make_plain_problem(mode, 1);
        const double before = chi_square_of(par);
        for (int i = 0; i < 4; ++i) wre[i] = wim[i] = 2.0;
        EXPECT_DOUBLE_EQ(chi_square_of(par), mode <= 2 ? 2.0 * before : before) << mode;
    }
}

TEST(chi_square, type_7_divides_and_knows_the_real_channel_and_both) {
    const double D = 6.0; // 1 + 1 + 4
    for (int mode : {0, 1, 3, 4}) {
        make_plain_problem(mode, 7);
        EXPECT_DOUBLE_EQ(chi_square_of(par), 4 * 0.25 / D) << mode;
    }
    make_plain_problem(2, 7);
    EXPECT_DOUBLE_EQ(chi_square_of(par), 4 * 9.25 / D);
}

TEST(chi_square, without_weights_is_zero_and_weights_that_cancel_do_not_count) {
    make_plain_problem(2, 1);
    for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 0.0;
    EXPECT_EQ(chi_square_of(par), 0.0);
    wre[3] = 1.0;
    wim[3] = -1.0;
    EXPECT_EQ(chi_square_of(par), 0.0);
}

TEST(chi_square, points_that_do_not_count_may_hold_anything) {
    make_plain_problem(2, 1);
    const double wanted = chi_square_of(par);
    xre[7] = std::nan("");
    yim[9] = INFINITY;
    EXPECT_EQ(chi_square_of(par), wanted);
    for (int mode = 0; mode <= 4; ++mode) {
        complex = mode;
        EXPECT_TRUE(std::isfinite(chi_square_of(par)));
    }
}

TEST(chi_square, unknown_mode_is_said_for_each_point_and_adds_nothing) {
    make_plain_problem(5, 1);
    double sum = -1.0;
    const std::string said = support::stdout_of([&] { sum = chi_square_of(par); });
    EXPECT_EQ(said, "illegal complex value\nillegal complex value\nillegal complex value\n"
                    "illegal complex value\n");
    EXPECT_EQ(sum, 0.0);
}

TEST(chi_square, type_3_makes_the_model_its_own_weights) {
    make_plain_problem(2, 3);
    yre[1] = yim[1] = 0.0;
    chi_square_of(par);
    for (int i = 0; i < ap; ++i) {
        EXPECT_EQ(wre[i], yre[i]);
        EXPECT_EQ(wim[i], yim[i]);
    }
    // 15 points with weights 0.5 and -1; point 1 is skipped
    EXPECT_DOUBLE_EQ(chi_square_of(par), 15 * (0.5 * 0.25 - 9.0));
}

TEST(chi_square, incremental_call_without_a_change_leaves_the_model_untouched) {
    support::random_numbers random(8);
    support::make_random_model(random, {.points = 32, .lines = 3});
    chi_square_of(par);
    yre[5] = 123.0; // would be overwritten by a model made anew
    single_line = 2;
    chi_square_of(par);
    EXPECT_EQ(yre[5], 123.0);
    for (int s : {-1, 4, 1000}) {
        single_line = s;
        chi_square_of(par);
        EXPECT_EQ(yre[5], 123.0);
    }
}

TEST(chi_square, entry_without_a_shape_adds_nothing) {
    support::random_numbers random(9);
    support::make_random_model(random, {.points = 32, .lines = 2, .links = false});
    for (int type : {0, 5, -7, 4}) { // 4: a pattern type on a line
        for (int j = 0; j < 10; ++j) fixpar[j].type = type;
        chi_square_of(par);
        for (int i = 0; i < ap; ++i) EXPECT_EQ(yre[i], 0.0);
    }
}

TEST(chi_square, box_weights_include_both_ends_and_are_clipped) {
    support::random_numbers random(10);
    support::make_random_model(random, {.points = 16, .lines = 1});
    n_intervals[1] = 3;
    hxmin[1][1] = 2;
    hxmax[1][1] = 4;
    hxmin[1][2] = 9; // inverted: selects nothing
    hxmax[1][2] = 7;
    hxmin[1][3] = 14;
    hxmax[1][3] = 500;
    Create_Weighting_Function(ap, 1, wre, wim);
    for (int i = 0; i < 16; ++i) {
        const double wanted = (i >= 2 && i <= 4) || i >= 14 ? 1.0 : 0.0;
        EXPECT_EQ(wre[i], wanted) << i;
        EXPECT_EQ(wim[i], wanted) << i;
    }
    n_intervals[2] = 0;
    Create_Weighting_Function(ap, 2, wre, wim);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(wre[i], 0.0);
    n_intervals[3] = 1;
    hxmin[3][1] = -9;
    hxmax[3][1] = 0;
    Create_Weighting_Function(ap, 3, wre, wim);
    EXPECT_EQ(wre[0], 1.0);
    EXPECT_EQ(wre[1], 0.0);
}

TEST(objective, line_function_steps_along_the_direction) {
    support::random_numbers random(11);
    support::make_random_model(random, {.points = 32, .lines = 2, .links = false});
    ncom = npar;
    for (int i = 0; i < npar; ++i) {
        pcom[i] = par[i];
        xicom[i] = i % 5 == 0 ? 1.0 : 0.0;
    }
    std::vector<double> moved(par, par + npar);
    moved[0] += 0.25;
    moved[5] += 0.25;
    EXPECT_EQ(func(0.25), chi_square_of(moved.data()));
    EXPECT_EQ(func(0.0), chi_square_of(par));
}
