// SPDX-License-Identifier: BSD-3-Clause
#include "files/measured/left_in_mean.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using tools::complex_signal;

static constexpr std::size_t n = 512;

// FIDs of one line with these heights and phases [radians], times a factor.
static std::vector<complex_signal> fids_of(const std::vector<double> &heights,
                                           const std::vector<double> &phases, double noise,
                                           double factor = 1.0, unsigned seed = 1) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal(0.0, noise > 0.0 ? noise : 1.0);
    std::vector<complex_signal> fids;
    for (std::size_t i = 0; i < heights.size(); ++i) {
        complex_signal &fid = fids.emplace_back(n);
        for (std::size_t k = 0; k < n; ++k) {
            fid[k] =
                std::polar(heights[i] * std::exp(-0.02 * double(k)), phases[i] + 0.3 * double(k));
            if (noise > 0.0) {
                const double re = normal(random);
                fid[k] += std::complex<double>(re, normal(random));
            }
            fid[k] *= factor;
        }
    }
    return fids;
}

TEST(LeftInMean, OneOfFidsOfOnePhaseWhateverTheirHeights) {
    const auto left = tools::left_in_mean(fids_of({1.0, 30.0, 0.2}, {0.7, 0.7, 0.7}, 0.0));
    ASSERT_TRUE(left);
    EXPECT_NEAR(*left, 1.0, 1e-12);
}

TEST(LeftInMean, TheLengthOfTheSumOverThatOfTheParts) {
    const double pi = std::numbers::pi;
    // 3 + 2i - 1 of 6
    const auto left = tools::left_in_mean(fids_of({3.0, 2.0, 1.0}, {0.0, pi / 2.0, pi}, 0.0));
    ASSERT_TRUE(left);
    EXPECT_NEAR(*left, std::sqrt(8.0) / 6.0, 1e-12);
    const auto opposite = tools::left_in_mean(fids_of({1.0, 1.0}, {0.4, 0.4 + pi}, 0.0));
    ASSERT_TRUE(opposite);
    EXPECT_NEAR(*opposite, 0.0, 1e-12);
}

TEST(LeftInMean, TheSameInEveryUnit) {
    for (const double factor : {1e-300, 1e-160, 1e-30, 1.0, 1e30, 1e160, 1e300}) {
        const auto left =
            tools::left_in_mean(fids_of({3.0, 4.0}, {0.0, std::numbers::pi / 2.0}, 0.01, factor));
        ASSERT_TRUE(left) << factor;
        EXPECT_NEAR(*left, 5.0 / 7.0, 0.01) << factor;
    }
}

TEST(LeftInMean, NothingIsSaidOfNoiseOfZerosAndOfOne) {
    for (unsigned seed = 1; seed <= 200; ++seed)
        for (const std::size_t count : {2U, 8U, 64U})
            EXPECT_FALSE(tools::left_in_mean(fids_of(
                std::vector<double>(count, 0.0), std::vector<double>(count, 0.0), 1.0, 1.0, seed)))
                << seed << " of " << count;
    EXPECT_FALSE(tools::left_in_mean(fids_of({0.0, 0.0}, {0.0, 0.0}, 0.0)));
    EXPECT_FALSE(tools::left_in_mean(fids_of({1.0}, {0.0}, 0.0)));
    EXPECT_FALSE(tools::left_in_mean({complex_signal(15, 1.0), complex_signal(15, -1.0)}));
    const auto shortest = tools::left_in_mean({complex_signal(16, 1.0), complex_signal(16, -1.0)});
    EXPECT_FALSE(shortest) << "what does not decay is noise to it";
}

TEST(LeftInMean, NoiseAloneDoesNotLookLikeUnlikePhases) {
    // from what is just seen to what is far above the noise: above the 0.95 that is warned of
    int said = 0;
    for (unsigned seed = 1; seed <= 50; ++seed)
        for (const double height : {0.5, 1.0, 2.0, 5.0, 50.0})
            if (const auto left =
                    tools::left_in_mean(fids_of(std::vector<double>(16, height),
                                                std::vector<double>(16, 1.0), 1.0, 1.0, seed))) {
                EXPECT_GT(*left, 0.95) << seed << ", " << height;
                ++said;
            }
    EXPECT_GT(said, 100);
}
