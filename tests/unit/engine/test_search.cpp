// SPDX-License-Identifier: BSD-3-Clause
#include "engine/search.h"

#include "support/engine_problem.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using engine::search_end;

static engine::minimum search(const engine::fit_problem &problem, std::vector<double> start = {},
                              const engine::search_options &options = {}) {
    const auto model = engine::model::make(problem);
    EXPECT_TRUE(model) << model.why().reason;
    engine::model_workspace ws;
    ws.prepare(*model);
    engine::searcher searcher;
    return searcher.run(*model, ws, start.empty() ? model->starts() : start, options);
}

// g^T H^-1 g and the largest step over its error from the workspace itself, no damping
static double gradient_over_errors(const engine::fit_problem &problem, const engine::minimum &at) {
    const auto model = engine::model::make(problem);
    engine::model_workspace ws;
    ws.prepare(*model);
    ws.linearize(*model, at.x);
    const std::size_t n = at.x.size();
    double largest = 0.0;
    for (std::size_t c = 0; c < n; ++c)
        if (at.at_bound[c] == 0 && ws.products()[c * (n + 2)] > 0.0)
            largest = std::max(largest, std::fabs(ws.products()[n * (n + 1) + c]) /
                                            std::sqrt(ws.products()[c * (n + 2)]));
    return largest;
}

TEST(search, finds_a_line_without_noise_exactly) {
    auto problem = support::problem_with_lines(256, {{5, 100.25, 3.5}}, 1e-9, 1);
    engine::entry &e = problem.entries[0];
    e.of[engine::area].start = 9.0;
    e.of[engine::frequency].start = 98.5;
    e.of[engine::lorentz_width].start = 7.0;
    const auto found = search(problem);
    EXPECT_NEAR(found.x[0], 5.0, 1e-8);
    EXPECT_NEAR(found.x[1], 100.25, 1e-8);
    EXPECT_NEAR(found.x[2], 3.5, 1e-8);
}

TEST(search, the_gradient_is_gone_at_the_end) {
    for (const std::uint64_t seed : {1u, 2u, 3u, 4u, 5u}) {
        auto problem =
            support::problem_with_lines(512, {{5, 100, 3}, {2, 110, 5}, {3, 300, 8}}, 0.05, seed);
        for (engine::entry &e : problem.entries) {
            e.of[engine::frequency].start += 1.0;
            e.of[engine::lorentz_width].start *= 1.5;
        }
        const auto found = search(problem);
        EXPECT_EQ(found.end, search_end::at_minimum);
        EXPECT_LE(found.expected_decrease, 1e-6);
        EXPECT_LT(gradient_over_errors(problem, found), 1e-3) << seed;
    }
}

TEST(search, second_derivatives_end_it_in_few_steps_where_the_residual_is_large) {
    // a Lorentzian line fitted to a Gaussian one: the residual stays large
    auto problem = support::problem_with_lines(512, {{5, 200, 6}}, 1e-4, 1);
    engine::fit_problem gaussian = problem;
    gaussian.entries[0] = support::free_line({5, 200.3, 0}, engine::line_type::gaussian);
    gaussian.entries[0].of[engine::gauss_width].start = 6.0;
    support::simulate(gaussian, 2);
    problem.spectrum = gaussian.spectrum;
    const auto found = search(problem);
    EXPECT_GT(found.sum_of_squares, 1e4);
    EXPECT_LT(found.linearizations, 10); // 7; by J^T J alone 12, by a wrong sign 35
    EXPECT_TRUE(found.end == search_end::at_minimum || found.end == search_end::at_rounding);
}

