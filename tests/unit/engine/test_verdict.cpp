// SPDX-License-Identifier: BSD-3-Clause
#include "engine/verdict.h"

#include "engine/centred_spectrum.h"
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

// Both figures are normal with mean 0 and standard deviation 1 for white noise.
TEST(whiteness, of_white_noise_is_standard_normal) {
    for (const bool in_parts : {false, true}) {
        engine::fit_problem problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.05, 1);
        if (in_parts) problem.intervals = {{0, 40}, {60, 130}, {150, 255}};
        const auto model = engine::model::make(problem);
        ASSERT_TRUE(model);
        support::random_numbers random(41);
        const int trials = 2000;
        double sums[4] = {};
        std::vector<double> residual(512);
        for (int t = 0; t < trials; ++t) {
            for (double &r : residual) r = random.normal();
            const auto w = whiteness_of(*model, residual);
            sums[0] += w.runs / trials;
            sums[1] += w.runs * w.runs / trials;
            sums[2] += w.lag_1 / trials;
            sums[3] += w.lag_1 * w.lag_1 / trials;
        }
        // means scatter by 0.022, mean squares by 0.032: four of them; stretches add a little
        EXPECT_NEAR(sums[0], 0.0, 0.09);
        EXPECT_NEAR(sums[1], 1.0, 0.13);
        EXPECT_NEAR(sums[2], 0.0, 0.09);
        EXPECT_NEAR(sums[3], 1.0, 0.13);
    }
}

TEST(whiteness, of_a_residual_in_waves_is_large_and_of_an_alternating_one_negative) {
    const auto problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.05, 1);
    const auto model = engine::model::make(problem);
    std::vector<double> waves(512), teeth(512);
    for (std::size_t i = 0; i < 512; ++i) {
        waves[i] = std::sin(0.1 * static_cast<double>(i));
        teeth[i] = i % 2 == 0 ? 1.0 : -1.0;
    }
    const auto w = whiteness_of(*model, waves), t = whiteness_of(*model, teeth);
    EXPECT_GT(w.runs, verdict_limits::whiteness);
    EXPECT_GT(w.lag_1, verdict_limits::whiteness);
    EXPECT_LT(t.runs, -verdict_limits::whiteness);
    EXPECT_LT(t.lag_1, -verdict_limits::whiteness);
}

TEST(whiteness, of_few_values_and_of_zeros_says_nothing) {
    auto problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.05, 1);
    problem.intervals = {{100, 108}};
    const auto model = engine::model::make(problem);
    const auto few = whiteness_of(*model, std::vector<double>(24, 1.0));
    EXPECT_EQ(few.runs, 0.0);
    EXPECT_EQ(few.lag_1, 0.0);
    const auto all = engine::model::make(support::problem_with_lines(256, {{5, 100, 3}}, 0.05, 1));
    const auto zero = whiteness_of(*all, std::vector<double>(512, 0.0));
    EXPECT_EQ(zero.runs, 0.0);
    EXPECT_EQ(zero.lag_1, 0.0);
}

TEST(whiteness, says_something_from_twenty_values_on) {
    for (const int count : {19, 20, 21}) {
        auto problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.05, 1);
        problem.part = engine::channel::absorption;
        problem.intervals = {{100, 99 + count}};
        std::vector<double> teeth(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < teeth.size(); ++i) teeth[i] = i % 2 == 0 ? 1.0 : -1.0;
        const auto w = whiteness_of(*engine::model::make(problem), teeth);
        // each of n - 1 pairs gives -1: lag 1 is -sqrt(n - 1)
        EXPECT_DOUBLE_EQ(w.lag_1, count < 20 ? 0.0 : -std::sqrt(count - 1.0)) << count;
        EXPECT_EQ(w.runs != 0.0, count >= 20) << count;
    }
}

// Of a decay that was cut to a half every second point is one of its own, from the first of a
// stretch on, whether that is even or odd.
TEST(whiteness, of_a_cut_decay_counts_the_first_of_a_stretch_and_every_second_behind) {
    for (const int first : {100, 101}) {
        auto problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.05, 1);
        problem.part = engine::channel::absorption;
        problem.when.kept = 128;
        problem.intervals = {{first, first + 58}};
        std::vector<double> between(59, 0.0), counted(59, 0.0);
        for (std::size_t i = 0; i < 59; ++i)
            (i % 2 == 0 ? counted : between)[i] = i % 4 < 2 ? 1.0 : -1.0;
        const auto model = engine::model::make(problem);
        EXPECT_DOUBLE_EQ(whiteness_of(*model, counted).lag_1, -std::sqrt(29.0)) << first;
        EXPECT_EQ(whiteness_of(*model, between).lag_1, 0.0) << first;
    }
}

TEST(quality, counts_what_a_cut_decay_tells) {
    auto problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.05, 1);
    EXPECT_DOUBLE_EQ(quality_of(*engine::model::make(problem), 509.0), 1.0); // 512 values - 3
    problem.when.kept = 128;
    EXPECT_DOUBLE_EQ(quality_of(*engine::model::make(problem), 253.0), 1.0); // 256 - 3
    problem.part = engine::channel::absorption;
    EXPECT_DOUBLE_EQ(quality_of(*engine::model::make(problem), 125.0), 1.0);
}

