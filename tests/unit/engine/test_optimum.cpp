// SPDX-License-Identifier: BSD-3-Clause
#include "engine/optimum.h"

#include "support/engine_problem.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <thread>

using engine::finding;

static const double infinity = std::numeric_limits<double>::infinity();

static engine::result<engine::optimum> fit(const engine::fit_problem &problem) {
    engine::model_workspace ws;
    return engine::find_optimum(problem, ws);
}

// An error that says why, or a verdict that says that the values are not to be used.
static bool is_refused(const engine::result<engine::optimum> &found) {
    return found ? found->judged.what != finding::optimum : !found.why().reason.empty();
}

static engine::fit_problem three_lines(double noise = 0.02, std::uint64_t seed = 5) {
    return support::problem_with_lines(512, {{5, 150, 3}, {3, 230, 4}, {2, 260, 3}}, noise, seed);
}

TEST(optimum, of_starts_that_are_off_is_that_of_starts_at_the_truth) {
    const auto wanted = fit(three_lines());
    ASSERT_TRUE(wanted);
    EXPECT_EQ(wanted->judged.what, finding::optimum);
    for (const double off : {-12.0, -6.0, 2.0, 9.0}) {
        auto problem = three_lines();
        for (engine::entry &e : problem.entries) {
            e.of[engine::frequency].start += off;
            e.of[engine::area].start *= 2.5;
            e.of[engine::lorentz_width].start *= 0.5;
        }
        const auto found = fit(problem);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->judged.what, finding::optimum) << off;
        EXPECT_NEAR(found->found.sum_of_squares, wanted->found.sum_of_squares, 1e-5) << off;
        for (int k = 0; k < 3; ++k)
            for (const engine::quantity q :
                 {engine::area, engine::frequency, engine::lorentz_width})
                EXPECT_NEAR(found->values[static_cast<std::size_t>(k)][q],
                            wanted->values[static_cast<std::size_t>(k)][q],
                            0.02 * wanted->covariance.error(k, q));
    }
}

TEST(optimum, a_line_that_starts_on_its_neighbour_is_brought_back) {
    auto problem = three_lines();
    problem.entries[2].of[engine::frequency].start = 233.0;
    const auto found = fit(problem), wanted = fit(three_lines());
    ASSERT_TRUE(found);
    EXPECT_NEAR(found->found.sum_of_squares, wanted->found.sum_of_squares, 1e-5);
    EXPECT_GT(found->starts.size(), 1u);
}

TEST(optimum, lines_that_crossed_keep_their_names) {
    // two lines on one signal pair, given in order but both off to one side
    auto problem = support::problem_with_lines(512, {{5, 200, 4}, {2, 205, 4}}, 0.02, 8);
    const auto wanted = fit(problem);
    problem.entries[0].of[engine::frequency].start = 206.0;
    problem.entries[1].of[engine::frequency].start = 206.5;
    problem.entries[0].of[engine::area].start = 1.0;
    problem.entries[1].of[engine::area].start = 6.0;
    const auto found = fit(problem);
    ASSERT_TRUE(found && wanted);
    EXPECT_EQ(found->judged.what, finding::optimum);
    EXPECT_NEAR(found->values[0][engine::frequency], wanted->values[0][engine::frequency], 0.01);
    EXPECT_NEAR(found->values[1][engine::area], wanted->values[1][engine::area], 0.01);
}

// Two lines within their width and one far off, one phase for all.
static engine::fit_problem merged_lines(std::uint64_t seed) {
    auto out = support::problem_with_lines(512, {{2.5, 120, 3.7}, {2.5, 123.5, 3.7}, {2, 400, 5}},
                                           0.08, seed);
    const auto tie = [&](std::size_t k, engine::quantity q) {
        out.entries[k].of[q].how = engine::link::tied;
        out.entries[k].of[q].source = 0;
    };
    tie(1, engine::lorentz_width);
    out.entries[0].of[engine::phase].how = engine::link::free;
    for (const std::size_t k : {1u, 2u}) tie(k, engine::phase);
    return out;
}

TEST(optimum, a_broad_line_less_another_is_no_end_for_two_narrow_ones) {
    support::random_numbers random(3);
    int splits = 0;
    for (std::uint64_t seed = 1; seed <= 110; ++seed) {
        auto problem = merged_lines(seed);
        const double shift = random.uniform(-15, 15);
        for (engine::entry &e : problem.entries) {
            e.of[engine::frequency].start += shift;
            e.of[engine::area].start *= std::pow(3.0, random.uniform(-1, 1));
            e.of[engine::lorentz_width].start *= std::pow(2.0, random.uniform(-1, 1));
        }
        problem.entries[0].of[engine::phase].start = random.uniform(-30, 30);
        const auto wanted = fit(merged_lines(seed)), found = fit(problem);
        ASSERT_TRUE(wanted && found);
        const double above = found->found.sum_of_squares - wanted->found.sum_of_squares;
        EXPECT_LT(above, engine::verdict_limits::same_good) << seed;
        EXPECT_TRUE(above < 1e-4 || is_refused(found)) << seed << ": " << above;
        for (const engine::start_report &s : found->starts) splits += s.name == "split" ? 1 : 0;
    }
    EXPECT_GT(splits, 5); // one in ten falls for it at first
}

