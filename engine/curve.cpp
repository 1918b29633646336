// SPDX-License-Identifier: BSD-3-Clause
// curve.cpp -- one curve of the model, alone
#include "engine/curve.h"

#include "engine/centred_spectrum.h"
#include "kernel/elementary.h"

#include <algorithm>
#include <numbers>

namespace engine {

using std::numbers::pi;

kernel::decay decay_of(const values_of_entry &p, const acquisition &when, bool is_pattern,
                       std::complex<double> factor, double extra_decay) {
    const double N = when.points;
    const double d = when.first_order_phase / 360.0;
    // whole turns are taken off before they are multiplied by 2 pi
    const double turns = (p[frequency] + 0.5 * N) * d / N + p[phase] / 360.0 - 0.5 * d;
    const auto [turn_re, turn_im] = kernel::exp_2_pi_i(turns);
    kernel::decay curve;
    curve.re = factor.real() * turn_re - factor.imag() * turn_im;
    curve.im = factor.real() * turn_im + factor.imag() * turn_re;
    curve.frequency = p[frequency];
    curve.gauss = pi * pi * p[gauss_width] * p[gauss_width] / (N * N);
    curve.lorentz = pi * p[lorentz_width] / N + extra_decay;
    curve.d = d;
    curve.points = when.points;
    curve.half_band = !is_pattern;
    return curve;
}

// The points of a decay that curves have: from .first to before .second.
static std::pair<int, int> points_of_curves(const acquisition &when) {
    const int end = when.kept == 0 ? when.points : std::min(when.kept, when.points);
    return {std::min(when.ignored, end), end};
}

complex_signal unit_curve(const values_of_entry &p, const acquisition &when,
                          std::span<const std::complex<double>> pattern) {
    const std::size_t n = static_cast<std::size_t>(when.points);
    std::vector<double> re(n), im(n);
    const auto [begin, end] = points_of_curves(when);
    kernel::add_decay(decay_of(p, when, !pattern.empty(), 1.0), begin, end, re.data(), im.data());
    complex_signal decay(n);
    for (std::size_t i = 0; i < n; ++i) {
        decay[i] = {re[i], im[i]};
        if (!pattern.empty()) decay[i] *= pattern[i];
    }
    return spectrum_of_fid(decay, when.points);
}

complex_signal cut_as_curves(const complex_signal &spectrum, const acquisition &when) {
    complex_signal decay = fid_of_spectrum(spectrum);
    const auto [begin, end] = points_of_curves(when);
    std::fill(decay.begin(), decay.begin() + begin, 0.0);
    std::fill(decay.begin() + end, decay.end(), 0.0);
    return spectrum_of_fid(decay, when.points);
}

} // namespace engine
