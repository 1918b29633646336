// SPDX-License-Identifier: BSD-3-Clause
#include "engine/verdict.h"

#include "engine/optimum.h"

#include "support/engine_problem.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using engine::finding;
using engine::verdict_limits;

namespace {
// A fit that nothing is to be said against, to be spoilt in one way.
struct example {
    engine::fit_problem problem;
    engine::minimum found;
    std::vector<double> residual, start;

    explicit example(std::uint64_t seed = 1) {
        problem = support::problem_with_lines(256, {{5, 100, 3}, {2, 150, 5}}, 0.05, seed);
        const auto model = engine::model::make(problem);
        engine::model_workspace ws;
        ws.prepare(*model);
        engine::searcher searcher;
        found = searcher.run(*model, ws, model->starts(), {});
        start = model->starts();
        ws.linearize(*model, found.x);
        residual.assign(ws.residual(*model).begin(), ws.residual(*model).end());
    }
    engine::verdict judged() const {
        const auto model = engine::model::make(problem);
        engine::model_workspace ws;
        ws.prepare(*model);
        ws.linearize(*model, found.x);
        const engine::entry_covariance covariance(*model, found.x, ws.products(), found.at_bound);
        return judge(*model, found, covariance, residual, start);
    }
    double degrees() const { return 512.0 - 6.0; }
};
} // namespace

TEST(verdict, a_fit_that_ended_in_noise_is_the_optimum) {
    const auto judged = example().judged();
    EXPECT_EQ(judged.what, finding::optimum);
    EXPECT_TRUE(judged.reasons.empty());
}

TEST(verdict, names_are_those_of_the_table) {
    EXPECT_STREQ(name_of(finding::optimum), "optimum");
    EXPECT_STREQ(name_of(finding::not_finished), "not_finished");
    EXPECT_STREQ(name_of(finding::several_minima), "several_minima");
    EXPECT_STREQ(name_of(finding::at_bound), "at_bound");
}

TEST(verdict, not_finished_begins_above_the_expected_decrease_allowed) {
    example e;
    e.found.expected_decrease = 0.999 * verdict_limits::expected_decrease;
    EXPECT_EQ(e.judged().what, finding::optimum);
    e.found.expected_decrease = 1.001 * verdict_limits::expected_decrease;
    EXPECT_EQ(e.judged().what, finding::not_finished);
    EXPECT_EQ(e.judged().reasons[0].number, e.found.expected_decrease);
    e.found.expected_decrease = std::nan("");
    EXPECT_EQ(e.judged().what, finding::not_finished);
}

TEST(verdict, what_rounding_leaves_is_allowed_only_where_rounding_ended_the_search) {
    example e;
    e.found.expected_decrease = 1e-3;
    e.found.sum_of_squares = 1.0e9;
    e.found.end = engine::search_end::at_rounding;
    const auto rounded = e.judged();
    EXPECT_TRUE(std::none_of(rounded.reasons.begin(), rounded.reasons.end(),
                             [](const auto &r) { return r.what == finding::not_finished; }));
    e.found.end = engine::search_end::at_minimum;
    EXPECT_EQ(e.judged().what, finding::not_finished);
}

TEST(verdict, quality_limits_on_both_sides) {
    const auto at_quality = [](double quality) {
        example e;
        e.found.sum_of_squares = quality * quality * e.degrees();
        return e.judged().what;
    };
    EXPECT_EQ(at_quality(1.499), finding::optimum);
    EXPECT_EQ(at_quality(1.501), finding::misfit);
    EXPECT_EQ(at_quality(1e300), finding::misfit);
    EXPECT_EQ(at_quality(0.701), finding::optimum);
    EXPECT_EQ(at_quality(0.699), finding::noise_wrong);
    EXPECT_EQ(at_quality(0.0), finding::noise_wrong);
    EXPECT_EQ(at_quality(std::nan("")), finding::misfit);
}

TEST(verdict, pressed_parameters_are_named_by_entry) {
    example e;
    e.found.at_bound[5] = -1;
    const auto judged = e.judged();
    EXPECT_EQ(judged.what, finding::at_bound);
    EXPECT_EQ(judged.reasons[0].entries, std::vector<int>{1});
    EXPECT_EQ(judged.reasons[0].number, 1.0);
}

TEST(verdict, lines_that_changed_places_are_named) {
    example e;
    std::swap(e.start[1], e.start[4]); // given the other way round
    const auto judged = e.judged();
    EXPECT_EQ(judged.what, finding::moved);
    EXPECT_EQ(judged.reasons[0].entries, (std::vector<int>{0, 1}));
}

