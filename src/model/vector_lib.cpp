// SPDX-License-Identifier: BSD-3-Clause
// vector_lib.cpp -- element-wise vectors, domain conversions, rotation, truncation, shifts
//
// One twiddle table serves both directions of the transform: the inverse is had by conjugating
// the input (Calculate_Time_Domain) or by reversing the output order (clear_time_points), since
// sum_k X[k] exp(+i a k) is the forward sum at the index n - j.
#include "model/vector_lib.h"

#include "kernel/elementary.h"
#include "model/fft.h"
#include "run/storage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

void Zero_Vector(const int &n, double *v) {
    const int points = n;
    for (int i = 0; i < points; ++i) v[i] = 0.0;
}

void Copy_Vector(const int &n, const double *src, double *dst) {
    const int points = n;
    for (int i = 0; i < points; ++i) dst[i] = src[i];
}

void Sum_Vector(const int &n, double *out, const double *a, const double *b) {
    const int points = n;
    for (int i = 0; i < points; ++i) out[i] = a[i] + b[i];
}

void Dif_Vector(const int &n, double *out, const double *a, const double *b) {
    const int points = n;
    for (int i = 0; i < points; ++i) out[i] = a[i] - b[i];
}

void Inv_Vector(const int &n, double *out, const double *a) {
    const int points = n;
    for (int i = 0; i < points; ++i) out[i] = -a[i];
}

void Multiply_Vector(const int &n, double *out, const double *a, const double *b) {
    const int points = n;
    for (int i = 0; i < points; ++i) out[i] = a[i] * b[i];
}

void Absolute_Vector(const int &n, const double *re, const double *im, double *out) {
    const int points = n;
    for (int i = 0; i < points; ++i) out[i] = std::sqrt(re[i] * re[i] + im[i] * im[i]);
}

int Calculate_In_Product(const int &n, const double *a, const double *b, double &result) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) sum += a[i] * b[i];
    result = sum;
    return std::max(n, 0);
}

void Max_Vector(const int &n, const double *v, int &index, double &max) {
    max = -1e200;
    for (int i = 0; i < n; ++i) {
        if (v[i] > max) {
            max = v[i];
            index = i;
        }
    }
}

void interleave(int n, const double *re, const double *im, double *signal) {
    for (int i = 0; i < n; ++i) {
        signal[2 * i] = re[i];
        signal[2 * i + 1] = im[i];
    }
}

void separate(int n, const double *signal, double *re, double *im) {
    for (int i = 0; i < n; ++i) {
        re[i] = signal[2 * i];
        im[i] = signal[2 * i + 1];
    }
}

void Calculate_Spectrum(const int &n, double *re, double *im, const double *table) {
    if (n < 1) return;
    const scratch<double> signal(
        2LL * n, " Memory requested to store signal[] in Calculate_Spectrum() not available");
    if (signal == nullptr) return;
    re[0] *= 0.5;
    im[0] *= 0.5;
    interleave(n, re, im, signal);
    four2(signal, table, n, 1);
    separate(n, signal, re, im);
    int half = n / 2;
    Rotate_Vector(n, half, re);
    Rotate_Vector(n, half, im);
}

static void transform_conjugate(int n, double *re, double *im, const double *table, int scale,
                                const char *text) {
    if (n < 1) return;
    const scratch<double> signal(2LL * n, text);
    if (signal == nullptr) return;
    for (int i = 0; i < n; ++i) {
        signal[2 * i] = re[i];
        signal[2 * i + 1] = -im[i];
    }
    four2(signal, table, n, scale);
    separate(n, signal, re, im);
}

void Calculate_Time_Domain(const int &n, double *re, double *im, const double *table) {
    transform_conjugate(
        n, re, im, table, 0,
        " Memory requested to store signal[] in Calculate_Time_Domain() is not available\n");
}

void Calculate_Frequency_Domain(const int &n, double *re, double *im, const double *table) {
    transform_conjugate(
        n, re, im, table, 1,
        " Memory requested to store signal[] in Calculate_Frequency_Domain() is not available\n");
}

