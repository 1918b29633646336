// SPDX-License-Identifier: BSD-3-Clause
// input_spectrum.h -- the measured signal and its noise
#pragma once

// Reads the signal path + sdffnm into re, im (max(ap, noise_stop) points) and sets ap_noise,
// sigma, sigma_im, shifted_xre, shifted_xim; removes the first ignore points.
//
// Errors: a file that cannot be opened ends the run with status 1; a short one is reported and
//         the missing points are 0.
void InputSpectrumToFit(double *re, double *im);

// Sets the first ignore time-domain points of a centred spectrum to zero, in place.
void update_spectrum(const int &n, const int &n_ignore, double *re, double *im,
                     const double *table);
