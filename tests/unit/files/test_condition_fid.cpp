// SPDX-License-Identifier: BSD-3-Clause
#include "files/measured/condition_fid.h"

#include "engine/centred_spectrum.h"
#include "files/base/tool_error.h"
#include "files/spectra/search_limits.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

using std::complex;
using std::numbers::pi;
using tools::complex_signal;

namespace {

// frequency and width in cycles per point
complex_signal decay(std::size_t n, double frequency, double width, double amplitude = 1.0,
                     double phase = 0.0) {
    complex_signal fid(n);
    for (std::size_t k = 0; k < n; ++k)
        fid[k] = std::polar(amplitude * std::exp(-pi * width * static_cast<double>(k)),
                            phase + 2.0 * pi * frequency * static_cast<double>(k));
    return fid;
}

void add_noise(complex_signal &fid, double sd) {
    support::random_numbers random(3);
    for (complex<double> &point : fid)
        point += complex<double>(sd * random.normal(), sd * random.normal());
}

// Status of a refusal, 0 for none.
int refused(long long points, const std::string &resize) {
    try {
        tools::length_for_fit("a.fid", points, resize);
    } catch (const tools::tool_error &error) {
        return error.status();
    }
    return 0;
}

} // namespace

TEST(condition_fid, lengths_become_powers_of_two_as_asked) {
    EXPECT_EQ(tools::length_for_fit("a.fid", 1024, ""), 1024);
    for (const char *how : {"fill", "cut"})
        EXPECT_EQ(tools::length_for_fit("a.fid", 1024, how), 1024);
    EXPECT_EQ(tools::length_for_fit("a.fid", 1025, "fill"), 2048);
    EXPECT_EQ(tools::length_for_fit("a.fid", 1025, "cut"), 1024);
    EXPECT_EQ(tools::length_for_fit("a.fid", 1023, "fill"), 1024);
    EXPECT_EQ(tools::length_for_fit("a.fid", 1023, "cut"), 512);
    EXPECT_EQ(tools::length_for_fit("a.fid", 1000, "4096"), 4096);
    EXPECT_EQ(refused(1000, ""), tools::bad_input);
    for (const char *how : {"1000", "0", "-4", "4.5", "all", "99999999999999999999"})
        EXPECT_EQ(refused(1024, how), tools::wrong_usage) << how;
    const long long most = tools::search_limits::points;
    EXPECT_EQ(tools::length_for_fit("a.fid", most, ""), most);
    EXPECT_EQ(refused(most + 1, "fill"), tools::bad_input);
    EXPECT_EQ(refused(1024, std::to_string(2 * most)), tools::bad_input);
    try {
        tools::length_for_fit("a.fid", 1000, "");
    } catch (const tools::tool_error &error) {
        EXPECT_NE(
            std::string(error.what()).find("--resize 1024 fills with zeros, --resize 512 cuts"),
            std::string::npos)
            << error.what();
    }
}

TEST(condition_fid, turning_by_the_phase_of_the_first_point_makes_it_positive) {
    for (const double phase : {0.0, 37.0, -90.0, 180.0, -179.0}) {
        complex_signal fid = decay(8, 0.1, 0.01, 2.0, phase * pi / 180.0);
        tools::turn_phase(fid, tools::phase_of_first_point(fid));
        EXPECT_NEAR(fid[0].real(), 2.0, 1e-15 * 8) << phase;
        EXPECT_NEAR(fid[0].imag(), 0.0, 1e-15 * 8) << phase;
    }
    EXPECT_EQ(tools::phase_of_first_point({}), 0.0);
    complex_signal one = {{1.0, 2.0}};
    tools::conjugate(one);
    EXPECT_EQ(one[0], complex<double>(1.0, -2.0));
}

// The reader of a binary pattern takes P[j] conjugated and reversed for the spectrum: there and
// back is the spectrum of the FID with its first point whole.
TEST(condition_fid, a_binary_pattern_is_the_spectrum_conjugated_and_reversed) {
    const complex_signal fid = decay(64, 0.07, 0.02, 3.0, 0.5);
    const complex_signal pattern = tools::binary_pattern(fid);
    for (std::size_t j = 0; j < 64; ++j) {
        const std::size_t from = (64 - j) % 64; // centred: frequency (from - 32) / 64
        complex<double> sum = 0.0;
        for (std::size_t k = 0; k < 64; ++k)
            sum += fid[k] * std::polar(1.0 / 64.0, -2.0 * pi * (static_cast<double>(from) - 32.0) *
                                                       static_cast<double>(k) / 64.0);
        EXPECT_NEAR(std::abs(pattern[j] - std::conj(sum)), 0.0, 1e-14) << j;
    }
}