TEST(optimum, extra_starts_are_tried_and_reported) {
    auto problem = three_lines();
    const auto wanted = fit(problem);
    engine::fit_options options;
    options.extra.push_back({"the search's end", wanted->values});
    engine::model_workspace ws;
    const auto found = engine::find_optimum(problem, ws, options);
    ASSERT_TRUE(found);
    ASSERT_EQ(found->starts.size(), 2u);
    EXPECT_EQ(found->starts[1].name, "the search's end");
    EXPECT_TRUE(found->starts[1].same);
    options.starts = 4;
    EXPECT_GE(engine::find_optimum(problem, ws, options)->starts.size(), 4u);
}

TEST(optimum, two_lines_of_one_shape_are_degenerate_and_named_and_the_others_keep_their_errors) {
    const auto one = fit(three_lines());
    auto problem = three_lines();
    problem.entries.push_back(problem.entries[1]);
    for (const engine::quantity q : {engine::frequency, engine::lorentz_width}) {
        problem.entries[3].of[q].how = engine::link::tied;
        problem.entries[3].of[q].source = 1;
    }
    for (const std::size_t k : {1u, 3u}) problem.entries[k].of[engine::area].start = 1.5;
    const auto found = fit(problem);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->judged.what, finding::degenerate);
    ASSERT_FALSE(found->judged.reasons.empty());
    EXPECT_EQ(found->judged.reasons.front().entries, (std::vector<int>{1, 3}));
    EXPECT_EQ(found->covariance.error(3, engine::area), infinity);
    EXPECT_NEAR(found->found.sum_of_squares, one->found.sum_of_squares, 1e-5);
    EXPECT_NEAR(found->values[1][engine::area] + found->values[3][engine::area],
                one->values[1][engine::area], 0.01 * one->covariance.error(1, engine::area));
    for (const int k : {0, 2})
        EXPECT_NEAR(found->covariance.error(k, engine::area),
                    one->covariance.error(k, engine::area),
                    1e-6 * one->covariance.error(k, engine::area));
}

TEST(optimum, two_free_lines_on_one_signal_have_errors_that_say_so) {
    const auto one = fit(three_lines());
    auto problem = three_lines();
    problem.entries.push_back(problem.entries[1]);
    for (const std::size_t k : {1u, 3u}) problem.entries[k].of[engine::area].start = 1.5;
    const auto found = fit(problem);
    ASSERT_TRUE(found);
    EXPECT_GT(std::max(found->covariance.error(1, engine::area),
                       found->covariance.error(3, engine::area)),
              5.0 * one->covariance.error(1, engine::area));
    EXPECT_NEAR(found->covariance.error(0, engine::area), one->covariance.error(0, engine::area),
                0.05 * one->covariance.error(0, engine::area));
}

TEST(optimum, a_line_where_nothing_is_does_not_pass_for_found) {
    auto problem = three_lines();
    problem.entries.push_back(support::free_line({0.0, 400, 3}));
    const auto found = fit(problem);
    ASSERT_TRUE(found);
    const double area = found->values[3][engine::area];
    const double error = found->covariance.error(3, engine::area);
    EXPECT_TRUE(found->judged.what != finding::optimum || !(std::fabs(area) > 5.0 * error))
        << area << " +- " << error;
}

// A line where nothing is finds one bump of the noise or another, as good, with another area; that
// of the line beside it moves by less than its error. In whatever unit the areas are.
TEST(optimum, other_minima_name_the_areas_that_differ_in_any_unit) {
    int several = 0;
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
        std::vector<std::vector<int>> named;
        for (const double unit : {1.0, 1e-4, 1e4}) {
            auto problem = support::problem_with_lines(256, {{5 * unit, 60, 3}}, 0.05 * unit, seed);
            problem.entries.push_back(support::free_line({0.05 * unit, 160, 3}));
            engine::fit_options options;
            options.starts = 3;
            for (const double place : {130.0, 190.0, 220.0}) {
                std::vector<engine::values_of_entry> values(2);
                for (std::size_t k = 0; k < 2; ++k)
                    for (std::size_t q = 0; q < engine::quantities; ++q)
                        values[k][q] = problem.entries[k].of[q].start;
                values[1][engine::frequency] = place;
                options.extra.push_back({"elsewhere", values});
            }
            engine::model_workspace ws;
            const auto found = engine::find_optimum(problem, ws, options);
            ASSERT_TRUE(found);
            std::vector<int> &entries = named.emplace_back();
            for (const engine::reason &r : found->judged.reasons)
                if (r.what == finding::several_minima) entries = r.entries;
        }
        EXPECT_EQ(named[1], named[0]) << seed;
        EXPECT_EQ(named[2], named[0]) << seed;
        if (named[0].empty()) continue;
        EXPECT_EQ(named[0].back(), 1) << seed;
        several += named[0].size() == 1 ? 1 : 0;
    }
    EXPECT_GT(several, 0) << "none in which the line that is there keeps its area";
}

