// SPDX-License-Identifier: BSD-3-Clause
#include "files/measured/remove_lines.h"
#include "files/measured/small_matrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

using tools::complex_signal;
using tools::oscillation;
using tools::small_matrix;
typedef std::complex<double> number;

static void add(complex_signal &fid, double frequency, double damping, number amplitude) {
    for (std::size_t m = 0; m < fid.size(); ++m)
        fid[m] += amplitude * std::polar(std::exp(-damping * double(m)),
                                         2.0 * std::numbers::pi * frequency * double(m));
}

static void add_noise(complex_signal &fid, double sd, unsigned seed) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal(0.0, sd);
    for (auto &point : fid) {
        const double re = normal(random);
        point += number(re, normal(random));
    }
}

TEST(remove_lines, oscillations_without_noise_are_found_to_rounding) {
    const std::vector<oscillation> truth = {{0.11, 0.010, {5.0, 1.0}},
                                            {0.112, 0.004, {0.0, -3.0}},
                                            {-0.31, 0.020, {1.0, 0.5}},
                                            {0.499, 0.001, {0.2, 0.0}}};
    complex_signal fid(1000);
    for (const oscillation &each : truth) add(fid, each.frequency, each.damping, each.amplitude);
    const std::vector<oscillation> found = tools::oscillations_of(fid, 4);
    ASSERT_EQ(found.size(), 4u);
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(found[k].frequency, truth[k].frequency, 1e-9);
        EXPECT_NEAR(found[k].damping, truth[k].damping, 1e-8);
        EXPECT_NEAR(std::abs(found[k].amplitude - truth[k].amplitude), 0.0, 1e-6);
    }
}

// Water a thousand times the noise with a distorted shape, and a metabolite 100 points away.
TEST(remove_lines, water_goes_and_the_rest_stays) {
    complex_signal metabolite(2048), fid(2048);
    add(metabolite, 0.17, 0.006, {10.0, 0.0});
    add(metabolite, -0.05, 0.006, {4.0, 0.0});
    fid = metabolite;
    for (int part = -3; part <= 3; ++part)
        add(fid, 0.0007 * part, 0.008 + 0.002 * part, std::polar(150.0, 0.4 * part));
    complex_signal noise(2048);
    add_noise(noise, 1.0, 5);
    for (std::size_t m = 0; m < fid.size(); ++m) fid[m] += noise[m];
    const auto removed = tools::remove_lines(fid, fid.size(), -0.02, 0.02, 25);
    EXPECT_GE(removed.size(), 1u);
    double left = 0.0, expected = 0.0;
    for (std::size_t m = 0; m < fid.size(); ++m) {
        left += std::norm(fid[m] - metabolite[m]);
        expected += std::norm(noise[m]);
    }
    // what is left beside the metabolites is the noise, less a few degrees of freedom
    EXPECT_NEAR(left / expected, 1.0, 0.03);
    // the amplitude of the metabolite that is nearest, from what is left
    number along = 0.0, square = 0.0;
    complex_signal unit(2048);
    add(unit, -0.05, 0.006, 1.0);
    for (std::size_t m = 0; m < fid.size(); ++m) {
        along += std::conj(unit[m]) * fid[m];
        square += std::norm(unit[m]);
    }
    EXPECT_NEAR(std::abs(along / square - 4.0), 0.0, 0.5); // noise: sqrt(2 / 83) = 0.16
}

TEST(remove_lines, nothing_in_the_stretch_changes_nothing) {
    complex_signal fid(512);
    add(fid, 0.2, 0.01, 5.0);
    const complex_signal before = fid;
    EXPECT_TRUE(tools::remove_lines(fid, 512, -0.05, 0.05, 3).empty() ||
                std::abs(fid[0] - before[0]) < 1e-9);
    for (std::size_t m = 0; m < fid.size(); ++m)
        EXPECT_NEAR(std::abs(fid[m] - before[m]), 0.0, 1e-9);
}

TEST(remove_lines, zeros_that_were_filled_in_stay_zeros) {
    complex_signal fid(700);
    add(fid, 0.001, 0.003, 5.0);
    fid.resize(1024);
    tools::remove_lines(fid, 700, -0.01, 0.01, 5);
    for (std::size_t m = 700; m < 1024; ++m) EXPECT_EQ(fid[m], 0.0);
    for (std::size_t m = 0; m < 700; ++m) EXPECT_LT(std::abs(fid[m]), 1e-6);
}

