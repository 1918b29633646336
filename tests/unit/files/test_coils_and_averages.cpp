// SPDX-License-Identifier: BSD-3-Clause
#include "files/measured/align_averages.h"
#include "files/measured/combine_coils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using tools::complex_signal;
typedef std::complex<double> complex_number;

static constexpr std::size_t n = 512;

static complex_signal decay(double frequency, double width, double amplitude) {
    complex_signal fid(n);
    for (std::size_t k = 0; k < n; ++k)
        fid[k] = std::polar(amplitude * std::exp(-std::numbers::pi * width * double(k)),
                            2.0 * std::numbers::pi * frequency * double(k));
    return fid;
}

static complex_signal noise(std::mt19937_64 &random, double sd) {
    std::normal_distribution<double> normal(0.0, sd);
    complex_signal fid(n);
    for (auto &point : fid) {
        const double re = normal(random);
        point = {re, normal(random)};
    }
    return fid;
}

static void add(complex_signal &to, const complex_signal &other, complex_number factor) {
    for (std::size_t k = 0; k < n; ++k) to[k] += factor * other[k];
}

// Four coils with sensitivities s and noise that two of them share.
struct array_of_coils {
    std::vector<complex_number> s = {{1.0, 0.0}, {0.0, 0.8}, {-0.6, 0.2}, {0.05, 0.0}};
    std::vector<double> sd = {1.0, 0.5, 2.0, 1.0};
    double shared = 1.5; // of coils 0 and 1
    complex_signal signal = decay(0.03, 0.004, 20.0);

    std::vector<complex_signal> measured(std::mt19937_64 &random) const {
        std::vector<complex_signal> coils;
        const complex_signal common = noise(random, shared);
        for (std::size_t c = 0; c < s.size(); ++c) {
            coils.push_back(noise(random, sd[c]));
            if (c < 2) add(coils.back(), common, 1.0);
            add(coils.back(), signal, s[c]);
        }
        return coils;
    }
    // s^H Psi^-1 s of the true covariance of a complex sample: two of them by their inverse.
    double gain() const {
        const double a = 2.0 * (sd[0] * sd[0] + shared * shared),
                     b = 2.0 * (sd[1] * sd[1] + shared * shared), c = 2.0 * shared * shared;
        const double two = (std::norm(s[0]) * b + std::norm(s[1]) * a -
                            2.0 * c * (std::conj(s[0]) * s[1]).real()) /
                           (a * b - c * c);
        return two + std::norm(s[2]) / (2.0 * sd[2] * sd[2]) +
               std::norm(s[3]) / (2.0 * sd[3] * sd[3]);
    }
};

// The variance that the theory has for the best combination, and the signal of the mean coil.
TEST(combine_coils, signal_is_kept_and_noise_is_the_least_there_is) {
    const array_of_coils array;
    std::mt19937_64 random(7);
    double square = 0.0;
    for (const complex_number s : array.s) square += std::norm(s) / 4.0;
    double variance = 0.0, amplitude = 0.0;
    constexpr int trials = 60;
    for (int trial = 0; trial < trials; ++trial) {
        const auto coils = array.measured(random);
        const tools::coil_noise psi = tools::noise_of_coils({coils});
        EXPECT_FALSE(psi.diagonal);
        const auto weights = tools::weights_of_coils(coils, psi);
        complex_number kept = 0.0; // of the signal
        for (std::size_t c = 0; c < 4; ++c) kept += weights[c] * array.s[c];
        amplitude += std::abs(kept) / trials;
        EXPECT_LT(std::fabs(std::arg(kept)), 0.1); // the phase of the strongest coil, the first
        const complex_signal y = tools::combined_fid(coils, weights);
        for (std::size_t k = 0; k < n; ++k)
            variance += std::norm(y[k] - kept * array.signal[k]) / (double(n) * trials);
    }
    EXPECT_NEAR(amplitude, std::sqrt(square), 0.02);
    // 64 samples of noise estimate four by four covariances: some per cent above the bound
    const double least = square / array.gain();
    EXPECT_GT(variance, 0.98 * least);
    EXPECT_LT(variance, 1.12 * least);
}

TEST(combine_coils, one_coil_stays_as_it_is) {
    std::mt19937_64 random(3);
    std::vector<complex_signal> coils = {decay(0.1, 0.01, 5.0)};
    add(coils[0], noise(random, 0.1), 1.0);
    const auto weights = tools::weights_of_coils(coils, tools::noise_of_coils({coils}));
    EXPECT_NEAR(std::abs(weights[0] - 1.0), 0.0, 1e-12);
}

