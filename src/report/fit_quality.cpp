// SPDX-License-Identifier: BSD-3-Clause
// fit_quality.cpp -- residual over noise, as one number
#include "report/fit_quality.h"

#include "run/state.h"

#include <cmath>
#include <cstdio>

static const char *const fit_modes[] = {"absorption mode fit\n", "dispersion mode fit\n",
                                        "sum ( absorption + dispersion ) mode fit\n",
                                        "magnitude spectrum  fit \n", "power spectrum fit \n"};

// Sum of w (x - y)^2 over the points with a weight.
static double weighted_residual(int points, const double *w, const double *x, const double *y) {
    double sum = 0.0;
    for (int i = 0; i < points; ++i)
        if (w[i] != 0.0) sum += w[i] * (x[i] - y[i]) * (x[i] - y[i]);
    return sum;
}

double print_fit_quality(const int &complex_mode, const int &n, const double &noise_sd,
                         const double &scale) {
    const double s_re = weighted_residual(ap, wre, xre, yre);
    const double s_im = weighted_residual(ap, wim, xim, yim);
    const double points = n;
    const double quality = scale * std::sqrt((s_re + s_im) / (2.0 * points)) / noise_sd;
    if (verbose > 0)
        std::printf("%s", complex_mode >= 0 && complex_mode <= 4
                              ? fit_modes[complex_mode]
                              : "illegal complex parameter value\n");
    if (verbose > 1) std::printf("fit quality number                          : %E\n", quality);
    if (verbose > 2) {
        std::printf("fit quality number absorption              : %E\n",
                    scale * std::sqrt(s_re / points) / noise_sd);
        std::printf("fit quality number dispersion              : %E\n",
                    scale * std::sqrt(s_im / points) / noise_sd);
    }
    return quality;
}