// ---- input that no fit can be made of: an error or a verdict, and an end ----

TEST(bad_input, data_that_are_not_finite_are_an_error) {
    for (const double bad : {std::nan(""), infinity, -infinity}) {
        auto problem = three_lines();
        for (std::complex<double> &v : problem.spectrum) v = {bad, bad};
        EXPECT_FALSE(fit(problem));
    }
}

TEST(bad_input, data_that_overflow_on_the_way_are_an_error_or_a_verdict) {
    for (const double size : {1e150, 1e155, 1e200, 1e300, 1.7e308}) {
        auto problem = three_lines();
        for (std::complex<double> &v : problem.spectrum) v = {size, -size};
        EXPECT_TRUE(is_refused(fit(problem))) << size;
    }
}

TEST(bad_input, constant_and_zero_data_get_a_verdict) {
    for (const double value : {0.0, 1.0, -1e-300, 1e-30, 1e30}) {
        auto problem = three_lines();
        for (std::complex<double> &v : problem.spectrum) v = value;
        EXPECT_TRUE(is_refused(fit(problem))) << value;
    }
}

TEST(bad_input, one_point_of_data_is_too_little) {
    auto problem = three_lines();
    problem.intervals = {{150, 150}};
    const auto found = fit(problem);
    ASSERT_FALSE(found);
    EXPECT_EQ(found.why().reason, "more free parameters (9) than fitted values (2)");
    problem.when.points = 1;
    problem.spectrum.resize(1);
    EXPECT_FALSE(fit(problem));
}

TEST(bad_input, as_many_values_as_parameters_are_just_enough) {
    auto problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.05, 1);
    problem.part = engine::channel::absorption;
    problem.intervals = {{99, 101}};
    EXPECT_TRUE(fit(problem));
    problem.intervals = {{99, 100}};
    ASSERT_FALSE(fit(problem));
    EXPECT_EQ(fit(problem).why().reason, "more free parameters (3) than fitted values (2)");
}

TEST(bad_input, noise_of_nothing_is_an_error_and_any_other_gives_an_end) {
    auto problem = three_lines();
    problem.noise_sd = 0.0;
    EXPECT_FALSE(fit(problem));
    for (const double sd : {1e-300, 1e-160, 1e-100, 1e-12, 1e3, 1e30, 1e150, 1e300}) {
        problem.noise_sd = sd;
        EXPECT_TRUE(is_refused(fit(problem))) << sd;
    }
}

TEST(bad_input, nothing_free_is_a_verdict_on_what_is_given) {
    auto problem = three_lines();
    for (engine::entry &e : problem.entries)
        for (engine::parameter &p : e.of) p.how = engine::link::fixed;
    const auto found = fit(problem);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->judged.what, finding::optimum);
    EXPECT_EQ(found->covariance.columns(), 0);
    EXPECT_EQ(found->values[1][engine::area], 3.0);
    problem.entries[0].of[engine::area].start = 50.0;
    EXPECT_EQ(fit(problem)->judged.what, finding::misfit);
}

TEST(bad_input, a_thousand_entries_end) {
    std::vector<support::made_up_line> lines;
    for (int k = 0; k < 1000; ++k) lines.push_back({1.0, 0.25 + k, 3.0});
    auto problem = support::problem_with_lines(1024, lines, 0.05, 2);
    EXPECT_EQ(fit(problem).why().reason, "more free parameters (3000) than fitted values (2048)");
    for (std::size_t k = 0; k < problem.entries.size(); ++k)
        for (engine::parameter &p : problem.entries[k].of)
            if (k % 50 != 0) p.how = engine::link::fixed;
    const auto found = fit(problem);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->values.size(), 1000u);
    EXPECT_EQ(found->judged.what, finding::optimum);
}

