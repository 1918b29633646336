// SPDX-License-Identifier: BSD-3-Clause
#include "engine/model.h"

#include "support/engine_problem.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using engine::fit_problem;

static fit_problem two_lines() {
    return support::problem_with_lines(64, {{5, 20, 3}, {2, 40, 4}}, 0.1, 1);
}

static std::string refusal(const fit_problem &problem, int entry = -1) {
    const auto model = engine::model::make(problem);
    if (model) return "";
    EXPECT_EQ(model.why().entry, entry);
    return model.why().reason;
}

TEST(model, takes_powers_of_two_and_refuses_other_lengths) {
    for (const int n : {-1, 0, 1, 3, 12, 63, 65, 1000, 1 << 25}) {
        fit_problem p = two_lines();
        p.when.points = n;
        EXPECT_EQ(refusal(p), "the number of points is no power of two between 2 and 2^24") << n;
    }
    for (const int n : {2, 4, 8, 4096}) {
        fit_problem p = two_lines();
        p.when.points = n;
        p.spectrum.assign(static_cast<std::size_t>(n), 1.0);
        EXPECT_EQ(refusal(p), "") << n;
    }
}

TEST(model, refuses_a_spectrum_of_another_length) {
    fit_problem p = two_lines();
    p.spectrum.pop_back();
    EXPECT_EQ(refusal(p), "the spectrum has 63 points, not 64");
}

TEST(model, takes_noise_over_the_range_of_a_double_and_refuses_what_is_no_noise) {
    for (const double sd : {1e-300, 1e-30, 1.0, 1e30, 1e300}) {
        fit_problem p = two_lines();
        p.noise_sd = sd;
        EXPECT_EQ(refusal(p), "") << sd;
    }
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double sd : {0.0, -0.0, -1.0, infinity, -infinity, std::nan("")}) {
        fit_problem p = two_lines();
        p.noise_sd = sd;
        EXPECT_NE(refusal(p).find("noise standard deviation"), std::string::npos) << sd;
    }
}

TEST(model, refuses_data_that_are_not_finite_and_says_where) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double bad : {infinity, -infinity, std::nan("")}) {
        fit_problem p = two_lines();
        p.spectrum[17] = {0.0, bad};
        EXPECT_EQ(refusal(p), "point 17 of the spectrum is not finite");
        p.spectrum[17] = {bad, 0.0};
        EXPECT_EQ(refusal(p), "point 17 of the spectrum is not finite");
    }
}

TEST(model, refuses_cuts_that_leave_nothing) {
    for (const auto &[ignored, kept] : {std::pair{-1, 0}, {64, 0}, {0, -1}, {0, 65}}) {
        fit_problem p = two_lines();
        p.when.ignored = ignored;
        p.when.kept = kept;
        EXPECT_NE(refusal(p), "") << ignored << " " << kept;
    }
    for (const auto &[ignored, kept] : {std::pair{0, 64}, {0, 1}, {63, 0}, {3, 40}}) {
        fit_problem p = two_lines();
        p.when.ignored = ignored;
        p.when.kept = kept;
        EXPECT_EQ(refusal(p), "") << ignored << " " << kept;
    }
}

TEST(model, refuses_intervals_outside_the_spectrum) {
    for (const engine::interval i :
         {engine::interval{-1, 5}, {5, 4}, {0, 64}, {64, 64}, {2147483647, 2147483647}}) {
        fit_problem p = two_lines();
        p.intervals = {{0, 10}, i};
        EXPECT_NE(refusal(p).find("is not in the spectrum"), std::string::npos) << i.first;
    }
}

TEST(model, joins_intervals_that_touch_or_overlap) {
    fit_problem p = two_lines();
    p.intervals = {{40, 50}, {0, 9}, {10, 12}, {5, 8}, {45, 63}, {20, 20}};
    const auto model = engine::model::make(p);
    ASSERT_TRUE(model);
    ASSERT_EQ(model->intervals().size(), 3u);
    EXPECT_EQ(model->intervals()[0].first, 0);
    EXPECT_EQ(model->intervals()[0].last, 12);
    EXPECT_EQ(model->intervals()[1].first, 20);
    EXPECT_EQ(model->intervals()[2].last, 63);
    EXPECT_EQ(model->rows(), 2 * (13 + 1 + 24));
    p.part = engine::channel::absorption;
    EXPECT_EQ(engine::model::make(p)->rows(), 13 + 1 + 24);
}

TEST(model, refuses_entries_and_shapes_that_are_not_there) {
    fit_problem p = two_lines();
    p.entries.clear();
    EXPECT_EQ(refusal(p), "there are no entries");
    p = two_lines();
    p.entries[1].type = static_cast<engine::line_type>(5);
    EXPECT_EQ(refusal(p, 1), "is of no known line type");
    for (const int pattern : {-1, 1, 1000000}) {
        p = two_lines();
        p.patterns = {engine::complex_signal(64, 1.0)};
        p.entries[1].type = engine::line_type::pattern;
        p.entries[1].pattern = pattern;
        EXPECT_EQ(refusal(p, 1), "names a pattern that is not there");
    }
    p = two_lines();
    p.patterns = {engine::complex_signal(63, 1.0)};
    EXPECT_EQ(refusal(p), "a pattern has 63 points, not 64");
    p = two_lines();
    p.measured_lineshape.assign(65, 1.0);
    EXPECT_EQ(refusal(p), "the measured lineshape has 65 points, not 64");
    p = two_lines();
    p.lineshape = {{1.0, 0.0}, {-1.0, 0.0}};
    EXPECT_NE(refusal(p).find("sum up to 0"), std::string::npos);
    p.lineshape.assign(65, 1.0);
    EXPECT_EQ(refusal(p), "the lineshape has more coefficients than there are points");
}

TEST(model, refuses_shapes_that_are_not_finite) {
    const double nan = std::nan("");
    fit_problem p = two_lines();
    p.measured_lineshape.assign(64, 1.0);
    p.measured_lineshape[3] = {nan, 0.0};
    EXPECT_EQ(refusal(p), "the measured lineshape is not finite");
    p = two_lines();
    p.patterns = {engine::complex_signal(64, 1.0)};
    p.patterns[0][63] = {0.0, nan};
    EXPECT_EQ(refusal(p), "a pattern is not finite");
    p = two_lines();
    p.when.first_order_phase = nan;
    EXPECT_EQ(refusal(p), "the first-order phase is not finite");
}

// The lines of a multiplet are one group; a line of its own is another.
TEST(model, lines_that_follow_in_everything_are_one_group) {
    fit_problem p = two_lines();
    engine::entry follower = p.entries[0];
    for (engine::parameter &q : follower.of) {
        q.how = engine::link::tied;
        q.source = 0;
    }
    follower.of[engine::frequency].offset = 6.0;
    follower.of[engine::area].factor = 0.5;
    // what is fixed in the first is fixed in the follower
    p.entries.push_back(follower);
    const auto model = engine::model::make(p);
    ASSERT_TRUE(model);
    ASSERT_EQ(model->groups(), 2);
    EXPECT_EQ(model->entries_of_group(0), (std::vector<int>{0, 2}));
    p.entries[2].of[engine::lorentz_width].how = engine::link::free;
    EXPECT_EQ(engine::model::make(p)->groups(), 3);
}
