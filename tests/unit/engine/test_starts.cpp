// SPDX-License-Identifier: BSD-3-Clause
#include "engine/starts.h"

#include "support/engine_problem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

static engine::fit_problem three_lines(double noise = 0.02) {
    return support::problem_with_lines(512, {{5, 150, 3}, {3, 230, 4}, {2, 260, 3}}, noise, 5);
}

namespace {
struct prepared {
    explicit prepared(const engine::fit_problem &problem)
        : of(*engine::model::make(problem)), x(of.starts()) {
        ws.prepare(of);
    }
    engine::model of;
    engine::model_workspace ws;
    std::vector<double> x;
};
} // namespace

TEST(common_shift, is_found_up_to_a_sixteenth_of_the_band_and_not_farther) {
    for (const int off : {-32, -20, -3, -1, 0, 1, 7, 31, 32}) {
        auto problem = three_lines();
        for (engine::entry &e : problem.entries) e.of[engine::frequency].start -= off;
        prepared p(problem);
        EXPECT_EQ(common_shift(p.of, p.ws, p.x), off);
    }
    auto problem = three_lines();
    for (engine::entry &e : problem.entries) e.of[engine::frequency].start -= 60;
    prepared p(problem);
    EXPECT_LE(std::fabs(common_shift(p.of, p.ws, p.x)), 32.0);
}

TEST(common_shift, does_not_depend_on_areas_as_a_whole_nor_on_a_phase_of_all) {
    auto problem = three_lines();
    for (engine::entry &e : problem.entries) {
        e.of[engine::frequency].start -= 9;
        e.of[engine::area].start *= -1e-6;
        e.of[engine::phase].start = 70;
    }
    prepared p(problem);
    EXPECT_EQ(common_shift(p.of, p.ws, p.x), 9.0);
}

TEST(common_shift, looks_at_the_fitted_points_only) {
    auto problem = three_lines();
    for (std::size_t i = 0; i < 100; ++i) problem.spectrum[i] = {i == 60 ? 1e4 : 0.0, 0.0};
    problem.intervals = {{100, 400}};
    for (engine::entry &e : problem.entries) e.of[engine::frequency].start -= 5;
    prepared p(problem);
    EXPECT_EQ(common_shift(p.of, p.ws, p.x), 5.0);
}

TEST(shifted, moves_free_frequencies_within_their_windows_and_nothing_else) {
    auto problem = three_lines();
    problem.entries[1].of[engine::frequency].upper = 231.0;
    prepared p(problem);
    const std::vector<double> y = shifted(p.of, p.x, 4.0);
    EXPECT_EQ(y, (std::vector<double>{5, 154, 3, 3, 231, 4, 2, 264, 3}));
}

TEST(through_broad_lines, a_line_finds_its_signal_from_three_widths_away) {
    auto problem = support::problem_with_lines(512, {{5, 250, 2}}, 0.01, 6);
    problem.entries[0].of[engine::frequency].start = 256.0;
    prepared p(problem);
    engine::searcher search;
    int linearizations = 0, evaluations = 0;
    const auto x = through_broad_lines(p.of, p.ws, search, p.x, linearizations, evaluations);
    EXPECT_NEAR(x[1], 250.0, 1.0);
    EXPECT_GT(linearizations, 0);
    EXPECT_GT(evaluations, 0);
    // the workspace is unbroadened again
    std::vector<double> truth = {5, 250, 2};
    EXPECT_LT(p.ws.chi_square(p.of, truth), 1300.0);
}

TEST(relocations, name_the_place_where_the_signal_is) {
    auto problem = three_lines();
    problem.entries[2].of[engine::frequency].start = 269.0; // three widths from its signal at 260
    prepared p(problem);
    p.ws.linearize(p.of, p.x);
    const auto moves = relocations(p.of, p.ws, p.x, p.x, 0.0);
    ASSERT_FALSE(moves.empty());
    EXPECT_EQ(p.of.map().at(moves[0].column).entry, 2);
    EXPECT_NEAR(moves[0].to, 260.0, 1.0);
    // the gain of a matched filter is the change of the sum of squares with the best area there
    std::vector<double> there = p.x, none = p.x;
    there[7] = moves[0].to;
    double least = 1e300, here = 1e300;
    for (double area = 0.5; area < 4.0; area += 0.01) {
        there[6] = none[6] = area;
        least = std::min(least, p.ws.chi_square(p.of, there));
    }
    for (double area = -1.0; area < 4.0; area += 0.01) {
        none[6] = std::max(area, 0.0);
        here = std::min(here, p.ws.chi_square(p.of, none));
    }
    EXPECT_NEAR(moves[0].gain, here - least, 0.01 * moves[0].gain);
}

