// SPDX-License-Identifier: BSD-3-Clause
// curve.cpp -- one curve of the model, alone
#include "engine/curve.h"

#include "engine/centred_spectrum.h"
#include "kernel/line_equation.h"

#include <algorithm>

namespace engine {

kernel::decay decay_of(const values_of_entry &p, const acquisition &when, bool is_pattern,
                       std::complex<double> factor, double extra_decay) {
    kernel::decay curve = kernel::line_decay({.area = 1.0,
                                              .frequency = p[frequency],
                                              .gauss = p[gauss_width],
                                              .lorentz = p[lorentz_width],
                                              .phase = p[phase]},
                                             when.points, when.first_order_phase, !is_pattern);
    const double re = curve.re, im = curve.im;
    curve.re = factor.real() * re - factor.imag() * im;
    curve.im = factor.real() * im + factor.imag() * re;
    curve.lorentz += extra_decay;
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
