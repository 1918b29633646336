// SPDX-License-Identifier: BSD-3-Clause
#include "files/measured/noise_window.h"

#include <cmath>
#include <limits>

namespace tools {

noise_window noise_of_stretch(const complex_signal &spectrum, long long first, long long stop) {
    const auto at = [&](long long i) { return spectrum[static_cast<std::size_t>(i)]; };
    const double count = static_cast<double>(stop - first);
    std::complex<double> mean = 0.0;
    for (long long i = first; i < stop; ++i) mean += at(i);
    mean /= count;
    double re = 0.0, im = 0.0;
    for (long long i = first; i < stop; ++i) {
        const std::complex<double> d = at(i) - mean;
        re += d.real() * d.real();
        im += d.imag() * d.imag();
    }
    return {first, stop, std::sqrt(re / count), std::sqrt(im / count)};
}

noise_window quietest_stretch(const complex_signal &spectrum) {
    const auto n = static_cast<long long>(spectrum.size());
    const long long length = n / 8;
    if (length < 4) return noise_of_stretch(spectrum, 0, n); // no room for a choice
    struct {
        double spread = std::numeric_limits<double>::infinity(); // variance, both channels
        long long first = 0;
    } inner, edge;
    for (long long first = 0; first + length <= n; first += length / 2) {
        auto &best = first < length || first + length > n - length ? edge : inner;
        const noise_window window = noise_of_stretch(spectrum, first, first + length);
        const double spread = window.sd_re * window.sd_re + window.sd_im * window.sd_im;
        if (spread < best.spread) best = {spread, first};
    }
    const bool lines_inside = inner.spread > 9.0 * edge.spread;
    const long long first = lines_inside ? edge.first : inner.first;
    return noise_of_stretch(spectrum, first, first + length);
}

} // namespace tools