TEST(relocations, of_lines_in_their_places_are_none_worth_trying) {
    prepared p(three_lines());
    p.ws.linearize(p.of, p.x);
    EXPECT_TRUE(relocations(p.of, p.ws, p.x, p.x, -4.0).empty());
}

// With a phase of its own a line takes what is along it and across. In u = A cos(phase) and
// v = A sin(phase) the sum of squares is c + b u + d v + q (u^2 + v^2), least at c - (b^2 +
// d^2)/4q.
TEST(relocations, of_a_line_that_turns_gain_what_its_best_area_and_phase_do) {
    auto problem = three_lines();
    problem.entries[2].of[engine::phase] = {50.0, engine::link::free};
    support::simulate(problem, 9);
    problem.entries[2].of[engine::frequency].start = 269.0;
    problem.entries[2].of[engine::phase].start = 0.0;
    prepared p(problem);
    p.ws.linearize(p.of, p.x);
    const auto moves = relocations(p.of, p.ws, p.x, p.x, 0.0);
    ASSERT_FALSE(moves.empty());
    const auto column = [&](engine::quantity q) {
        return static_cast<std::size_t>(p.of.map().of(2, q).column);
    };
    EXPECT_EQ(static_cast<std::size_t>(moves[0].column), column(engine::frequency));
    const auto least_at = [&](double place) {
        std::vector<double> x = p.x;
        x[column(engine::frequency)] = place;
        const auto sum = [&](double area, double phase) {
            x[column(engine::area)] = area;
            x[column(engine::phase)] = phase;
            return p.ws.chi_square(p.of, x);
        };
        const double c = sum(0.0, 0.0), above = sum(1.0, 0.0), below = sum(-1.0, 0.0);
        const double b = 0.5 * (above - below), d = 0.5 * (sum(1.0, 90.0) - sum(-1.0, 90.0));
        return c - (b * b + d * d) / (2.0 * (above + below - 2.0 * c));
    };
    EXPECT_NEAR(moves[0].gain, least_at(269.0) - least_at(moves[0].to), 0.01 * moves[0].gain);
}

TEST(relocations, come_with_the_best_first) {
    auto problem = three_lines();
    problem.entries[1].of[engine::frequency].start = 221.0; // off from 230 and 260
    problem.entries[2].of[engine::frequency].start = 269.0;
    prepared p(problem);
    p.ws.linearize(p.of, p.x);
    const auto moves = relocations(p.of, p.ws, p.x, p.x, -1e300);
    ASSERT_GT(moves.size(), 3u);
    EXPECT_TRUE(std::is_sorted(moves.begin(), moves.end(),
                               [](const auto &i, const auto &j) { return i.gain > j.gain; }));
    EXPECT_GT(moves.front().gain, moves.back().gain);
}

TEST(interchangeable, are_lines_that_differ_in_number_only) {
    auto problem = three_lines();
    typedef std::vector<std::pair<int, int>> pairs;
    EXPECT_EQ(interchangeable(prepared(problem).of), (pairs{{0, 1}, {0, 2}, {1, 2}}));
    problem.entries[1].type = engine::line_type::voigt;
    EXPECT_EQ(interchangeable(prepared(problem).of), (pairs{{0, 2}}));
    problem = three_lines();
    engine::parameter &tied = problem.entries[1].of[engine::area]; // 0 has a follower
    tied.how = engine::link::tied;
    tied.source = 0;
    EXPECT_EQ(interchangeable(prepared(problem).of), (pairs{{0, 1}})); // one area for both
    tied.factor = 2.0;
    EXPECT_EQ(interchangeable(prepared(problem).of), pairs{});
    problem = three_lines();
    for (const std::size_t k : {1u, 2u}) { // one width for all
        problem.entries[k].of[engine::lorentz_width].how = engine::link::tied;
        problem.entries[k].of[engine::lorentz_width].source = 0;
    }
    EXPECT_EQ(interchangeable(prepared(problem).of).size(), 3u);
    problem.entries[2].of[engine::lorentz_width].factor = 2.0;
    EXPECT_EQ(interchangeable(prepared(problem).of), (pairs{{0, 1}}));
    problem = three_lines();
    problem.entries[0].of[engine::phase].start = 30.0; // fixed at another
    EXPECT_EQ(interchangeable(prepared(problem).of), (pairs{{1, 2}}));
}