// Four lines that are fitted well, with what was given of them moved: `start` at the ends by 0.
namespace {
struct four_lines {
    engine::fit_problem problem = support::problem_with_lines(
        512, {{5, 100, 3}, {4, 160, 4}, {3, 220, 3}, {5, 300, 5}}, 0.05, 3);
    engine::minimum found;
    std::vector<double> start;

    four_lines() {
        const auto model = engine::model::make(problem);
        start = model->starts();
        found.x = start;
        found.at_bound.resize(start.size());
        found.sum_of_squares = 1000.0;
    }
    double &place(int line) { return start[static_cast<std::size_t>(3 * line + 1)]; }
    std::vector<int> taking() {
        const auto model = engine::model::make(problem);
        engine::model_workspace ws;
        ws.prepare(*model);
        ws.linearize(*model, found.x);
        const engine::entry_covariance covariance(*model, found.x, ws.products(), found.at_bound);
        for (const engine::reason &r :
             judge(*model, found, covariance, std::vector<double>(1024, 0.0), start).reasons)
            if (r.text == "lines that stand where another was given") return r.entries;
        return {};
    }
};
} // namespace

TEST(verdict, a_line_that_took_the_place_of_another_is_named_though_the_order_is_kept) {
    four_lines e;
    EXPECT_TRUE(e.taking().empty());
    e.place(2) = 280.0; // ended at 220,
    e.place(1) = 221.0; // where the second was given, which went to 160
    EXPECT_EQ(e.taking(), std::vector<int>{2});
}

TEST(verdict, a_shift_of_all_lines_to_the_next_place_takes_nobodys_place) {
    for (const double shift : {-60.0, 60.0, 0.5}) {
        four_lines e;
        for (int line = 0; line < 4; ++line) e.place(line) += shift;
        EXPECT_TRUE(e.taking().empty()) << shift;
        e.place(3) += 80.0 + 60.0; // and one at the place of the third besides
        e.place(2) = 300.0 + shift;
        EXPECT_EQ(e.taking(), std::vector<int>{3}) << shift;
    }
}

TEST(verdict, a_place_counts_within_a_quarter_of_the_way_and_beyond_two_widths) {
    const auto taken = [](double own, double of_third) {
        four_lines e;
        e.place(3) = own; // ended at 300
        e.place(2) = of_third;
        return !e.taking().empty();
    };
    // a quarter of the way of 100 points
    EXPECT_TRUE(taken(400.0, 324.9));
    EXPECT_TRUE(taken(400.0, 275.1));
    EXPECT_FALSE(taken(400.0, 325.1));
    EXPECT_FALSE(taken(400.0, 274.9));
    // two widths of the broader line are 10 points
    EXPECT_TRUE(taken(310.1, 300.0));
    EXPECT_FALSE(taken(309.9, 300.0));
}

TEST(verdict, places_of_fixed_lines_count_and_those_of_own_followers_do_not) {
    for (const engine::link how : {engine::link::fixed, engine::link::tied}) {
        four_lines e;
        engine::parameter &third = e.problem.entries[2].of[engine::frequency];
        third.how = how;
        third.source = 3;
        third.start = 300.0;
        third.offset = -100.0; // of a follower: given at 300 when its leader was at 400
        e.found.x = e.start = engine::model::make(e.problem)->starts();
        e.found.at_bound.pop_back();
        e.start[9] = 400.0;
        EXPECT_EQ(e.taking().empty(), how == engine::link::tied);
    }
}

TEST(verdict, a_line_outside_of_what_is_fitted_is_named) {
    example e;
    e.problem.intervals = {{0, 130}};
    e.residual.resize(264); // 2 x 131 values, padded
    const auto judged = e.judged();
    ASSERT_FALSE(judged.reasons.empty());
    EXPECT_TRUE(std::any_of(judged.reasons.begin(), judged.reasons.end(), [](const auto &r) {
        return r.what == finding::moved && r.entries == std::vector<int>{1};
    }));
}

TEST(verdict, the_weightiest_reason_is_the_verdict_and_all_are_kept) {
    example e;
    e.found.at_bound[0] = 1;
    e.found.expected_decrease = 5.0;
    e.found.sum_of_squares = 1e6;
    const auto judged = e.judged();
    EXPECT_EQ(judged.what, finding::not_finished);
    EXPECT_EQ(judged.reasons.size(), 3u);
}

TEST(verdict, other_minima_are_joined_into_one_reason) {
    engine::verdict judged;
    engine::add_minimum(judged, 3.0, {2, 0});
    engine::add_minimum(judged, 1.5, {0, 5});
    EXPECT_EQ(judged.what, finding::several_minima);
    ASSERT_EQ(judged.reasons.size(), 1u);
    EXPECT_EQ(judged.reasons[0].number, 1.5);
    EXPECT_EQ(judged.reasons[0].entries, (std::vector<int>{0, 2, 5}));
}
