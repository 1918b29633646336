// SPDX-License-Identifier: BSD-3-Clause
// signal_view.cpp -- spectra as an eye wants to see them: phased, broadened, one part of them
#include "files/pictures/signal_view.h"

#include "engine/centred_spectrum.h"

#include <cmath>

namespace tools {

signal_view::signal_view(int points, const view_settings &settings) : settings_(settings) {
    const auto n = static_cast<std::size_t>(points);
    for (std::size_t i = 0; i < n; ++i) {
        const double degrees =
            settings.phase_0 + settings.phase_1 * static_cast<double>(i) / static_cast<double>(n);
        cosine_.push_back(std::cos(degrees * M_PI / 180.0));
        sine_.push_back(std::sin(degrees * M_PI / 180.0));
    }
    if (settings.broadened == 0.0) return;
    plan_.emplace(points);
    for (std::size_t i = 0; i < n; ++i) // exp(-pi L t), t in units of the acquisition time
        decay_.push_back(
            std::exp(-M_PI * settings.broadened * static_cast<double>(i) / static_cast<double>(n)));
}

std::vector<double> signal_view::of(const complex_signal &x) const {
    complex_signal changed;
    const complex_signal *shown = &x;
    if (plan_) {
        changed = engine::fid_of_spectrum(*plan_, x, engine::half);
        for (std::size_t i = 0; i < changed.size(); ++i) changed[i] *= decay_[i];
        changed = engine::spectrum_of_fid(changed, plan_->points(), engine::half);
        shown = &changed;
    }
    std::vector<double> out(shown->size());
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double re = (*shown)[i].real(), im = (*shown)[i].imag();
        if (settings_.part == seen_part::real)
            out[i] = re * cosine_[i] + im * sine_[i];
        else if (settings_.part == seen_part::imaginary)
            out[i] = im * cosine_[i] - re * sine_[i];
        else
            out[i] = std::sqrt(re * re + im * im);
    }
    return out;
}

} // namespace tools