TEST(condition_fid, the_line_of_a_reference_is_found_between_points) {
    for (const double frequency : {0.0, 0.1234, -0.31, 0.4991, -0.4999}) {
        const auto shape = tools::lineshape_of(decay(512, frequency, 0.01), "water");
        // a hundredth of a point of its spectrum
        EXPECT_NEAR(std::remainder(shape.frequency - frequency, 1.0), 0.0, 0.01 / 512) << frequency;
        EXPECT_EQ(shape.line[0], 1.0);
    }
}

// A field that sways: after the correction the line of the reference is its magnitude, at the
// carrier.
TEST(condition_fid, eddy_currents_go_where_the_reference_stands_above_its_noise) {
    complex_signal water = decay(512, 0.05, 0.004, 100.0, 0.8);
    for (std::size_t k = 0; k < water.size(); ++k)
        water[k] *= std::polar(1.0, 1.5 * std::exp(-static_cast<double>(k) / 40.0));
    add_noise(water, 0.1);
    const auto shape = tools::lineshape_of(water, "water");
    EXPECT_GT(shape.reliable, 200);
    EXPECT_LT(shape.reliable, 512);
    complex_signal corrected = water;
    tools::correct_eddy_currents(corrected, shape);
    for (std::size_t k = 0; k < static_cast<std::size_t>(shape.reliable); ++k) {
        EXPECT_NEAR(corrected[k].real(), std::abs(water[k]), 1e-12 * 100.0) << k;
        EXPECT_NEAR(corrected[k].imag(), 0.0, 1e-10) << k;
    }
    // behind it the unsteady part is held: the phase goes on with the frequency alone
    const auto last = static_cast<std::size_t>(shape.reliable) - 1;
    for (std::size_t k = last + 1; k < 512; ++k)
        EXPECT_NEAR(shape.phase[k] - shape.phase[last],
                    2.0 * pi * shape.frequency * static_cast<double>(k - last), 1e-9)
            << k;
}

TEST(condition_fid, what_has_no_line_is_no_reference) {
    complex_signal noise(512);
    add_noise(noise, 1.0);
    for (const complex_signal &bad : {complex_signal(), complex_signal(512), noise})
        EXPECT_THROW(tools::lineshape_of(bad, "water"), tools::tool_error);
}

TEST(condition_fid, the_share_of_the_strongest_line) {
    complex_signal one = decay(1024, 0.1, 0.004, 10.0);
    add_noise(one, 0.01);
    EXPECT_GT(tools::share_of_strongest_line(one, 0.05), 0.95);
    complex_signal two = one;
    const complex_signal other = decay(1024, -0.2, 0.004, 10.0);
    for (std::size_t k = 0; k < two.size(); ++k) two[k] += other[k];
    EXPECT_NEAR(tools::share_of_strongest_line(two, 0.05), 0.5, 0.03);
}

TEST(condition_fid, a_copy_is_one_to_a_thousandth_of_its_power) {
    const complex_signal fid = decay(256, 0.1, 0.01);
    complex_signal like = fid, unlike = fid;
    for (std::size_t k = 0; k < 256; ++k) {
        const complex<double> more = std::polar(1.0, 2.0 * pi * 0.25 * static_cast<double>(k));
        like[k] = complex<double>(0.0, -3.0) * (like[k] + 0.002 * more);
        unlike[k] += 0.2 * more;
    }
    EXPECT_TRUE(tools::is_copy(fid, fid));
    EXPECT_TRUE(tools::is_copy(fid, like));
    EXPECT_FALSE(tools::is_copy(fid, unlike));
    EXPECT_FALSE(tools::is_copy(fid, complex_signal(256)));
    EXPECT_FALSE(tools::is_copy(complex_signal(256), complex_signal(256)));
    EXPECT_TRUE(tools::is_all_zero(complex_signal(3)));
    EXPECT_FALSE(tools::is_all_zero({0.0, {0.0, 1e-300}}));
    EXPECT_EQ(tools::power_of({{3.0, 4.0}, 1.0}), 26.0);
}
