// SPDX-License-Identifier: BSD-3-Clause
// The begin time that would explain a misfit, of spectra whose begin time is known.
#include "files/problem/begin_time.h"

#include "engine/model.h"
#include "files/base/tool_error.h"
#include "files/problem/exact_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <random>

namespace {

struct line {
    double area, hz_from_carrier, lorentz_hz;
};
// As of 31P at 3 T: singlets and the doublets and triplet of ATP, over 1150 Hz.
const std::vector<line> lines = {{4.0, 0.0, 12.0},    {1.5, -120.0, 25.0}, {1.5, -137.0, 25.0},
                                 {1.5, -385.0, 25.0}, {1.5, -401.0, 25.0}, {0.7, -820.0, 35.0},
                                 {1.4, -836.0, 35.0}, {0.7, -852.0, 35.0}, {1.0, 250.0, 18.0},
                                 {1.3, 152.0, 18.0},  {0.8, 181.0, 18.0},  {2.0, 330.0, 20.0}};
constexpr int points = 1024;
constexpr double hz_per_point = 4.0; // dwell time 244 us
constexpr double phase_deg = 35.0;

// Noise by its standard deviation; the decays of the lines from their definition, from the begin
// time on, and the transform from its.
engine::complex_signal measured(double begin_time, double noise_sd, unsigned seed,
                                const std::vector<line> &of = lines) {
    std::vector<std::complex<double>> fid(points);
    const double dwell = 1.0 / (points * hz_per_point);
    for (int k = 0; k < points; ++k)
        for (const line &each : of) {
            const double t = begin_time + k * dwell;
            fid[static_cast<std::size_t>(k)] +=
                each.area * std::exp(-std::numbers::pi * each.lorentz_hz * t) *
                std::polar(1.0, 2.0 * std::numbers::pi * each.hz_from_carrier * t +
                                    phase_deg * std::numbers::pi / 180.0);
        }
    fid[0] *= 0.5; // the first point counts half
    std::mt19937 random(seed);
    std::normal_distribution<double> noise(0.0, noise_sd);
    std::vector<std::complex<double>> turn(points);
    for (int k = 0; k < points; ++k)
        turn[static_cast<std::size_t>(k)] = std::polar(1.0, -2.0 * std::numbers::pi * k / points);
    engine::complex_signal spectrum(points);
    for (int j = 0; j < points; ++j) {
        std::complex<double> sum = 0.0;
        for (int k = 0; k < points; ++k)
            sum += fid[static_cast<std::size_t>(k)] *
                   turn[static_cast<std::size_t>(((j + points / 2) % points) * k % points)];
        const double re = noise(random), im = noise(random);
        spectrum[static_cast<std::size_t>(j)] = sum / double(points) + std::complex(re, im);
    }
    return spectrum;
}

// All lines with one phase, started a little beside the truth.
engine::fit_problem problem_for(engine::complex_signal spectrum, double noise_sd,
                                const std::vector<line> &of = lines) {
    engine::fit_problem problem;
    problem.when = {points, hz_per_point, 0.0, 0, 0};
    problem.spectrum = std::move(spectrum);
    problem.noise_sd = noise_sd;
    for (std::size_t k = 0; k < of.size(); ++k) {
        engine::entry &entry = problem.entries.emplace_back();
        const auto set = [&](engine::quantity q, double start) {
            entry.of[q].start = start;
            entry.of[q].how = engine::link::free;
        };
        set(engine::area, 1.2 * of[k].area);
        set(engine::frequency, points / 2 + (of[k].hz_from_carrier + 1.5) / hz_per_point);
        set(engine::lorentz_width, 1.2 * of[k].lorentz_hz / hz_per_point);
        set(engine::phase, 0.0);
        if (k > 0) {
            entry.of[engine::phase].how = engine::link::tied;
            entry.of[engine::phase].source = 0;
        }
    }
    return problem;
}

struct suggested {
    double quality;
    std::optional<tools::begin_time_hint> hint;
};

suggested suggest(const engine::fit_problem &problem) {
    engine::model_workspace workspace;
    const auto found = engine::find_optimum(problem, workspace);
    EXPECT_TRUE(found);
    return {found->quality, tools::suggest_begin_time(problem, *found, workspace, {})};
}

} // namespace

