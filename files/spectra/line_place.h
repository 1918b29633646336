// SPDX-License-Identifier: BSD-3-Clause
// line_place.h -- where a weak line stands
#pragma once

#include "files/spectra/complex_signal.h"

#include <vector>

namespace tools {

// The place of a Lorentzian line on a straight background by least squares over as many points as
// it is wide, one place and width for all spectra; amplitude, phase and background of each are
// solved for. In white noise its standard deviation is 0.3 to 0.8 times the width (FWHM of the
// absorption line) over the ratio of the peak to the noise of a channel.
//
// Given:
//   spectra   stretches of one length, not empty
//   near      the line is looked for around this point, up to 1.5 points or 0.4 of the width
//   width     full width of its magnitude at half height, about: tried from half of it to four
//   times
// Returns: points from the begin of the stretch.
double line_place(const std::vector<complex_signal> &spectra, double near, double width);

} // namespace tools
