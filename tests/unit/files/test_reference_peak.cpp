// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/tool_error.h"
#include "files/spectra/reference_peak.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using tools::complex_signal;
using tools::found_reference;
using tools::reference_peak;
using tools::reference_search;

static constexpr std::size_t n = 1024;

// 1H at 3 T: 1.95 Hz per point, so 0.0158 ppm per point.
static tools::spectrum_axis axis_3t(bool rises = true) {
    tools::spectrum_axis axis;
    axis.hz_per_point = 2000.0 / 1024.0;
    axis.mhz = 123.25;
    axis.ppm_at_carrier = 4.65;
    axis.ppm_rises_with_points = rises;
    axis.nucleus = "1H";
    axis.points = 1024;
    return axis;
}

static double point_of(const tools::spectrum_axis &axis, double ppm) {
    return 512.0 + (axis.ppm_rises_with_points ? 1.0 : -1.0) * (ppm - *axis.ppm_at_carrier) *
                       *axis.mhz / *axis.hz_per_point;
}

static complex_signal noise(unsigned seed) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal;
    complex_signal signal(n);
    for (auto &point : signal) {
        const double re = normal(random);
        point = {re, normal(random)};
    }
    return signal;
}

// A Lorentzian of any phase: half width in points.
static void add(complex_signal &to, double centre, double height, double half, double phase = 0.7) {
    for (std::size_t i = 0; i < n; ++i)
        to[i] += std::polar(height, phase) /
                 std::complex<double>(1.0, (static_cast<double>(i) - centre) / half);
}

static found_reference found_in(const complex_signal &spectrum, const reference_peak &wanted,
                                const tools::spectrum_axis &axis) {
    reference_search search(wanted, axis);
    search.add(spectrum);
    return search.found();
}

// A phantom at room temperature: all lines 0.21 ppm lower than the axis says.
TEST(reference_peak, a_line_off_by_any_part_of_the_window_sets_the_axis) {
    for (const bool rises : {true, false}) {
        const tools::spectrum_axis axis = axis_3t(rises);
        for (double off = -0.28; off <= 0.285; off += 0.0173) {
            complex_signal spectrum = noise(3);
            add(spectrum, point_of(axis, 2.01 + off), 200.0, 1.5);
            const found_reference found = found_in(spectrum, {"NAA", 2.01, {}}, axis);
            // 0.05 points: of a line of height 200 and half width 1.5 the noise moves it by 0.02
            EXPECT_NEAR(found.ppm, 2.01 + off, 0.05 * 0.0158) << off << rises;
            EXPECT_NEAR(*found.shift, -off, 0.05 * 0.0158);
            EXPECT_NEAR(found.ppm_at_carrier, 4.65 - off, 0.05 * 0.0158);
            EXPECT_TRUE(found.guessed_width);
        }
    }
}

TEST(reference_peak, the_wing_of_water_beside_the_stretch_is_no_peak) {
    const tools::spectrum_axis axis = axis_3t();
    complex_signal spectrum = noise(4);
    add(spectrum, 512.0, 40000.0, 3.0, 2.0); // its wing at NAA is three times the line
    add(spectrum, point_of(axis, 1.83), 200.0, 1.5);
    EXPECT_NEAR(found_in(spectrum, {"NAA", 2.01, 0.4}, axis).ppm, 1.83, 0.03);
}

TEST(reference_peak, what_lies_outside_of_the_stretch_does_not_count) {
    const tools::spectrum_axis axis = axis_3t();
    complex_signal spectrum = noise(5);
    add(spectrum, point_of(axis, 2.01), 60.0, 1.5);
    add(spectrum, point_of(axis, 2.60), 900.0, 1.5);
    EXPECT_NEAR(found_in(spectrum, {"", 2.01, 0.25}, axis).ppm, 2.01, 0.005);
    EXPECT_NEAR(found_in(spectrum, {"", 2.01, 0.75}, axis).ppm, 2.60, 0.005);
}

TEST(reference_peak, noise_is_refused) {
    for (unsigned seed = 1; seed <= 40; ++seed)
        EXPECT_THROW(found_in(noise(seed), {"NAA", 2.01, {}}, axis_3t()), tools::tool_error)
            << seed;
}

