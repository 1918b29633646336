// SPDX-License-Identifier: BSD-3-Clause
//
// Which minimizer a step runs, and how long.
#include "run/fit_strategy.h"

#include "run/state.h"
#include "support/random_model.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

// Lines of links to nothing, in wide ranges; a box over all points.
static void make_lines(int lines, int lsf_pairs) {
    support::random_numbers random(9);
    support::make_random_model(
        random, {.points = 32, .lines = lines, .lsf_pairs = lsf_pairs, .links = false});
    for (int i = 0; i < npar; ++i) {
        fixpar[i].min = par[i] - 1.0;
        fixpar[i].max = par[i] + 1.0;
    }
    verbose = 0;
    par_ranges = 1;
    n_intervals[1] = 1;
    hxmin[1][1] = 4;
    hxmax[1][1] = 20;
    hrange[1] = h_cur_range = 16;
}

static std::string said_by_step(int algor, int lsfft) {
    return support::stdout_of(
        [&] { Fit_Strategy_Step(algor, 32, 1, 1, 1, 1, 1, 1, lsfft, 1, 0, 1, 2); });
}

// 50 / entries + 3 npar / 2 in whole numbers
TEST(random_step, takes_more_samples_for_fewer_entries_and_more_parameters) {
    for (const auto &[lines, samples] : {std::pair{1, 57}, {2, 40}, {3, 38}, {7, 59}}) {
        make_lines(lines, 0);
        const std::string wanted =
            "InitRandomSearch N         = " + std::to_string(samples) + " \n";
        EXPECT_NE(said_by_step(1, 0).find(wanted), std::string::npos) << wanted;
    }
}

// 3 (npar + coefficients) / 2 in whole numbers
TEST(random_step, of_a_lineshape_counts_its_coefficients) {
    make_lines(1, 2);
    lsf_coefs = 2;
    const std::string said = said_by_step(1, 1);
    EXPECT_TRUE(said.starts_with("\nStarting next random fit step ... \n")) << said;
    EXPECT_NE(said.find("InitRandomSearch N         = 10 \n"), std::string::npos);
}

TEST(step, with_fewer_than_no_coefficients_ends_behind_its_weights) {
    make_lines(2, 0);
    lsf_coefs = -1;
    verbose = 3;
    for (const int algor : {1, 2})
        EXPECT_EQ(said_by_step(algor, 0), "weighting_type = 1\n") << algor;
    for (int i = 0; i < ap; ++i) EXPECT_EQ(wre[i], i >= 4 && i <= 20 ? 1.0 : 0.0) << i;
    lsf_coefs = 0;
}

// Neither 0 nor 1 for the lineshape switch: nothing is minimized.
TEST(step, with_another_lineshape_switch_does_not_minimize) {
    make_lines(1, 1);
    lsf_coefs = 1;
    verbose = 1;
    EXPECT_EQ(said_by_step(2, 2), "");
    lsf_coefs = 0;
}
