// SPDX-License-Identifier: BSD-3-Clause
// test_water_signal.cpp -- the area of water, whatever eddy currents do to its phase
#include "files/measured/water_signal.h"

#include "files/base/tool_error.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using tools::complex_signal;
using tools::water_signal_of;
static constexpr double pi = std::numbers::pi, dwell = 5e-4;

// A Voigt line off the carrier, its phase bent by an eddy current of 3 radians.
static complex_signal water(double area, double lorentz, double gauss, double begin = 0.0) {
    complex_signal fid;
    for (int k = 0; k < 1024; ++k) {
        const double t = begin + dwell * k;
        const double size = area * std::exp(-pi * lorentz * t - pi * pi * gauss * gauss * t * t);
        fid.push_back(std::polar(size, 0.7 + 2 * pi * 13.0 * t + 3.0 * std::exp(-t / 0.02)));
    }
    return fid;
}

TEST(water_signal, a_voigt_line_gives_its_area_and_widths) {
    for (const double area : {1e-6, 1.0, 3.4e5})
        for (const double begin : {0.0, 1.5e-3}) {
            const tools::water_signal found =
                water_signal_of(water(area, 4.0, 3.0, begin), dwell, begin, "w");
            EXPECT_NEAR(found.area / area, 1.0, 1e-12);
            EXPECT_NEAR(found.lorentz_hz, 4.0, 1e-9);
            EXPECT_NEAR(found.gauss_squared_hz2, 9.0, 1e-7);
            EXPECT_LT(found.misfit, 1e-12);
            EXPECT_EQ(found.first, 0U);
            // to the half of the first point
            EXPECT_NEAR(static_cast<double>(found.points) * dwell, 0.0424, 0.001);
        }
}

TEST(water_signal, its_error_is_the_spread_of_noisy_measurements) {
    double sum = 0.0, squares = 0.0, errors = 0.0;
    constexpr int repeats = 400;
    std::mt19937_64 random(11);
    std::normal_distribution<double> noise(0.0, 0.01);
    for (int r = 0; r < repeats; ++r) {
        complex_signal fid = water(1.0, 5.0, 0.0);
        for (auto &point : fid) point += std::complex<double>(noise(random), noise(random));
        const tools::water_signal found = water_signal_of(fid, dwell, 0.0, "w");
        sum += found.area;
        squares += found.area * found.area;
        errors += found.area_error;
    }
    const double mean = sum / repeats;
    const double spread = std::sqrt(squares / repeats - mean * mean);
    // a standard deviation of 400 values is known to 3.5 %
    EXPECT_NEAR(errors / repeats / spread, 1.0, 0.12);
    EXPECT_NEAR(mean, 1.0, 5 * spread / std::sqrt(repeats) + 1e-4);
}

TEST(water_signal, odd_points_at_the_begin_are_left_out) {
    for (const std::size_t odd : {0U, 1U, 2U, 6U}) {
        complex_signal fid = water(2.0, 4.0, 3.0);
        std::mt19937_64 random(odd);
        std::normal_distribution<double> noise(0.0, 1e-4);
        for (auto &point : fid) point += std::complex<double>(noise(random), noise(random));
        for (std::size_t k = 0; k < odd; ++k) fid[k] *= k % 2 == 0 ? 0.5 : 1.06;
        const tools::water_signal found = water_signal_of(fid, dwell, 0.0, "w");
        EXPECT_EQ(found.first, odd);
        EXPECT_NEAR(found.area, 2.0, 5 * found.area_error);
        EXPECT_LT(found.area_error, 2e-3);
    }
}

TEST(water_signal, what_is_no_single_line_shows_as_misfit) {
    complex_signal fid = water(1.0, 4.0, 3.0);
    const complex_signal fat = water(0.15, 25.0, 0.0);
    for (std::size_t k = 0; k < fid.size(); ++k)
        fid[k] += fat[k] * std::polar(1.0, 2 * pi * 440.0 * dwell * static_cast<double>(k));
    EXPECT_GT(water_signal_of(fid, dwell, 0.0, "w").misfit, 0.02);
}

TEST(water_signal, what_has_no_signal_from_its_start_is_refused) {
    EXPECT_THROW(water_signal_of(complex_signal(1024, 0.0), dwell, 0.0, "w"), tools::tool_error);
    EXPECT_THROW(water_signal_of({}, dwell, 0.0, "w"), tools::tool_error);
    EXPECT_THROW(water_signal_of(water(1.0, 2000.0, 0.0), dwell, 0.0, "w"), tools::tool_error);
    complex_signal gap = water(1.0, 4.0, 0.0);
    gap[5] = 0.0;
    EXPECT_THROW(water_signal_of(gap, dwell, 0.0, "w"), tools::tool_error);
}
