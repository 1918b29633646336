// SPDX-License-Identifier: BSD-3-Clause
// fft.cpp -- radix-2 transform of a complex vector, in place
//
//   X[j] = s * sum_k x[k] exp(-2 pi i j k / n),   s = 1/n when scale is 1, else 1
//
// The factors advance by a recurrence from a table with one pair per stage, so no sine or cosine
// is computed per transform. n is a power of two.
//
// Method: J. W. Cooley, J. W. Tukey, Math. Comput. 19 (1965) 297-301; the recurrence
// w + w (-2 sin^2(theta/2) + i sin theta) after R. C. Singleton, Commun. ACM 10 (1967) 647-654.
#include "model/fft.h"

#include "kernel/elementary.h"
#include "run/storage.h"

#include <numbers>
#include <utility>

bool is_power_of_two(const int &n) {
    return n > 0 && (n & (n - 1)) == 0;
}

void create_lookup(double *table, const int &n, const int &sign) {
    const long long doubles = 2LL * n;
    long long pair = 0;
    for (long long mmax = 2; doubles > mmax && pair < 24; mmax *= 2, ++pair) {
        const double turn = 2.0 * std::numbers::pi / static_cast<double>(mmax);
        const double theta = sign == 1 ? -turn : turn;
        table[2 * pair] = kernel::sin(0.5 * theta);
        table[2 * pair + 1] = kernel::sin(theta);
    }
}

// Puts point k of the n complex points where the bits of k are reversed.
static void reverse_bits(double *data, long long n) {
    long long j = 0;
    for (long long i = 0; i < n; ++i) {
        if (j > i) {
            std::swap(data[2 * j], data[2 * i]);
            std::swap(data[2 * j + 1], data[2 * i + 1]);
        }
        long long bit = n >> 1;
        for (; bit >= 1 && (j & bit) != 0; bit >>= 1) j ^= bit;
        j |= bit;
    }
}

void four2(double *data, const double *table, const int &n, const int &scale) {
    if (!is_power_of_two(n)) return;
    const long long doubles = 2LL * n;
    reverse_bits(data, n);
    const double *stage = table;
    for (long long mmax = 2; doubles > mmax; mmax *= 2, stage += 2) {
        const double wpr = -2.0 * stage[0] * stage[0];
        const double wpi = stage[1];
        double wr = 1.0;
        double wi = 0.0;
        for (long long m = 0; m < mmax; m += 2) {
            for (long long i = m; i < doubles; i += 2 * mmax) {
                const long long j = i + mmax;
                const double tr = wr * data[j] - wi * data[j + 1];
                const double ti = wr * data[j + 1] + wi * data[j];
                data[j] = data[i] - tr;
                data[j + 1] = data[i + 1] - ti;
                data[i] += tr;
                data[i + 1] += ti;
            }
            const double before = wr;
            wr = wr * wpr - wi * wpi + wr;
            wi = wi * wpr + before * wpi + wi;
        }
    }
    if (scale == 1) {
        const double factor = 1.0 / n;
        for (long long i = 0; i < doubles; ++i) data[i] *= factor;
    }
}

void fft(const int &n, double *re, double *im, const double *table, const int &scale,
         const int &order) {
    if (!is_power_of_two(n)) return;
    const scratch<double> fourier(
        2LL * n, " Memory requested to store fourier[] in fft() is not available\n");
    if (fourier == nullptr) return;
    const int half = n / 2;
    const int from = order != 0 ? 0 : half;
    for (int i = 0; i < n; ++i) {
        const int k = (i + from) % n;
        fourier[2 * i] = re[k];
        fourier[2 * i + 1] = im[k];
    }
    four2(fourier, table, n, scale);
    for (int i = 0; i < n; ++i) {
        const int k = (i + half) % n;
        re[i] = fourier[2 * k];
        im[i] = fourier[2 * k + 1];
    }
}
