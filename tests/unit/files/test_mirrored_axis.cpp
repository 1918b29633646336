// SPDX-License-Identifier: BSD-3-Clause
#include "files/start/linear_fit.h"
#include "files/start/mirrored_axis.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>

using tools::complex_signal;

static constexpr std::size_t n = 256;

static complex_signal line(double centre) {
    complex_signal curve(n);
    for (std::size_t i = 0; i < n; ++i)
        curve[i] = 1.0 / std::complex<double>(1.0, (static_cast<double>(i) - centre) / 2.0);
    return curve;
}

struct problem {
    std::vector<complex_signal> curves = {line(60.0), line(90.0)};
    std::vector<std::complex<double>> products = tools::inner_products(curves);
    std::vector<std::size_t> points = std::vector<std::size_t>(n);
    problem() { std::iota(points.begin(), points.end(), 0U); }
};

TEST(mirrored_axis, turning_twice_gives_the_spectrum_back) {
    const complex_signal spectrum = line(77.0);
    const complex_signal once = tools::mirrored(spectrum), twice = tools::mirrored(once);
    EXPECT_EQ(twice, spectrum);
    EXPECT_EQ(once[n - 77], std::conj(spectrum[77]));
    EXPECT_EQ(once[0], std::conj(spectrum[0])); // the edge is its own mirror image
}

TEST(mirrored_axis, a_sum_of_the_curves_is_explained_whatever_its_phases) {
    const problem p;
    complex_signal spectrum(n);
    double all = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        spectrum[i] =
            std::polar(3.0, 1.0) * p.curves[0][i] + std::polar(2.0, -2.0) * p.curves[1][i];
        all += std::norm(spectrum[i]);
    }
    // the ridge of 1e-6 costs no more than its share
    EXPECT_NEAR(tools::explained_energy(p.curves, p.products, p.points, spectrum) / all, 1.0, 3e-6);
}

TEST(mirrored_axis, equal_curves_explain_as_much_as_one) {
    const problem p;
    const std::vector<complex_signal> twice = {p.curves[0], p.curves[0]}, once = {p.curves[0]};
    const double two =
        tools::explained_energy(twice, tools::inner_products(twice), p.points, p.curves[0]);
    const double one =
        tools::explained_energy(once, tools::inner_products(once), p.points, p.curves[0]);
    EXPECT_NEAR(two / one, 1.0, 2e-6);
}

TEST(mirrored_axis, advice_comes_for_the_mirrored_spectrum_and_for_no_other) {
    const problem p;
    complex_signal spectrum(n);
    std::mt19937_64 random(4);
    std::normal_distribution<double> normal(0.0, 0.05);
    for (std::size_t i = 0; i < n; ++i)
        spectrum[i] = 2.0 * p.curves[0][i] + p.curves[1][i] +
                      std::complex<double>(normal(random), normal(random));
    const auto look = [&](const complex_signal &data) {
        return tools::advise_mirrored(p.curves, p.products, p.points, data, 0.05 * 0.05);
    };
    EXPECT_FALSE(look(spectrum));
    const auto advice = look(tools::mirrored(spectrum));
    ASSERT_TRUE(advice);
    EXPECT_GT(advice->mirrored, 0.9);
    EXPECT_LT(advice->here, 0.1);
    complex_signal only_noise(n);
    for (int trial = 0; trial < 200; ++trial) {
        for (auto &point : only_noise) point = {normal(random), normal(random)};
        EXPECT_FALSE(look(only_noise)) << trial;
    }
    EXPECT_FALSE(look(complex_signal(n)));
}
