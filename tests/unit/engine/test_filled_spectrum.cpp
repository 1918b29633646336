// SPDX-License-Identifier: BSD-3-Clause
// What zeros behind a decay change of a fit: its points, nothing of what is said of it.
#include "engine/centred_spectrum.h"
#include "engine/optimum.h"

#include "support/engine_problem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using engine::finding;
using engine::verdict_limits;

namespace {

// The same measurement with zeros behind its decay, up to `times` its points.
engine::fit_problem filled(engine::fit_problem of, int times) {
    const int measured = of.when.points, points = times * measured;
    of.spectrum = engine::spectrum_of_fid(engine::fid_of_spectrum(of.spectrum), points);
    of.when.points = points;
    of.when.kept = measured;
    of.when.hz_per_point /= times;
    of.noise_sd /= times; // 1 / points of as many values
    for (engine::entry &each : of.entries)
        for (const engine::quantity q :
             {engine::frequency, engine::gauss_width, engine::lorentz_width})
            each.of[q].start *= times;
    return of;
}

engine::reason reason_of(const engine::verdict &judged, finding what) {
    const auto found = std::find_if(judged.reasons.begin(), judged.reasons.end(),
                                    [&](const engine::reason &r) { return r.what == what; });
    return found == judged.reasons.end() ? engine::reason{finding::optimum, 0.0, {}, ""} : *found;
}

// Two lines of 128 points, filled, at their optimum; what was found may be changed before it is
// judged.
class two_lines {
  public:
    explicit two_lines(int times)
        : model_(engine::model::make(
              filled(support::problem_with_lines(128, {{5, 50, 2}, {2, 75, 3}}, 0.05, 1), times))) {
        ws_.prepare(*model_);
        found = engine::searcher().run(*model_, ws_, model_->starts(), {});
        ws_.linearize(*model_, found.x);
        covariance = engine::entry_covariance(*model_, found.x, ws_.products(), found.at_bound);
    }
    int frequency_of(int entry) const { return model_->map().of(entry, engine::frequency).column; }
    engine::verdict judged() const {
        return judge(*model_, found, covariance, ws_.residual(*model_), model_->starts());
    }

    engine::minimum found;
    engine::entry_covariance covariance;

  private:
    decltype(engine::model::make({})) model_;
    mutable engine::model_workspace ws_;
};

} // namespace

// A fit that was stopped with something left to be had.
TEST(filled_spectrum, is_finished_where_what_the_measurement_tells_is_used_up) {
    for (const int times : {1, 2, 8}) {
        two_lines fit(times);
        const auto judged = [&](double left, double sum_of_squares, engine::search_end end) {
            fit.found.end = end;
            fit.found.expected_decrease = left * times;
            fit.found.sum_of_squares = sum_of_squares * times;
            return reason_of(fit.judged(), finding::not_finished);
        };
        using enum engine::search_end;
        const double allowed = verdict_limits::expected_decrease;
        EXPECT_EQ(judged(0.999 * allowed, 250.0, at_minimum).what, finding::optimum) << times;
        EXPECT_EQ(judged(1.001 * allowed, 250.0, at_minimum).what, finding::not_finished) << times;
        EXPECT_DOUBLE_EQ(judged(1.001 * allowed, 250.0, at_minimum).number, 1.001 * allowed)
            << times;
        // where the sum itself is rounded by more, that is the limit
        EXPECT_EQ(judged(0.999e-11 * 1e9, 1e9, at_rounding).what, finding::optimum) << times;
        EXPECT_EQ(judged(1.001e-11 * 1e9, 1e9, at_rounding).what, finding::not_finished) << times;
    }
}

TEST(filled_spectrum, has_lines_that_changed_places_where_the_measurement_tells_them_apart) {
    for (const int times : {1, 2, 8}) {
        two_lines fit(times);
        const int a = fit.frequency_of(0), b = fit.frequency_of(1);
        const double variance = fit.covariance.of_columns(a, a) + fit.covariance.of_columns(b, b) -
                                2.0 * fit.covariance.of_columns(a, b);
        const auto changed = [&](double errors) {
            const double error = std::sqrt(times * variance); // n/m of what n points let expect
            fit.found.x[static_cast<std::size_t>(b)] =
                fit.found.x[static_cast<std::size_t>(a)] - errors * error;
            const auto judged = fit.judged();
            return std::any_of(judged.reasons.begin(), judged.reasons.end(),
                               [](const auto &r) { return r.text == "lines that changed places"; });
        };
        EXPECT_FALSE(changed(1.99)) << times;
        EXPECT_TRUE(changed(2.01)) << times;
    }
}

// A line where nothing is finds bumps of the noise, one as good as the other, filled or not.
TEST(filled_spectrum, has_the_other_minima_of_its_measurement) {
    int several = 0;
    for (std::uint64_t seed = 1; seed <= 16; ++seed) {
        engine::reason said[2];
        auto measured = support::problem_with_lines(128, {{5, 30, 2}}, 0.05, seed);
        measured.entries.push_back(support::free_line({0.1, 80, 2}));
        for (const int times : {1, 8}) {
            const auto problem = filled(measured, times);
            engine::fit_options options;
            options.most_starts = 0;
            for (int place = 45; place <= 125; place += 2) { // so that both find all that there are
                auto &values = options.extra.emplace_back("elsewhere").values;
                for (const engine::entry &each : problem.entries) {
                    values.emplace_back();
                    for (const engine::quantity q : engine::every_quantity)
                        values.back()[q] = each.of[q].start;
                }
                values[1][engine::frequency] = place * times;
            }
            engine::model_workspace ws;
            const auto found = engine::find_optimum(problem, ws, options);
            ASSERT_TRUE(found);
            said[times == 1 ? 0 : 1] = reason_of(found->judged, finding::several_minima);
        }
        EXPECT_EQ(said[1].what, said[0].what) << seed;
        EXPECT_EQ(said[1].entries, said[0].entries) << seed;
        EXPECT_NEAR(said[1].number, said[0].number, 1e-4) << seed;
        several += said[0].what == finding::several_minima ? 1 : 0;
    }
    EXPECT_GT(several, 1);
    EXPECT_LT(several, 16) << "none that has only one";
}