TEST(bad_input, areas_of_any_size_give_the_same_fit_in_their_units) {
    const auto wanted = fit(three_lines());
    for (const double unit : {1e-140, 1e-30, 1e30, 1e140}) {
        auto problem = three_lines();
        for (std::complex<double> &v : problem.spectrum) v *= unit;
        problem.noise_sd *= unit;
        for (engine::entry &e : problem.entries) e.of[engine::area].start *= unit;
        const auto found = fit(problem);
        ASSERT_TRUE(found) << unit;
        EXPECT_EQ(found->judged.what, finding::optimum) << unit;
        EXPECT_NEAR(found->values[1][engine::area] / unit, wanted->values[1][engine::area], 1e-6);
        EXPECT_NEAR(found->covariance.error(1, engine::area) / unit,
                    wanted->covariance.error(1, engine::area), 1e-6);
    }
}

TEST(bad_input, start_areas_and_widths_of_any_size_give_an_end) {
    for (const double start : {0.0, 1e-300, 1e-160, 1e-30, 1e30, 1e160, 1e300, -1e30}) {
        for (const engine::quantity q : {engine::area, engine::lorentz_width, engine::gauss_width,
                                         engine::frequency, engine::phase}) {
            auto problem = three_lines();
            problem.entries[1].type = engine::line_type::voigt;
            problem.entries[1].of[engine::gauss_width].how = engine::link::free;
            problem.entries[1].of[q].start = start;
            const auto found = fit(problem);
            if (!found) continue;
            EXPECT_LT(found->linearizations, 20000) << start << " " << q;
            EXPECT_TRUE(is_refused(found) || found->quality < 1.5) << start << " " << q;
            for (const auto &values : found->values)
                for (const double v : values) EXPECT_TRUE(std::isfinite(v)) << start << " " << q;
        }
    }
}

TEST(bad_input, widths_of_nothing_end_at_the_edge_or_above) {
    auto problem = support::problem_with_lines(256, {{5, 100, 0}}, 0.02, 3);
    const auto found = fit(problem); // an undamped oscillation
    ASSERT_TRUE(found);
    EXPECT_GE(found->values[0][engine::lorentz_width], 0.0);
    EXPECT_LE(found->values[0][engine::lorentz_width],
              5.0 * std::max(0.01, found->covariance.error(0, engine::lorentz_width)));
}

// ---- the same bits ----

static void expect_same_bits(const engine::optimum &a, const engine::optimum &b) {
    ASSERT_EQ(a.values.size(), b.values.size());
    for (std::size_t k = 0; k < a.values.size(); ++k) {
        for (std::size_t q = 0; q < 5; ++q) {
            EXPECT_EQ(a.values[k][q], b.values[k][q]);
            EXPECT_EQ(a.covariance.error(static_cast<int>(k), static_cast<engine::quantity>(q)),
                      b.covariance.error(static_cast<int>(k), static_cast<engine::quantity>(q)));
        }
    }
    EXPECT_EQ(a.found.sum_of_squares, b.found.sum_of_squares);
    EXPECT_EQ(a.linearizations, b.linearizations);
    EXPECT_EQ(a.evaluations, b.evaluations);
    EXPECT_EQ(a.judged.what, b.judged.what);
}

static std::vector<engine::fit_problem> mixed_problems() {
    std::vector<engine::fit_problem> out;
    support::random_numbers random(77);
    for (int i = 0; i < 12; ++i) {
        const int points = 64 << random.integer(0, 3);
        std::vector<support::made_up_line> lines;
        for (int k = 0; k < random.integer(1, 6); ++k)
            lines.push_back(
                {random.uniform(1, 5), random.uniform(0.2, 0.8) * points, random.uniform(1, 5)});
        auto problem = support::problem_with_lines(points, lines, 0.03, random.next());
        for (engine::entry &e : problem.entries) e.of[engine::frequency].start += 2.0;
        out.push_back(problem);
    }
    return out;
}

TEST(same_bits, from_a_workspace_that_was_used_for_others) {
    engine::model_workspace used;
    for (const engine::fit_problem &problem : mixed_problems()) {
        const auto fresh = fit(problem), again = engine::find_optimum(problem, used);
        ASSERT_TRUE(fresh && again);
        expect_same_bits(*fresh, *again);
    }
}

TEST(same_bits, from_many_threads_at_once) {
    const auto problems = mixed_problems();
    std::vector<engine::optimum> wanted;
    for (const auto &problem : problems) wanted.push_back(*fit(problem));
    std::vector<std::vector<engine::optimum>> got(4);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < got.size(); ++t)
        threads.emplace_back([&, t] {
            engine::model_workspace ws;
            for (std::size_t i = 0; i < problems.size(); ++i) // each in an order of its own
                got[t].push_back(
                    *engine::find_optimum(problems[(i + 3 * t) % problems.size()], ws));
        });
    for (std::thread &thread : threads) thread.join();
    for (std::size_t t = 0; t < got.size(); ++t)
        for (std::size_t i = 0; i < problems.size(); ++i)
            expect_same_bits(got[t][i], wanted[(i + 3 * t) % problems.size()]);
}
