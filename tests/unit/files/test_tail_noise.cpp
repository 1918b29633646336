// SPDX-License-Identifier: BSD-3-Clause
#include "files/measured/tail_noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using tools::complex_signal;
using tools::tail_noise;

// Noise of standard deviation 1 a channel on a line that decays with time constant tau [points].
static complex_signal fid_of(std::size_t n, double height, double tau, double factor = 1.0,
                             unsigned seed = 3) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal;
    complex_signal fid(n);
    for (std::size_t k = 0; k < n; ++k) {
        const double re = normal(random);
        fid[k] = (std::complex<double>(re, normal(random)) +
                  std::polar(height * std::exp(-double(k) / tau), 0.05 * double(k))) *
                 factor;
    }
    return fid;
}

TEST(TailNoise, IsThatOfAChannelBelowAStrongLine) {
    for (const double height : {0.0, 1.0, 1e3, 1e5}) {
        const auto noise = tail_noise(fid_of(8192, height, 400.0));
        ASSERT_TRUE(noise);
        EXPECT_NEAR(noise->sd, 1.0, 3.5 * noise->relative_error) << height;
    }
}

TEST(TailNoise, ItsErrorIsItsScatter) {
    double square = 0.0;
    double said = 0.0;
    static constexpr int runs = 400;
    for (unsigned seed = 1; seed <= runs; ++seed) {
        const auto noise = tail_noise(fid_of(1024, 50.0, 60.0, 1.0, seed));
        ASSERT_TRUE(noise);
        square += (noise->sd - 1.0) * (noise->sd - 1.0) / runs;
        said = noise->relative_error;
    }
    EXPECT_NEAR(std::sqrt(square) / said, 1.0, 0.12); // of 400: 3.5 % is one sd
}

TEST(TailNoise, TheSameInEveryUnit) {
    for (const double factor : {1e-300, 1e-160, 1e-5, 1e5, 1e160, 1e300})
        EXPECT_NEAR(tail_noise(fid_of(4096, 100.0, 300.0, factor))->sd / factor, 1.0, 0.1)
            << factor;
}

TEST(TailNoise, FilledZerosAreNoTail) {
    complex_signal fid = fid_of(4096, 100.0, 300.0);
    const double alone = tail_noise(fid)->sd;
    fid.resize(16384);
    EXPECT_EQ(tail_noise(fid)->sd, alone);
}

TEST(TailNoise, NothingOfTooFewPointsOfZerosAndOfALineWithoutNoise) {
    EXPECT_FALSE(tail_noise({}));
    EXPECT_FALSE(tail_noise(complex_signal(4096)));
    EXPECT_FALSE(tail_noise(complex_signal(4096, 1.0)));
    EXPECT_FALSE(tail_noise(fid_of(63, 0.0, 1.0)));
    EXPECT_TRUE(tail_noise(fid_of(64, 0.0, 1.0)));
}