TEST(remove_lines, zeros_short_and_growing_signals_end) {
    EXPECT_TRUE(tools::oscillations_of(complex_signal(64), 5).empty());
    EXPECT_TRUE(tools::oscillations_of(complex_signal(8, 1.0), 5).empty());
    complex_signal growing(256);
    add(growing, 0.1, -0.01, 1.0);
    for (const oscillation &each : tools::oscillations_of(growing, 2)) {
        EXPECT_GE(each.damping, -1e-12);
        EXPECT_TRUE(std::isfinite(std::abs(each.amplitude)));
    }
}

// A matrix with eigenvalues of its own choice, turned by another one.
// Of broad lines over the edge of the stretch, two that nearly cancel may be found, one of them
// inside: without the other it is many times what is measured.
TEST(remove_stretch, takes_no_power_in) {
    const kernel::transform_plan plan(256);
    const auto power = [](const complex_signal &fid) {
        double sum = 0.0;
        for (const number &point : fid) sum += std::norm(point);
        return sum;
    };
    int refused = 0, done = 0;
    for (unsigned seed = 30; seed < 46; ++seed) {
        complex_signal fid(256);
        add(fid, 0.02, 0.06, {6.0, 0.0});
        add(fid, -0.02, 0.09, {0.0, 5.0});
        add(fid, -0.1, 0.01, 2.0);
        add_noise(fid, 1.0, seed);
        const complex_signal before = fid;
        const auto removed = tools::remove_stretch(plan, fid, fid.size(), -0.02, 0.02, 60);
        EXPECT_LE(power(fid), power(before)) << seed;
        if (removed.added > 0.0) {
            ++refused;
            EXPECT_TRUE(fid == before && removed.lines.empty()) << seed;
        } else
            ++done;
        EXPECT_GT(removed.order, 0);
    }
    RecordProperty("refused", refused);
    EXPECT_GE(refused, 1);
    EXPECT_GE(done, 1);
}

TEST(small_matrix, eigenvalues_survive_a_change_of_basis) {
    std::mt19937_64 random(3);
    std::normal_distribution<double> normal;
    for (const std::size_t n : {1u, 2u, 3u, 7u, 25u}) {
        std::vector<number> wanted;
        small_matrix basis(n), product(n);
        for (std::size_t i = 0; i < n; ++i) {
            wanted.emplace_back(normal(random), normal(random));
            for (std::size_t j = 0; j < n; ++j) basis(i, j) = {normal(random), normal(random)};
        }
        // basis diag basis^-1, column by column of the inverse
        for (std::size_t j = 0; j < n; ++j) {
            std::vector<number> unit(n, 0.0);
            unit[j] = 1.0;
            const std::vector<number> column = tools::solve(basis, unit);
            for (std::size_t i = 0; i < n; ++i)
                for (std::size_t k = 0; k < n; ++k)
                    product(i, j) += basis(i, k) * wanted[k] * column[k];
        }
        const std::vector<number> found = tools::eigenvalues(product);
        ASSERT_EQ(found.size(), n);
        for (const number &each : wanted) {
            double nearest = 1e9;
            for (const number &other : found) nearest = std::min(nearest, std::abs(each - other));
            EXPECT_LT(nearest, 1e-8) << n;
        }
    }
}

TEST(small_matrix, hermitian_vectors_are_orthonormal_and_sorted) {
    std::mt19937_64 random(4);
    std::normal_distribution<double> normal;
    const std::size_t n = 12;
    small_matrix m(n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j <= i; ++j) {
            m(i, j) = {normal(random), i == j ? 0.0 : normal(random)};
            m(j, i) = std::conj(m(i, j));
        }
    const small_matrix v = tools::hermitian_vectors(m);
    double previous = 1e9;
    for (std::size_t k = 0; k < n; ++k) {
        number value = 0.0;
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t j = 0; j < n; ++j) value += std::conj(v(i, k)) * m(i, j) * v(j, k);
        EXPECT_LE(value.real(), previous + 1e-12);
        previous = value.real();
        for (std::size_t i = 0; i < n; ++i) { // m v = value v
            number row = 0.0;
            for (std::size_t j = 0; j < n; ++j) row += m(i, j) * v(j, k);
            EXPECT_NEAR(std::abs(row - value * v(i, k)), 0.0, 1e-10);
        }
    }
}
