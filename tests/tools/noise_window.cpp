// SPDX-License-Identifier: BSD-3-Clause
//
// The stretch that the importer takes for the noise, over many spectra of known noise: its spread
// must be that of the noise on average, since every error bound of the fit is a multiple of it.
#include "engine/centred_spectrum.h"
#include "engine/noise_window.h"

#include "files/spectra/complex_signal.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

using namespace tools;

struct line {
    double amplitude, frequency, width; // in units of the noise per point, points, points
};

// A decay of noise of 1 per point and channel and the lines, `measured` points filled up with zeros
// to n, as spectrum. The noise of a point is then sqrt(measured) / n.
static complex_signal spectrum_of(const std::vector<line> &lines, int n, int measured,
                                  support::random_numbers &random) {
    complex_signal fid(static_cast<std::size_t>(n));
    for (int t = 0; t < measured; ++t) {
        std::complex<double> sum(random.normal(), random.normal());
        for (const line &l : lines)
            sum += l.amplitude *
                   std::exp(std::complex<double>(-std::numbers::pi * l.width * t / measured,
                                                 2.0 * std::numbers::pi * l.frequency * t / n));
        fid[static_cast<std::size_t>(t)] = sum;
    }
    return engine::spectrum_of_fid(fid, static_cast<int>(fid.size()));
}

struct ratio {
    double mean = 0.0, smallest_edge = 1.0; // of estimate and truth; of first and n - stop, over n
};

static ratio ratio_over(int spectra, const std::vector<line> &lines, int n, int measured) {
    support::random_numbers random(static_cast<std::uint64_t>(n + measured));
    ratio found;
    for (int k = 0; k < spectra; ++k) {
        const engine::noise_window window =
            engine::noise_stretch(spectrum_of(lines, n, measured, random));
        EXPECT_EQ(window.stop - window.first, n / 8);
        found.mean += window.sd_re * n / std::sqrt(measured) / spectra;
        const double edge = static_cast<double>(std::min(window.first, n - window.stop)) / n;
        found.smallest_edge = std::min(found.smallest_edge, edge);
    }
    return found;
}

// 1,000 spectra of 1024 points: the mean is certain to 0.1 %.
TEST(noise_window, spread_of_pure_noise_is_right_on_average) {
    EXPECT_NEAR(ratio_over(1000, {}, 1024, 1024).mean, 1.0, 0.01);
    EXPECT_NEAR(ratio_over(1000, {}, 256, 256).mean, 1.0, 0.01);
    EXPECT_NEAR(ratio_over(300, {}, 4096, 4096).mean, 1.0, 0.01);
}

// Neighbours of a zero-filled spectrum have half of their noise in common: stretches differ by
// more.
TEST(noise_window, spread_of_zero_filled_noise_is_right_on_average) {
    EXPECT_NEAR(ratio_over(1000, {}, 1024, 512).mean, 1.0, 0.02);
    EXPECT_NEAR(ratio_over(300, {}, 4096, 2048).mean, 1.0, 0.01);
}

TEST(noise_window, strong_lines_and_their_tails_are_left_out) {
    EXPECT_NEAR(ratio_over(1000, {{40.0, 0.0, 6.0}, {20.0, 50.0, 6.0}}, 1024, 1024).mean, 1.0,
                0.01);
    EXPECT_NEAR(ratio_over(300, {{400.0, 0.0, 6.0}}, 4096, 4096).mean, 1.0, 0.02);
}

TEST(noise_window, crowded_spectra_leave_the_few_stretches_without_lines) {
    std::vector<line> lines;
    for (int at = -250; at < 250; at += 20) lines.push_back({3.0, at * 4.0, 10.0});
    EXPECT_NEAR(ratio_over(300, lines, 4096, 4096).mean, 1.0, 0.02);
}

TEST(noise_window, edges_of_the_band_count_when_lines_are_everywhere_else) {
    EXPECT_GE(ratio_over(20, {}, 1024, 1024).smallest_edge, 0.125);
    std::vector<line> lines;
    for (int at = -380; at <= 380; at += 20) lines.push_back({300.0, at * 1.0, 3.0});
    EXPECT_LT(ratio_over(20, lines, 1024, 1024).smallest_edge, 0.125);
}

TEST(noise_window, without_room_for_a_choice_it_is_the_whole_spectrum) {
    support::random_numbers random(3);
    const engine::noise_window window = engine::noise_stretch(spectrum_of({}, 16, 16, random));
    EXPECT_EQ(window.first, 0);
    EXPECT_EQ(window.stop, 16);
}
