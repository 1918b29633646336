// SPDX-License-Identifier: BSD-3-Clause
// input_spectrum.cpp -- the measured signal and its noise
#include "run/input_spectrum.h"

#include "data/ge_io.h"
#include "model/vector_lib.h"
#include "run/state.h"
#include "run/storage.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <string>

// Mean square deviation from the mean over the points first ... last - 1.
static double variance(const double *v, int first, int last) {
    const double points = last - first;
    double mean = 0.0;
    for (int i = first; i < last; ++i) mean += v[i];
    mean /= points;
    double squares = 0.0;
    for (int i = first; i < last; ++i) squares += (v[i] - mean) * (v[i] - mean);
    return squares / points;
}

static void estimate_noise(const double *re, const double *im, int points) {
    if (ap_noise == 0) {
        sigma = 1.0;
        sigma_im = 0.0;
    } else if (ap_noise == 1) {
        // The point behind the fitted ones; where the signal ends there, the window's own point.
        const int i = ap < points ? ap : std::clamp(noise_strt, 0, points - 1);
        sigma = points > 0 ? std::fabs(re[i]) : 0.0;
        sigma_im = points > 0 ? std::fabs(im[i]) : 0.0;
    } else {
        const int first = std::max(noise_strt, 0); // a window that starts before the signal
        if (ap_noise >= 2 && first < noise_stop) {
            sigma = variance(re, first, noise_stop);
            sigma_im = variance(im, first, noise_stop);
        }
        sigma = std::sqrt(sigma);
        sigma_im = std::sqrt(sigma_im);
    }
}

void InputSpectrumToFit(double *re, double *im) {
    const long long window = static_cast<long long>(noise_stop) - noise_strt;
    ap_noise = static_cast<int>(std::clamp<long long>(window, INT_MIN, INT_MAX));
    const int points = std::max({noise_stop, ap, 0});
    if (verbose > 0) {
        std::printf("number of complex data  points             : %d\n", ap);
        std::printf("number of complex noise points             : %d\n", ap_noise);
    }
    const std::string name = std::string(path) + sdffnm;
    const scratch<float> ge_array(2LL * points, " Memory requested to store ge_array[] in "
                                                "InputSpectrumToFit is not available\n");
    if (ge_array != nullptr) {
        int count = 2 * points;
        readge_(name.c_str(), ge_array, &count, 0);
        for (int i = 0; i < points; ++i) {
            const double real = static_cast<double>(ge_array[2LL * i]);
            const double imaginary = static_cast<double>(ge_array[2LL * i + 1]);
            // A window may end far behind the file: pages of zeros that are not written to cost
            // no memory.
            if (real == re[i] && imaginary == im[i]) continue;
            re[i] = real;
            im[i] = imaginary;
        }
    }
    estimate_noise(re, im, points);
    if (verbose > 0) {
        std::printf("standard deviation absorption              : %g\n", sigma);
        std::printf("standard deviation dispersion              : %g\n", sigma_im);
    }
    Copy_Vector(ap, re, shifted_xre);
    Copy_Vector(ap, im, shifted_xim);
    if (ignore > 0) update_spectrum(ap, ignore, re, im, lookup);
}

void update_spectrum(const int &n, const int &n_ignore, double *re, double *im,
                     const double *table) {
    clear_time_points(n, 0, n_ignore, re, im, table);
}