// What starts at a width of nothing is not held there.
TEST(search, widths_start_from_zero) {
    for (const engine::line_type type :
         {engine::line_type::gaussian, engine::line_type::lorentzian, engine::line_type::voigt}) {
        engine::fit_problem problem;
        problem.when.points = 256;
        problem.noise_sd = 0.001;
        problem.entries = {support::free_line({5, 100.3, 3}, type)};
        problem.entries[0].of[engine::gauss_width].start = 4.0;
        if (type != engine::line_type::lorentzian)
            problem.entries[0].of[engine::gauss_width].how = engine::link::free;
        support::simulate(problem, 7);
        engine::fit_problem off = problem;
        for (const engine::quantity q : {engine::gauss_width, engine::lorentz_width})
            off.entries[0].of[q].start = 0.0;
        EXPECT_NEAR(search(off).sum_of_squares, search(problem).sum_of_squares, 1e-4)
            << static_cast<int>(type);
    }
}

TEST(search, widths_of_patterns_and_of_tied_groups_start_from_zero) {
    engine::fit_problem problem;
    problem.when.points = 256;
    problem.noise_sd = 0.001;
    problem.patterns.emplace_back(256);
    for (int i = 0; i < 256; ++i) // two lines, centred: the half band is in the stored decay
        problem.patterns[0][static_cast<std::size_t>(i)] =
            (std::polar(0.5, -0.2 * i) + std::polar(0.5, 0.3 * i)) * std::exp(-0.01 * i);
    engine::entry pattern = support::free_line({4, 0.3, 2}, engine::line_type::pattern);
    pattern.pattern = 0;
    pattern.of[engine::gauss_width] = {3.0, engine::link::free};
    engine::entry line = support::free_line({5, 40, 1}, engine::line_type::voigt);
    line.of[engine::gauss_width] = {2.0, engine::link::free};
    engine::entry follower = line;
    for (const engine::quantity q : {engine::gauss_width, engine::lorentz_width}) {
        follower.of[q].how = engine::link::tied;
        follower.of[q].source = 1;
    }
    follower.of[engine::gauss_width].offset = 1.5; // moves as it is, not as a square
    follower.of[engine::frequency].start = 200.0;
    problem.entries = {pattern, line, follower};
    support::simulate(problem, 8);
    engine::fit_problem off = problem;
    for (engine::entry &e : off.entries)
        e.of[engine::gauss_width].start = e.of[engine::lorentz_width].start = 0.0;
    const auto wanted = search(problem), found = search(off);
    EXPECT_NEAR(found.sum_of_squares, wanted.sum_of_squares, 1e-4);
}

TEST(search, windows_hold_and_the_others_are_fitted_beside_them) {
    auto problem = support::problem_with_lines(256, {{5, 100, 3}, {2, 106, 3}}, 0.01, 1);
    engine::fit_problem fixed = problem;
    problem.entries[0].of[engine::area].upper = 4.5;
    problem.entries[0].of[engine::area].start = 4.0;
    problem.entries[1].of[engine::frequency].lower = 106.5;
    const auto found = search(problem);
    ASSERT_EQ(found.x.size(), 6u);
    EXPECT_EQ(found.x[0], 4.5);
    EXPECT_EQ(found.at_bound[0], 1);
    EXPECT_EQ(found.x[4], 106.5);
    EXPECT_EQ(found.at_bound[4], -1);
    for (const std::size_t c : {1u, 2u, 3u, 5u}) EXPECT_EQ(found.at_bound[c], 0) << c;
    fixed.entries[0].of[engine::area] = {4.5};
    fixed.entries[1].of[engine::frequency] = {106.5};
    EXPECT_NEAR(search(fixed).sum_of_squares, found.sum_of_squares, 1e-5);
}

TEST(search, an_edge_that_does_not_press_is_left_again) {
    auto problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.01, 1);
    problem.entries[0].of[engine::frequency].lower = 98.0;
    problem.entries[0].of[engine::frequency].start = 98.0;
    problem.entries[0].of[engine::lorentz_width].start = 0.0;
    const auto found = search(problem);
    EXPECT_NEAR(found.x[1], 100.0, 0.05);
    EXPECT_NEAR(found.x[2], 3.0, 0.2);
    EXPECT_EQ(found.at_bound, (std::vector<signed char>{0, 0, 0}));
}

