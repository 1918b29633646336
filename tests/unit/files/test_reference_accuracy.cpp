// SPDX-License-Identifier: BSD-3-Clause
#include "files/spectra/reference_peak.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using tools::complex_signal;

static constexpr int n = 1024;

static complex_signal spectrum_of(double place, double width, double height, double phase,
                                  std::mt19937_64 &random) {
    std::normal_distribution<double> normal;
    complex_signal spectrum(n);
    for (int j = 0; j < n; ++j) {
        const double off = (j - place) / (0.5 * width);
        const double re = normal(random);
        spectrum[static_cast<std::size_t>(j)] =
            std::complex<double>(1.0, -off) / (1.0 + off * off) * std::polar(height, phase) +
            std::complex<double>(re, normal(random));
    }
    return spectrum;
}

// Of lines of any phase around point 552, those that are found: root mean square of the error.
static double error_of(double width, double height, int spectra, double &found) {
    static constexpr int runs = 100;
    std::mt19937_64 random(7);
    tools::spectrum_axis axis;
    axis.points = n;
    axis.hz_per_point = 1.0;
    axis.mhz = 100.0;
    axis.ppm_at_carrier = 0.0;
    axis.ppm_rises_with_points = true;
    axis.nucleus = "1H";
    tools::reference_peak wanted;
    wanted.ppm = 0.4;
    wanted.half_width = 0.3;
    double sum = 0.0;
    found = 0.0;
    for (int run = 0; run < runs; ++run) {
        const double place = 552.0 + 0.02 * (run % 50);
        tools::reference_search search(wanted, axis);
        for (int s = 0; s < spectra; ++s)
            search.add(spectrum_of(place, width, height, 0.37 * (run + s), random));
        try {
            const double off = search.found().point - place;
            sum += off * off;
            found += 1.0;
        } catch (const std::exception &) { // not above the noise: it says so
        }
    }
    const double error = std::sqrt(sum / found);
    found /= runs;
    return error;
}

TEST(ReferenceAccuracy, FallsWithTheSignalToNoiseFromTheWeakestLinesOn) {
    for (const double width : {1.5, 3.0, 6.0, 12.0, 25.0})
        for (const double height : {8.0, 10.0, 15.0, 30.0, 60.0, 100.0, 300.0, 1000.0, 1e5}) {
            double found = 0.0;
            const double error = error_of(width, height, 1, found);
            EXPECT_GT(found, 0.95) << width << ", " << height;
            // where seven points say it to a tenth of a point they do
            EXPECT_LT(error, std::max(0.1, 0.9 * width / height)) << width << ", " << height;
            if (width <= 12.0 || height >= 15.0) {
                EXPECT_LT(error, 1.0) << width << ", " << height;
            }
        }
}

TEST(ReferenceAccuracy, SpectraTogetherSayItBetter) {
    double found = 0.0;
    const double one = error_of(6.0, 12.0, 1, found), nine = error_of(6.0, 12.0, 9, found);
    EXPECT_LT(nine, 0.5 * one);
}