// The highest line is 4 / (pi 12 Hz) x 4 Hz = 0.42 high: 800, 200 and 80 times the noise.
TEST(suggest_begin_time, finds_the_truth_wherever_it_makes_a_misfit) {
    unsigned seed = 1;
    for (const double noise_sd : {0.0005, 0.002, 0.005})
        for (const double truth_ms : {0.1, 0.3, 0.7, 1.2, 2.0, 3.5, 4.9}) {
            const auto got =
                suggest(problem_for(measured(1e-3 * truth_ms, noise_sd, seed++), noise_sd));
            const std::string what = "begin time " + std::to_string(truth_ms) + " ms, noise " +
                                     std::to_string(noise_sd) + ", quality " +
                                     std::to_string(got.quality);
            if (got.hint)
                EXPECT_NEAR(1e3 * got.hint->seconds, truth_ms, std::max(0.05, 0.05 * truth_ms))
                    << what;
            else
                EXPECT_LT(got.quality, 1.1) << what; // little to explain
        }
}

TEST(suggest_begin_time, says_nothing_where_there_is_none) {
    for (unsigned seed = 100; seed < 102; ++seed)
        for (const double noise_sd : {0.0005, 0.005}) {
            engine::fit_problem problem = problem_for(measured(0.0, noise_sd, seed), noise_sd);
            EXPECT_FALSE(suggest(problem).hint) << seed << " " << noise_sd;
            problem.noise_sd *= 0.3; // a misfit by the noise's figure alone
            EXPECT_FALSE(suggest(problem).hint) << seed << " " << noise_sd;
        }
}

TEST(suggest_begin_time, is_not_misled_by_a_line_that_the_table_lacks) {
    engine::fit_problem problem = problem_for(measured(0.0, 0.0005, 7), 0.0005);
    problem.entries.pop_back(); // of a line at the upper end
    const auto got = suggest(problem);
    EXPECT_GT(got.quality, 1.5);
    EXPECT_FALSE(got.hint) << got.hint->seconds;
}

// Two lines 500 Hz apart have the same phases again 2 ms later.
TEST(suggest_begin_time, names_the_shortest_of_those_that_the_lines_cannot_tell_apart) {
    const std::vector<line> two = {{4.0, 0.0, 12.0}, {3.0, 500.0, 12.0}};
    const auto got = suggest(problem_for(measured(2.4e-3, 0.001, 3, two), 0.001, two));
    ASSERT_TRUE(got.hint) << got.quality;
    EXPECT_NEAR(0.4, 1e3 * got.hint->seconds, 0.02);
    EXPECT_TRUE(got.hint->several);
}

TEST(suggest_begin_time, stands_in_the_record_of_the_fit) {
    const std::filesystem::path file =
        std::filesystem::path(testing::TempDir()) / "begin_time_optimum.json";
    const auto read = [&](const std::string &text) {
        std::ofstream(file) << text;
        return tools::read_optimum(file.string());
    };
    tools::optimum_record record;
    record.method = "exact";
    EXPECT_FALSE(read(tools::optimum_text(record)).begin_time);
    record.begin_time = tools::begin_time_hint{1.25e-3, 0.75, true};
    const auto back = read(tools::optimum_text(record)).begin_time;
    ASSERT_TRUE(back);
    EXPECT_EQ(1.25e-3, back->seconds);
    EXPECT_EQ(0.75, back->explained);
    EXPECT_TRUE(back->several);
    for (const double seconds : {-1e-3, 0.0, 5.1e-3, 1e300, double(NAN)}) {
        record.begin_time->seconds = seconds;
        EXPECT_THROW(read(tools::optimum_text(record)), tools::tool_error) << seconds;
    }
    std::filesystem::remove(file);
}

TEST(begin_time_text, has_the_option_to_give) {
    EXPECT_EQ("a begin time of 1.2 ms would explain 96 % of the misfit: --begin-time 0.0012",
              tools::begin_time_text({1.2e-3, 0.96, false}));
    EXPECT_EQ(
        "a begin time of 0.301 ms would explain 100 % of the misfit, and longer ones as much: "
        "--begin-time 0.000301",
        tools::begin_time_text({3.01e-4, 0.999, true}));
    EXPECT_EQ(2e-3,
              tools::middle_of({{3e-3, 1, false}, {1e-3, 1, false}, {2e-3, 1, false}}).seconds);
}