// Noise of m points, zeros behind them up to n; what is known of the noise is its spread in the
// spectrum. Both the mean of many and its scatter are worked out: the sum of squares of 2 m values,
// over their number, scatters by 1/sqrt(m), its root by half of that.
TEST(quality, is_one_for_noise_that_zeros_fill) {
    const int points = 256, fits = 200;
    for (const int measured : {32, 100, 200, 250}) {
        for (const bool four_bytes : {false, true}) {
            double sum = 0.0;
            for (int s = 0; s < fits; ++s) {
                auto problem = support::problem_with_lines(points, {{5, 100, 3}}, 0.05, 1);
                support::random_numbers random(static_cast<std::uint64_t>(s + 1));
                engine::complex_signal fid(static_cast<std::size_t>(measured));
                for (auto &v : fid) v = {random.normal(), random.normal()};
                fid[0] *= 2.0; // of which the transform takes half
                problem.spectrum = engine::spectrum_of_fid(fid, points);
                if (four_bytes)
                    for (auto &v : problem.spectrum)
                        v = {static_cast<float>(v.real()), static_cast<float>(v.imag())};
                problem.noise_sd = std::sqrt(static_cast<double>(measured)) / points;
                problem.when.kept = measured;
                const auto model = engine::model::make(problem);
                EXPECT_EQ(model->measured(), measured);
                double squares = 0.0;
                for (const auto v : problem.spectrum)
                    squares += std::norm(v) / (problem.noise_sd * problem.noise_sd);
                // the parameters, three, took nothing of it here
                const double degrees = 2.0 * measured - 3.0;
                sum += quality_of(*model, squares) * std::sqrt(degrees / (2.0 * measured));
            }
            EXPECT_NEAR(sum / fits, 1.0, 5.0 * 0.5 / std::sqrt(measured * fits) + 0.125 / measured)
                << measured << " " << four_bytes;
        }
    }
}

TEST(quality, of_a_cut_decay_is_not_that_of_a_filled_one) {
    auto problem = support::problem_with_lines(256, {{5, 100, 3}}, 0.05, 1);
    problem.when.kept = 128;
    EXPECT_EQ(engine::model::make(problem)->measured(), 256); // noise up to its end
    engine::complex_signal fid = engine::fid_of_spectrum(problem.spectrum);
    std::fill(fid.begin() + 200, fid.end(), 0.0);
    problem.spectrum = engine::spectrum_of_fid(fid, 256);
    const auto both = engine::model::make(problem); // cut at 128 of 200 that were measured
    EXPECT_EQ(both->measured(), 200);
    EXPECT_DOUBLE_EQ(quality_of(*both, 253.0 * 256 / 200), 1.0);
    problem.when.kept = 256;
    EXPECT_EQ(engine::model::make(problem)->measured(), 256); // nobody says that it is filled
}

// ---- data without noise ----

// The model of three lines, times `unit`, from values of the decay as a file stores them.
static engine::fit_problem without_noise(double noise_sd, bool four_bytes, double unit = 1.0) {
    auto out = support::problem_with_lines(
        512, {{5 * unit, 150.3, 3}, {3 * unit, 230.7, 4}, {2 * unit, 260.1, 3}}, noise_sd, 1);
    const auto model = engine::model::make(out);
    engine::model_workspace ws;
    ws.prepare(*model);
    out.spectrum = ws.spectrum(*model, model->starts());
    if (four_bytes) {
        engine::complex_signal fid = engine::fid_of_spectrum(out.spectrum);
        for (std::complex<double> &v : fid)
            v = {static_cast<float>(v.real()), static_cast<float>(v.imag())};
        out.spectrum = engine::spectrum_of_fid(fid, 512);
    }
    for (engine::entry &e : out.entries) {
        e.of[engine::frequency].start += 0.7;
        e.of[engine::area].start *= 1.3;
    }
    return out;
}

static std::vector<finding> findings(const engine::fit_problem &problem) {
    engine::model_workspace ws;
    std::vector<finding> out;
    const auto found = engine::find_optimum(problem, ws);
    if (!found) return {finding::not_finished};
    for (const engine::reason &r : found->judged.reasons) out.push_back(r.what);
    return out;
}

TEST(noise_free, data_are_no_misfit_for_what_search_and_rounding_leave) {
    typedef std::vector<finding> list;
    for (const bool four_bytes : {false, true})
        for (const double unit : {1.0, 1e-30, 1e30})
            for (const double sd : {1e-1, 1e-2, 1e-4, 1e-6, 1e-8})
                EXPECT_EQ(findings(without_noise(sd * unit, four_bytes && unit == 1.0, unit)),
                          list{finding::noise_wrong})
                    << four_bytes << " " << unit << " " << sd;
    // the noise that four bytes make: 2.2e-8 of the root mean square of the data
    EXPECT_EQ(findings(without_noise(1e-9, true)), list{});
}

TEST(noise_free, data_with_a_line_that_is_not_fitted_are_a_misfit) {
    for (const double sd : {1e-2, 1e-4}) {
        auto problem = without_noise(sd, true);
        // a tenth of the noise in height, but in waves all over the spectrum
        const double height = 0.1 * sd;
        for (std::size_t i = 0; i < problem.spectrum.size(); ++i)
            problem.spectrum[i] += height * std::cos(0.3 * static_cast<double>(i));
        EXPECT_EQ(findings(problem), (std::vector<finding>{finding::misfit, finding::noise_wrong}));
    }
}
