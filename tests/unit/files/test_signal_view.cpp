// SPDX-License-Identifier: BSD-3-Clause
#include "files/pictures/signal_view.h"

#include "engine/curve.h"

#include <gtest/gtest.h>

#include <cmath>

using tools::seen_part;
using tools::signal_view;

static engine::complex_signal line(double width, double phase) {
    // area, frequency, Gaussian width, phase, Lorentzian width
    return engine::unit_curve({1.0, 100.0, 0.0, phase, width}, {256, 1.0, 0.0, 0, 0}, {});
}

TEST(signal_view, parts_and_phases_are_rotations) {
    const engine::complex_signal x = line(4.0, 0.0);
    const auto real = signal_view(256, {}).of(x);
    const auto turned = signal_view(256, {seen_part::imaginary, -90.0, 0.0, 0.0}).of(x);
    const auto size = signal_view(256, {seen_part::magnitude, 30.0, 100.0, 0.0}).of(x);
    const auto first = signal_view(256, {seen_part::real, 0.0, 360.0, 0.0}).of(x);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(real[i], x[i].real());
        EXPECT_NEAR(turned[i], x[i].real(), 1e-15); // a quarter turn puts it in the other part
        EXPECT_NEAR(size[i], std::abs(x[i]), 1e-15);
        const double angle = 2.0 * M_PI * static_cast<double>(i) / 256.0;
        EXPECT_NEAR(first[i], (x[i] * std::polar(1.0, -angle)).real(), 1e-15);
    }
}

TEST(signal_view, a_broadened_line_is_a_broader_line) {
    const auto seen = signal_view(256, {seen_part::real, 0.0, 0.0, 3.0}).of(line(4.0, 0.0));
    const engine::complex_signal wanted = line(7.0, 0.0);
    for (std::size_t i = 0; i < 256; ++i) EXPECT_NEAR(seen[i], wanted[i].real(), 1e-14);
    const auto back = signal_view(256, {seen_part::real, 0.0, 0.0, -3.0}).of(wanted);
    for (std::size_t i = 0; i < 256; ++i) EXPECT_NEAR(back[i], line(4.0, 0.0)[i].real(), 1e-10);
    EXPECT_THROW(signal_view(100, {seen_part::real, 0.0, 0.0, 1.0}), std::invalid_argument);
}
