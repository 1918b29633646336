// SPDX-License-Identifier: BSD-3-Clause
// vectors.cpp -- element by element, over vectors held as two arrays
#include "engine/vectors.h"

#include "kernel/lanes.h"

#include <algorithm>

namespace engine {

MULTIVERSION static void turned(int n, const double *__restrict re, const double *__restrict im,
                                double factor_re, double factor_im, double *__restrict out_re,
                                double *__restrict out_im) {
    for (int i = 0; i < n; ++i) {
        out_re[i] += factor_re * re[i] - factor_im * im[i];
        out_im[i] += factor_re * im[i] + factor_im * re[i];
    }
}

void add_turned(int n, const double *re, const double *im, std::complex<double> factor,
                double *out_re, double *out_im) {
    turned(n, re, im, factor.real(), factor.imag(), out_re, out_im);
}

MULTIVERSION static void multiples(int n, const double *__restrict re, const double *__restrict im,
                                   double factor, double *__restrict out_re,
                                   double *__restrict out_im) {
    for (int i = 0; i < n; ++i) {
        out_re[i] += factor * re[i];
        out_im[i] += factor * im[i];
    }
}

void add_times(int n, const double *re, const double *im, double factor, double *out_re,
               double *out_im) {
    multiples(n, re, im, factor, out_re, out_im);
}

MULTIVERSION static void scaled(int n, const double *__restrict x, double first,
                                const double *__restrict y, double second, double *__restrict out) {
    for (int i = 0; i < n; ++i) out[i] += first * x[i] + second * y[i];
}

void add_scaled(int n, const double *x, double first, const double *y, double second, double *out) {
    scaled(n, x, first, y, second, out);
}

MULTIVERSION static void multiplied(int n, double *__restrict re, double *__restrict im,
                                    const double *__restrict by) {
    for (int i = 0; i < n; ++i) {
        const double x = re[i] * by[2 * i] - im[i] * by[2 * i + 1];
        im[i] = re[i] * by[2 * i + 1] + im[i] * by[2 * i];
        re[i] = x;
    }
}

void multiply(int n, double *re, double *im, const std::complex<double> *by) {
    multiplied(n, re, im, reinterpret_cast<const double *>(by));
}

MULTIVERSION static void timed(int n, double d, const double *__restrict re,
                               const double *__restrict im, double *__restrict out_re,
                               double *__restrict out_im) {
    const double step = 1.0 / n;
    for (int i = 0; i < n; ++i) {
        const double t = (i + d) * step;
        out_re[i] = t * re[i];
        out_im[i] = t * im[i];
    }
}

MULTIVERSION static void timed_twice(int n, double d, const double *__restrict re,
                                     const double *__restrict im, double *__restrict out_re,
                                     double *__restrict out_im) {
    const double step = 1.0 / n;
    for (int i = 0; i < n; ++i) {
        const double t = (i + d) * step;
        out_re[i] = t * t * re[i];
        out_im[i] = t * t * im[i];
    }
}

void times_time(int n, int power, double d, const double *re, const double *im, double *out_re,
                double *out_im) {
    if (power == 0) {
        std::copy_n(re, n, out_re);
        std::copy_n(im, n, out_im);
    } else if (power == 1)
        timed(n, d, re, im, out_re, out_im);
    else
        timed_twice(n, d, re, im, out_re, out_im);
}

void clear(int n, double *re, double *im) {
    std::fill(re, re + n, 0.0);
    std::fill(im, im + n, 0.0);
}

} // namespace engine
