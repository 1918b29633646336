// SPDX-License-Identifier: BSD-3-Clause
// transform.cpp -- radix-2 transform, factors from a table of n/2 cosines and sines
//
// Method: J. W. Cooley, J. W. Tukey, Math. Comput. 19 (1965) 297-301.
#include "files/spectra/transform.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tools {

bool is_power_of_two(long long n) {
    return n > 0 && (n & (n - 1)) == 0;
}

void forward_transform(complex_signal &x) {
    const std::size_t n = x.size();
    for (std::size_t i = 1, j = 0; i < n; ++i) { // bit reversal
        std::size_t bit = n >> 1;
        for (; (j & bit) != 0; bit >>= 1) j ^= bit;
        j |= bit;
        if (i < j) std::swap(x[i], x[j]);
    }
    complex_signal factor(n / 2);
    for (std::size_t k = 0; k < n / 2; ++k) {
        const double angle = -2.0 * M_PI * static_cast<double>(k) / static_cast<double>(n);
        factor[k] = {std::cos(angle), std::sin(angle)};
    }
    for (std::size_t half = 1; half < n; half *= 2) {
        const std::size_t step = n / (2 * half);
        for (std::size_t start = 0; start < n; start += 2 * half) {
            for (std::size_t k = 0; k < half; ++k) {
                const std::complex<double> w = factor[k * step];
                const std::complex<double> b = x[start + half + k];
                const std::complex<double> t(w.real() * b.real() - w.imag() * b.imag(),
                                             w.real() * b.imag() + w.imag() * b.real());
                x[start + half + k] = x[start + k] - t;
                x[start + k] += t;
            }
        }
    }
}

complex_signal centred_spectrum(complex_signal fid, double first_point_weight) {
    fid[0] *= first_point_weight;
    forward_transform(fid);
    const double scale = 1.0 / static_cast<double>(fid.size());
    for (std::complex<double> &point : fid) point *= scale;
    std::rotate(fid.begin(), fid.begin() + static_cast<std::ptrdiff_t>(fid.size() / 2), fid.end());
    return fid;
}

complex_signal fid_of_centred_spectrum(complex_signal spectrum, double first_point_weight) {
    std::rotate(spectrum.begin(),
                spectrum.begin() + static_cast<std::ptrdiff_t>(spectrum.size() / 2),
                spectrum.end());
    // the backward transform is the forward one of the conjugate, conjugated
    for (std::complex<double> &point : spectrum) point = std::conj(point);
    forward_transform(spectrum);
    for (std::complex<double> &point : spectrum) point = std::conj(point);
    if (!spectrum.empty()) spectrum[0] /= first_point_weight;
    return spectrum;
}

} // namespace tools
