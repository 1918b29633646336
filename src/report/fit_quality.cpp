// SPDX-License-Identifier: BSD-3-Clause
// fit_quality.cpp -- residual over noise, as one number
#include "report/fit_quality.h"

#include "run/state.h"

#include <cmath>
#include <cstdio>

static void print_fit_mode(int complex_mode) {
    switch (complex_mode) {
    case 0:
        std::printf("absorption mode fit\n");
        break;
    case 1:
        std::printf("dispersion mode fit\n");
        break;
    case 2:
        std::printf("sum ( absorption + dispersion ) mode fit\n");
        break;
    case 3:
        std::printf("magnitude spectrum  fit \n");
        break;
    case 4:
        std::printf("power spectrum fit \n");
        break;
    default:
        std::printf("illegal complex parameter value\n");
        break;
    }
}

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
    if (verbose > 0) print_fit_mode(complex_mode);
    if (verbose > 1) std::printf("fit quality number                          : %E\n", quality);
    if (verbose > 2) {
        std::printf("fit quality number absorption              : %E\n",
                    scale * std::sqrt(s_re / points) / noise_sd);
        std::printf("fit quality number dispersion              : %E\n",
                    scale * std::sqrt(s_im / points) / noise_sd);
    }
    return quality;
}