TEST(restore_order, exchanges_whole_lines_and_leaves_the_model_as_it_is) {
    prepared p(three_lines());
    engine::minimum found;
    found.x = {2, 260, 3, 5, 150, 3.5, 3, 230, 4}; // given as 150, 230, 260
    found.at_bound.assign(9, 0);
    found.at_bound[0] = 1;
    const double before = p.ws.chi_square(p.of, found.x);
    restore_order(p.of, interchangeable(p.of), p.x, found);
    EXPECT_EQ(found.x, (std::vector<double>{5, 150, 3.5, 3, 230, 4, 2, 260, 3}));
    EXPECT_EQ(found.at_bound[6], 1);
    EXPECT_EQ(found.at_bound[0], 0);
    EXPECT_NEAR(p.ws.chi_square(p.of, found.x), before, 1e-9 * before);
}

TEST(restore_order, keeps_to_the_windows) {
    auto problem = three_lines();
    problem.entries[0].of[engine::frequency].upper = 200.0;
    prepared p(problem);
    engine::minimum found;
    const std::vector<double> x = {2, 199, 3, 5, 140, 3.5, 3, 270, 4};
    found.x = x;
    found.at_bound.assign(9, 0);
    restore_order(p.of, interchangeable(p.of), p.x, found);
    EXPECT_EQ(found.x, (std::vector<double>{5, 140, 3.5, 2, 199, 3, 3, 270, 4}));
    problem.entries[1].of[engine::frequency].upper = 190.0; // 199 does not fit
    problem.entries[1].of[engine::frequency].start = 180.0;
    prepared q(problem);
    found.x = x;
    restore_order(q.of, interchangeable(q.of), q.x, found);
    EXPECT_EQ(found.x, x);
}

TEST(split, puts_a_line_of_the_wrong_sign_beside_its_neighbour) {
    prepared p(support::problem_with_lines(512, {{4, 120, 4}, {2, 124, 4}, {3, 200, 3}}, 0.02, 5));
    EXPECT_TRUE(split(p.of, p.x, p.x).empty());
    const std::vector<double> broad = {7, 122, 8, -2, 129, 5, 3, 200, 3};
    // joint area 5, centre 122 - 2/5 * 7, a quarter of 8 to either side
    const std::vector<double> wanted = {2.5, 117.2, 4, 2.5, 121.2, 2.5, 3, 200, 3};
    const std::vector<double> got = split(p.of, broad, p.x);
    ASSERT_EQ(got.size(), wanted.size());
    for (std::size_t c = 0; c < got.size(); ++c) EXPECT_NEAR(got[c], wanted[c], 1e-12) << c;
    // the signs that were given are those that count
    std::vector<double> inverted = p.x;
    inverted[3] = -2;
    EXPECT_TRUE(split(p.of, broad, inverted).empty());
    // a line that is larger than its neighbour with the wrong sign is no part of it
    EXPECT_TRUE(split(p.of, std::vector<double>{7, 122, 8, -9, 129, 5, 3, 200, 3}, p.x).empty());
}

TEST(split, halves_a_width_that_both_share_once_and_keeps_to_the_windows) {
    auto problem = support::problem_with_lines(512, {{4, 120, 4}, {2, 124, 4}}, 0.02, 5);
    problem.entries[1].of[engine::lorentz_width].how = engine::link::tied;
    problem.entries[1].of[engine::lorentz_width].source = 0;
    problem.entries[0].of[engine::frequency].lower = 119.0;
    prepared p(problem);
    const std::vector<double> got = split(p.of, std::vector<double>{7, 122, 8, -2, 129}, p.x);
    ASSERT_EQ(got.size(), 5u);
    EXPECT_EQ(got[1], 119.0);
    EXPECT_EQ(got[2], 4.0);
}

TEST(perturbed, is_the_same_for_the_same_number_and_stays_in_the_windows) {
    auto problem = three_lines();
    problem.entries[0].of[engine::area].upper = 5.0;
    prepared p(problem);
    EXPECT_EQ(perturbed(p.of, p.x, 3), perturbed(p.of, p.x, 3));
    EXPECT_NE(perturbed(p.of, p.x, 3), perturbed(p.of, p.x, 4));
    for (unsigned number = 0; number < 200; ++number) {
        const auto y = perturbed(p.of, p.x, number);
        EXPECT_LE(y[0], 5.0);
        for (const std::size_t c : {0u, 3u, 6u}) { // three deviations of a factor 1 + 0.5
            EXPECT_GE(y[c], p.x[c] / 2.6);
            EXPECT_LE(y[c], p.x[c] * 2.6);
        }
        for (const std::size_t c : {1u, 4u, 7u}) EXPECT_LE(std::fabs(y[c] - p.x[c]), 12.0);
    }
}