TEST(combine_coils, a_coil_without_noise_and_one_of_zeros_do_no_harm) {
    std::mt19937_64 random(4);
    std::vector<complex_signal> coils = {decay(0.1, 0.01, 5.0), complex_signal(n)};
    add(coils[0], noise(random, 0.1), 1.0);
    const auto weights = tools::weights_of_coils(coils, tools::noise_of_coils({coils}));
    for (const complex_number w : weights) EXPECT_TRUE(std::isfinite(std::abs(w)));
    EXPECT_GT(std::abs(weights[0]), 0.5);
}

TEST(combine_coils, too_few_samples_take_variances_only) {
    std::mt19937_64 random(5);
    std::vector<complex_signal> coils;
    for (int c = 0; c < 40; ++c) {
        coils.push_back(noise(random, 1.0));
        add(coils.back(), decay(0.05, 0.01, 8.0), 1.0);
    }
    EXPECT_TRUE(tools::noise_of_coils({coils}).diagonal); // 64 points for 40 coils
}

// Shifts and phases are found to a small part of a line, and their mean is taken out.
TEST(align_averages, shifts_and_phases_of_repetitions_are_found) {
    std::mt19937_64 random(11);
    std::vector<double> shift, phase;
    std::vector<complex_signal> fids;
    for (int a = 0; a < 16; ++a) {
        shift.push_back((a % 5 - 2.0) * 0.0011);
        phase.push_back(12.0 * (a % 7) - 36.0);
        complex_signal fid = decay(0.03 - shift.back(), 0.004, 20.0);
        add(fid, decay(-0.1 - shift.back(), 0.004, 10.0), 1.0);
        for (auto &point : fid) point *= std::polar(1.0, -phase.back() * std::numbers::pi / 180.0);
        add(fid, noise(random, 1.0), 1.0);
        fids.push_back(std::move(fid));
    }
    double mean_shift = 0.0;
    for (const double each : shift) mean_shift += each / 16.0;
    const complex_signal plain = tools::mean_of(fids);
    const auto found = tools::align_averages(fids, 0.02);
    double sum = 0.0, difference = found[0].phase - phase[0];
    for (std::size_t a = 0; a < 16; ++a) {
        EXPECT_TRUE(found[a].aligned);
        sum += found[a].frequency;
        // four Cramer-Rao bounds: sd / (A 2 pi sqrt(sum exp(-2 pi w k) (k - mean)^2)) = 3e-5
        EXPECT_NEAR(found[a].frequency, shift[a] - mean_shift, 1.2e-4) << a;
        EXPECT_NEAR(found[a].phase - phase[a], difference, 3.0) << a;
    }
    EXPECT_NEAR(sum, 0.0, 1e-12);
    const complex_signal mean = tools::mean_of(fids);
    EXPECT_GT(tools::signal_to_noise(mean, 400, 464),
              1.3 * tools::signal_to_noise(plain, 400, 464));
}

TEST(align_averages, equal_repetitions_stay) {
    std::vector<complex_signal> fids(4, decay(0.03, 0.01, 5.0));
    std::mt19937_64 random(2);
    for (auto &fid : fids) add(fid, noise(random, 1e-6), 1.0);
    for (const auto &each : tools::align_averages(fids, 0.02)) {
        EXPECT_TRUE(each.aligned);
        EXPECT_NEAR(each.frequency, 0.0, 1e-7);
        EXPECT_NEAR(each.phase, 0.0, 1e-4);
    }
}

// Noise that is turned towards its mean would grow: of 64 FIDs of noise hardly any is aligned, and
// the power of the mean is that of the plain one.
TEST(align_averages, noise_is_left_alone) {
    std::mt19937_64 random(13);
    std::vector<complex_signal> fids;
    for (int a = 0; a < 64; ++a) fids.push_back(noise(random, 1.0));
    const complex_signal plain = tools::mean_of(fids);
    int aligned = 0;
    for (const auto &each : tools::align_averages(fids, 0.02)) aligned += each.aligned;
    EXPECT_LE(aligned, 6);
    double before = 0.0, after = 0.0;
    const complex_signal mean = tools::mean_of(fids);
    for (std::size_t k = 0; k < n; ++k) {
        before += std::norm(plain[k]);
        after += std::norm(mean[k]);
    }
    EXPECT_NEAR(after / before, 1.0, 0.1);
}
