// SPDX-License-Identifier: BSD-3-Clause
// What verdicts say of the residual: its whiteness, its size, and when there is none.
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
