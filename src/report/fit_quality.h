// SPDX-License-Identifier: BSD-3-Clause
// fit_quality.h -- residual over noise, as one number
#pragma once

// Fit quality of the model of the last evaluation over the module state.
//
// Given:
//   complex_mode  fit mode, printed when verbose > 0
//   n             points that are fitted (sum of interval widths)
//   noise_sd      of the real part [signal]; the dispersion figure is divided by it as well
//   scale         scalefactor while signal and model are divided by it
// Returned: scale sqrt((S_re + S_im) / (2 n)) / noise_sd, S the weighted residual sums; 1 when
//           the residual is noise.
double print_fit_quality(const int &complex_mode, const int &n, const double &noise_sd,
                         const double &scale);
