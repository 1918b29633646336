// SPDX-License-Identifier: BSD-3-Clause
// test_error_correlations.cpp -- the few numbers of a record give the covariance of all parameters
#include "files/batch/error_correlations.h"
#include "files/problem/start_problem.h"

#include "engine/optimum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using tools::start_file;

// Three overlapping Voigt lines and one far away; the second is tied to the first in all but its
// width, the third to the second by its phase.
static start_file tied_lines() {
    start_file start;
    start.points = 256;
    start.lines = 4;
    start.hz_per_point = 2.0;
    start.steps.resize(1);
    start.steps[0].points = 256;
    for (int s = tools::fit_areas; s <= tools::fit_lorentz; ++s)
        start.steps[0].switches[static_cast<std::size_t>(s)] = 1;
    start.steps[0].intervals = {{0, 255}};
    start.entries.resize(4);
    const double hz[] = {200.0, 212.0, 219.0, 330.0};
    for (std::size_t k = 0; k < 4; ++k) {
        auto &p = start.entries[k].parameters;
        start.entries[k].type = k == 2 ? tools::voigt_entry : tools::lorentz_entry;
        p[tools::area_of].value = 10.0 + 3.0 * static_cast<double>(k);
        p[tools::frequency_of].value = hz[k];
        p[tools::phase_of].value = 20.0;
        p[tools::lorentz_of].value = k == 2 ? 8.0 : 4.0; // in points but of a Voigt line
        if (k == 2) p[tools::gauss_of].value = 6.0;
    }
    auto &second = start.entries[1].parameters;
    second[tools::area_of] = {-5.0, 1, {}, {}};
    second[tools::frequency_of].link = 1;
    second[tools::phase_of].link = 1;
    start.entries[2].parameters[tools::phase_of].link = 2;
    start.entries[3].parameters[tools::lorentz_of].link = 4; // fixed
    return start;
}

TEST(error_correlations, free_parameters_are_those_without_link_that_a_type_has) {
    const auto places = tools::free_parameters(tied_lines());
    // 4 of the first line, 1 of the second, 4 of the third, 3 of the fourth
    EXPECT_EQ(places.size(), 12U);
    const tools::record_shape shape = tools::record_shape_of(tied_lines());
    EXPECT_EQ(shape.entries, 4U);
    EXPECT_EQ(shape.correlations, 66U);
    EXPECT_EQ(tools::record_shape_of(start_file()).correlations, 0U);
}

// The matrix that the engine has of a fit, and the one that comes back from errors of single
// parameters and correlations.
TEST(error_correlations, the_covariance_of_all_comes_back) {
    const start_file start = tied_lines();
    tools::problem_data data;
    data.noise_sd = 0.05;
    data.spectrum.assign(256, 0.0);
    engine::fit_problem problem =
        tools::problem_of(start, std::move(data), tools::freedom::by_strategy);
    engine::model_workspace ws;
    {
        const engine::result<engine::model> of = engine::model::make(problem);
        ASSERT_TRUE(of);
        ws.prepare(*of);
        problem.spectrum = ws.spectrum(*of, of->given());
    }
    std::mt19937_64 random(7);
    std::normal_distribution<double> noise(0.0, problem.noise_sd);
    for (auto &point : problem.spectrum)
        point += engine::complex_signal::value_type(noise(random), noise(random));
    const engine::result<engine::optimum> found = engine::find_optimum(problem, ws);
    ASSERT_TRUE(found);
    const auto covariance = [&](std::size_t k, int q, std::size_t l, int r) {
        return found->covariance.of(static_cast<int>(k), static_cast<engine::quantity>(q),
                                    static_cast<int>(l), static_cast<engine::quantity>(r));
    };
    std::vector<double> values, errors;
    for (std::size_t k = 0; k < 4; ++k)
        for (int q = 0; q < tools::quantities; ++q) {
            const double unit = tools::points_of_unit(q, start.entries[k].type, start.hz_per_point);
            values.push_back(found->values[k][static_cast<std::size_t>(q)] / unit);
            errors.push_back(2.0 * std::sqrt(covariance(k, q, k, q)) / unit);
        }
    const std::vector<double> packed = tools::packed_correlations(start, covariance);
    ASSERT_EQ(packed.size(), 66U);
    double largest = 0.0;
    for (const double r : packed) largest = std::max(largest, std::fabs(r));
    EXPECT_GT(largest, 0.5); // overlapping lines: there is something to keep
    const std::vector<double> all = tools::covariance_of_all(start, values, errors, packed);
    for (std::size_t a = 0; a < 20; ++a)
        for (std::size_t b = 0; b < 20; ++b) {
            const double wanted = covariance(a / 5, static_cast<int>(a % 5), b / 5,
                                             static_cast<int>(b % 5)),
                         scale = std::sqrt(covariance(a / 5, static_cast<int>(a % 5), a / 5,
                                                      static_cast<int>(a % 5)) *
                                           covariance(b / 5, static_cast<int>(b % 5), b / 5,
                                                      static_cast<int>(b % 5)));
            EXPECT_NEAR(all[20 * a + b], wanted, 1e-12 * scale) << a << ' ' << b;
        }
    // the area that is tied at -1/2 moves against the one it follows
    EXPECT_NEAR(all[20 * 5 + 0] / all[0], -0.5, 1e-12);
}

TEST(error_correlations, parameters_without_an_end_to_their_error_hang_together_with_none) {
    const start_file start = tied_lines();
    const auto covariance = [](std::size_t k, int q, std::size_t l, int r) {
        if (k != l || q != r) return 0.5;
        return k == 0 && q == tools::area_of ? INFINITY : 1.0;
    };
    const std::vector<double> packed = tools::packed_correlations(start, covariance);
    ASSERT_EQ(packed.size(), 66U);
    EXPECT_EQ(packed[0], 0.0);
    EXPECT_EQ(packed[2], 0.5);
    std::vector<double> values(20, 1.0), errors(20, 2.0);
    errors[0] = INFINITY;
    const std::vector<double> all = tools::covariance_of_all(start, values, errors, packed);
    EXPECT_EQ(all[0], INFINITY);
    EXPECT_EQ(all[1], 0.0);
    for (const double each : all) EXPECT_FALSE(std::isnan(each));
    EXPECT_TRUE(tools::packed_correlations(start, [](std::size_t, int, std::size_t, int) {
                    return NAN;
                }).empty());
}