TEST(reference_peak, a_second_peak_half_as_high_is_said) {
    const tools::spectrum_axis axis = axis_3t();
    const reference_peak cho = {"Cho", 3.21, {}};
    for (const double height : {20.0, 160.0}) {
        complex_signal spectrum = noise(6);
        add(spectrum, point_of(axis, 3.21), 200.0, 1.5);
        add(spectrum, point_of(axis, 3.03), height, 1.5);
        const found_reference found = found_in(spectrum, cho, axis);
        EXPECT_EQ(found.other_ppm.has_value(), height > 100.0);
        EXPECT_EQ(tools::warnings_of(cho, found).size(), height > 100.0 ? 1u : 0u);
        if (height > 100.0) {
            EXPECT_NEAR(found.other_ppm.value_or(0.0), 3.03, 0.01);
        }
    }
}

// Of a series all say where the axis is; those that disagree are counted, noise says nothing.
TEST(reference_peak, spectra_of_a_series_share_one_axis) {
    const tools::spectrum_axis axis = axis_3t();
    const reference_peak naa = {"NAA", 2.01, {}};
    reference_search search(naa, axis);
    for (unsigned s = 0; s < 20; ++s) {
        complex_signal spectrum = noise(50 + s);
        if (s >= 4) add(spectrum, point_of(axis, s < 6 ? 2.15 : 1.90), 60.0, 1.5, 0.3 * s);
        search.add(spectrum);
    }
    const found_reference found = search.found();
    EXPECT_NEAR(found.ppm, 1.90, 0.003);
    EXPECT_EQ(found.spectra, 20);
    EXPECT_EQ(found.own, 16);
    EXPECT_EQ(found.away, 2);
    EXPECT_NEAR(found.farthest_ppm, 0.25, 0.005);
    EXPECT_EQ(tools::warnings_of(naa, found).size(), 1u);
}

// Weak in each, clear in all: 16 spectra with a line of three times the noise.
TEST(reference_peak, many_weak_spectra_find_it_together) {
    const tools::spectrum_axis axis = axis_3t();
    reference_search search({"NAA", 2.01, {}}, axis);
    for (unsigned s = 0; s < 64; ++s) {
        complex_signal spectrum = noise(200 + s);
        add(spectrum, point_of(axis, 1.83), 3.0, 2.0, 0.1 * s);
        search.add(spectrum);
    }
    EXPECT_NEAR(search.found().ppm, 1.83, 0.016);
}

TEST(reference_peak, without_ppm_at_the_carrier_the_strongest_line_of_all_is_taken) {
    tools::spectrum_axis axis = axis_3t();
    axis.ppm_at_carrier.reset();
    complex_signal spectrum = noise(8);
    add(spectrum, 300.0, 300.0, 1.5);
    add(spectrum, 800.0, 100.0, 1.5);
    const reference_peak pyruvate = {"Pyr", 171.0, {}};
    const found_reference found = found_in(spectrum, pyruvate, axis);
    EXPECT_FALSE(found.shift.has_value());
    EXPECT_NEAR(found.point, 300.0, 0.02);
    EXPECT_NEAR(found.ppm_at_carrier, 171.0 + 212.0 * 2000.0 / 1024.0 / 123.25, 0.001);
    EXPECT_NE(tools::text_of(pyruvate, found).find("strongest line"), std::string::npos);
}

TEST(reference_peak, an_axis_without_frequency_and_a_stretch_outside_are_refused) {
    tools::spectrum_axis axis = axis_3t();
    EXPECT_THROW(reference_search({"", 200.0, {}}, axis), tools::tool_error);
    EXPECT_THROW(reference_search({"", 2.01, 30.0}, axis), tools::tool_error);
    axis.mhz.reset();
    EXPECT_THROW(reference_search({"", 2.01, {}}, axis), tools::tool_error);
}

TEST(reference_peak, the_sidecar_gets_the_axis_and_loses_the_guess) {
    const tools::spectrum_axis axis = axis_3t();
    complex_signal spectrum = noise(9);
    add(spectrum, point_of(axis, 1.80), 200.0, 1.5);
    const reference_peak naa = {"NAA", 2.01, 0.3};
    const found_reference found = found_in(spectrum, naa, axis);
    tools::ordered_json items = {
        {"ppm_at_carrier", 4.65},
        {"guessed", {{{"item", "ppm_at_carrier"}, {"value", 4.65}, {"reason", "usual"}}}}};
    tools::set_reference_items(items, naa, found);
    EXPECT_NEAR(items["ppm_at_carrier"].get<double>(), 4.86, 0.002);
    EXPECT_FALSE(items.contains("guessed"));
    EXPECT_NEAR(items["reference_peak"]["shift_ppm"].get<double>(), 0.21, 0.002);
    EXPECT_EQ(tools::text_of(naa, found).substr(0, 35), "NAA, known at 2.01 ppm, was found a");
}