TEST(search, a_window_of_one_point_is_a_fixed_parameter) {
    auto problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.01, 1);
    for (engine::parameter &p : problem.entries[0].of) p.lower = p.upper = p.start;
    const auto found = search(problem);
    EXPECT_EQ(found.x, (std::vector<double>{5, 100, 3}));
    EXPECT_EQ(found.end, search_end::at_minimum);
}

TEST(search, ends_where_two_lines_are_the_same) {
    const auto one = support::problem_with_lines(256, {{5, 100, 3}}, 0.01, 1);
    auto twice = one;
    twice.entries.push_back(one.entries[0]);
    twice.entries[0].of[engine::area].start = twice.entries[1].of[engine::area].start = 2.5;
    const auto found = search(twice);
    EXPECT_NE(found.end, search_end::limit);
    EXPECT_NEAR(found.sum_of_squares, search(one).sum_of_squares, 1e-3);
}

TEST(search, ends_where_a_line_has_no_area) {
    auto problem = support::problem_with_lines(256, {{5, 100, 3}, {0, 180, 3}}, 0.01, 1);
    problem.entries[1].of[engine::area] = {0.0}; // fixed: frequency and width do nothing
    const auto found = search(problem);
    EXPECT_EQ(found.end, search_end::at_minimum);
    EXPECT_EQ(found.x[3], 180.0);
    EXPECT_EQ(found.x[4], 3.0);
}

TEST(search, the_limit_of_linearizations_holds) {
    auto problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.001, 1);
    problem.entries[0].of[engine::lorentz_width].start = 30.0;
    for (const int most : {1, 2, 3}) {
        engine::search_options options;
        options.most_linearizations = most;
        const auto found = search(problem, {}, options);
        EXPECT_EQ(found.end, search_end::limit);
        EXPECT_LE(found.linearizations, most);
        EXPECT_GT(found.expected_decrease, 1.0);
    }
}

TEST(search, never_ends_above_its_start) {
    support::random_numbers random(31);
    for (int trial = 0; trial < 50; ++trial) {
        auto problem = support::problem_with_lines(128, {{5, 40, 3}, {2, 50, 5}, {3, 90, 8}}, 0.05,
                                                   static_cast<std::uint64_t>(trial));
        for (engine::entry &e : problem.entries)
            for (engine::parameter &p : e.of) p.start *= random.uniform(0.5, 1.6);
        const auto model = engine::model::make(problem);
        engine::model_workspace ws;
        ws.prepare(*model);
        const double start = ws.chi_square(*model, model->starts());
        EXPECT_LE(search(problem).sum_of_squares, start * (1.0 + 1e-12));
    }
}

// Units do not matter: areas from 1e-30 to 1e30 with noise along give the same steps.
TEST(search, ends_at_the_same_place_in_any_units) {
    std::vector<double> wanted;
    int steps = 0;
    for (const double unit : {1.0, 1e-30, 1e-12, 1e12, 1e30, 1e-140, 1e140}) {
        auto problem = support::problem_with_lines(256, {{5, 100, 3}, {2, 107, 5}}, 0.05, 4);
        for (std::complex<double> &v : problem.spectrum) v *= unit;
        problem.noise_sd *= unit;
        for (engine::entry &e : problem.entries) {
            e.of[engine::area].start *= 1.3 * unit;
            e.of[engine::frequency].start += 0.7;
        }
        const auto found = search(problem);
        EXPECT_EQ(found.end, search_end::at_minimum) << unit;
        if (wanted.empty()) {
            wanted = found.x;
            steps = found.linearizations;
        }
        EXPECT_EQ(found.linearizations, steps) << unit;
        for (std::size_t c = 0; c < wanted.size(); ++c)
            EXPECT_NEAR(found.x[c] / (c % 3 == 0 ? unit : 1.0), wanted[c], 1e-9 * wanted[c])
                << unit;
    }
}
