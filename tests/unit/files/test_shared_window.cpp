// SPDX-License-Identifier: BSD-3-Clause
#include "engine/noise_window.h"

#include <gtest/gtest.h>

#include <random>

using engine::complex_signal;

static complex_signal noise(unsigned seed, double sd, std::size_t n = 1024) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal(0.0, sd);
    complex_signal signal(n);
    for (auto &point : signal) {
        const double re = normal(random);
        point = {re, normal(random)};
    }
    return signal;
}

// A Lorentzian of this height and half width in points.
static void add_line(complex_signal &signal, double centre, double height, double half) {
    for (std::size_t i = 0; i < signal.size(); ++i)
        signal[i] += height / std::complex<double>(1.0, (static_cast<double>(i) - centre) / half);
}

TEST(shared_window, of_one_spectrum_the_shared_stretch_is_its_own) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        complex_signal signal = noise(seed, 1.0);
        add_line(signal, 300.0 + 20.0 * seed, 50.0, 3.0);
        engine::shared_stretch_search search;
        search.add(signal);
        const engine::noise_window own = engine::noise_stretch(signal);
        EXPECT_EQ(search.stretch(), std::pair(own.first, own.stop)) << "seed " << seed;
    }
}

// One line in 64 spectra of noise, three times its standard deviation high over 16 points: too weak
// for the spread of all, but not for that of the one.
TEST(shared_window, a_line_in_one_spectrum_of_many_speaks_against_its_stretch) {
    for (std::size_t place = 192; place < 832; place += 64) {
        engine::shared_stretch_search search;
        for (unsigned s = 0; s < 64; ++s) {
            complex_signal signal = noise(100 + s, s == 0 ? 40.0 : 1.0);
            if (s == 40) add_line(signal, static_cast<double>(place), 60.0, 4.0);
            search.add(signal);
        }
        const auto [first, stop] = search.stretch();
        EXPECT_TRUE(static_cast<long long>(place) + 8 < first ||
                    static_cast<long long>(place) - 8 >= stop)
            << "line at " << place << ", stretch " << first << " to " << stop;
    }
}

TEST(shared_window, spectra_of_zeros_say_nothing) {
    engine::shared_stretch_search search;
    search.add(complex_signal(1024));
    EXPECT_EQ(search.spectra(), 0);
    EXPECT_EQ(search.stretch(), std::pair(0LL, 0LL));
    const complex_signal signal = noise(7, 1.0);
    search.add(signal);
    search.add(complex_signal(1024));
    EXPECT_EQ(search.spectra(), 1);
    EXPECT_EQ(search.stretch().first, engine::noise_stretch(signal).first);
}

// Whatever the units: a spectrum counts by its own noise.
TEST(shared_window, the_scale_of_a_spectrum_does_not_matter) {
    for (const double scale : {1e-150, 1.0, 1e150}) {
        engine::shared_stretch_search search;
        complex_signal strong = noise(1, 1.0), weak = noise(2, scale);
        add_line(strong, 500.0, 100.0, 20.0);
        add_line(weak, 700.0, 100.0 * scale, 20.0);
        search.add(strong);
        search.add(weak);
        const auto [first, stop] = search.stretch();
        EXPECT_TRUE(stop <= 448 || first >= 760) << scale << ": " << first << " to " << stop;
    }
}