void Rotate_Vector(const int &n, int &k, double *v) {
    if (n < 1) return;
    if (k < 0) k += n;
    const int left = ((k % n) + n) % n;
    const scratch<double> dummy(
        n, " Memory requested to store dummy[] in Rotate_Vector() is not available\n");
    if (dummy == nullptr) return;
    for (int i = 0; i < n; ++i) dummy[i] = v[i];
    for (int i = 0; i < n - left; ++i) v[i] = dummy[i + left];
    for (int i = n - left; i < n; ++i) v[i] = dummy[i + left - n];
}

void Rotate_Conv_Vector(const int &n, const int &k, const double *src, double *dst) {
    if (n < 1) return;
    const int left = (((-k) % n) + n) % n;
    for (int j = 0; j < n; ++j) dst[j] = src[(j + left) % n];
}

void Convolution(const int &n, const int &lo, const int &hi, const double *a, const double *b,
                 double *out) {
    if (n < 1) return;
    const scratch<double> rotated(
        n, " Memory requested to store rot_arr[] in Convolution() is not available");
    Zero_Vector(n, out);
    if (rotated == nullptr) return;
    const int first = std::max(lo, -(n / 2));
    const int last = std::min(hi, n - 1 - n / 2);
    for (int k = first; k <= last; ++k) {
        Rotate_Conv_Vector(n, k, a, rotated);
        Calculate_In_Product(n, rotated, b, out[n / 2 + k]);
    }
}

void clear_time_points(int n, int first, int stop, double *re, double *im, const double *table) {
    if (n < 1) return;
    // names one of its callers: wording kept
    const scratch<double> signal(
        2LL * n, " Memory requested to store signal[] in Truncate_Spectrum() is not available\n");
    if (signal == nullptr) return;
    interleave(n, re, im, signal);
    four2(signal, table, n, 1);
    for (int i = 0; i < n; ++i) {
        re[n - 1 - i] = signal[2 * i];
        im[n - 1 - i] = signal[2 * i + 1];
    }
    int k = -1;
    Rotate_Vector(n, k, re);
    Rotate_Vector(n, k, im);
    for (int i = std::max(first, 0); i < std::min(stop, n); ++i) re[i] = im[i] = 0.0;
    interleave(n, re, im, signal);
    four2(signal, table, n, 0);
    separate(n, signal, re, im);
}

void Truncate_Spectrum(const int &n, const int &trunc, double *re, double *im,
                       const double *table) {
    clear_time_points(n, trunc, n, re, im, table);
}

void Correct_Zo_Phase(const int &print, const int &n, const double &phi0, const double &phi1,
                      double *re, double *im) {
    if (print > 0) {
        std::printf("correcting zero  order phase [degrees]      : %E \n", phi0);
        std::printf("correcting first order phase [degrees]      : %E \n", phi1);
    }
    for (int i = 0; i < n; ++i) {
        const double theta = 2.0 * std::numbers::pi * (phi0 + phi1 * i / n) / 360.0;
        const auto [c, s] = kernel::exp_i(theta);
        const double real = re[i];
        re[i] = real * c + im[i] * s;
        im[i] = im[i] * c - real * s;
    }
}

void Generate_Complex_Shift(const int &n, const double &shift, double *cosv, double *sinv) {
    for (int i = 0; i < n; ++i) {
        const double angle = 2.0 * std::numbers::pi * shift * i / n;
        const kernel::complex_value turned = kernel::exp_i(angle);
        cosv[i] = turned.re;
        sinv[i] = turned.im;
    }
}

void Shift_Original(const int &n, const double *re, const double *im, const double &shift,
                    double *out_re, double *out_im, const double *table) {
    if (n < 1) return;
    const scratch<double> sinv(
        n, " Memory requested to store expi[] in Shift_Original() not available");
    const scratch<double> cosv(
        n, " Memory requested to store expr[] in Shift_Original() not available");
    if (sinv == nullptr || cosv == nullptr) return;
    Copy_Vector(n, re, out_re);
    Copy_Vector(n, im, out_im);
    Calculate_Time_Domain(n, out_re, out_im, table);
    Generate_Complex_Shift(n, shift, cosv, sinv);
    for (int i = 0; i < n; ++i) {
        const double real = out_re[i];
        out_re[i] = real * cosv[i] - out_im[i] * sinv[i];
        out_im[i] = real * sinv[i] + out_im[i] * cosv[i];
    }
    Calculate_Frequency_Domain(n, out_re, out_im, table);
}
