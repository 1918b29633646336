// SPDX-License-Identifier: BSD-3-Clause
// signal_view.h -- spectra as an eye wants to see them: phased, broadened, one part of them
//
// For looking only. Nothing that is fitted goes through here.
#pragma once

#include "files/spectra/complex_signal.h"

#include "kernel/transform_plan.h"

#include <optional>
#include <vector>

namespace tools {

enum class seen_part { real, imaginary, magnitude };

struct view_settings {
    seen_part part = seen_part::real;
    double phase_0 = 0.0;   // taken off, at point 0 [degrees]
    double phase_1 = 0.0;   // taken off in addition at the other end of the band [degrees]
    double broadened = 0.0; // Lorentzian FWHM that is added [points]; negative: taken off
    bool operator==(const view_settings &) const = default;
};

// What does not depend on the signal is made once.
class signal_view {
  public:
    // points: 1, 2, 4 ... 2^24. Errors: std::invalid_argument for other numbers.
    signal_view(int points, const view_settings &settings);
    // Given and returned: as many points.
    std::vector<double> of(const complex_signal &x) const;

  private:
    view_settings settings_;
    std::vector<double> cosine_, sine_; // of the phase at each point
    std::vector<double> decay_;         // of each point of time; empty: no broadening
    std::optional<kernel::transform_plan> plan_;
};

} // namespace tools
