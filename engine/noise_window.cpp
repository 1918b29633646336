// SPDX-License-Identifier: BSD-3-Clause
#include "engine/noise_window.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace engine {

// How far a stretch of noise may stand above the median of the quieter ones, in standard
// deviations of a variance: pure noise does so in about one of a thousand stretches.
static constexpr double most_above = 3.0;

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

namespace {

struct stretch {
    noise_window window;
    double variance; // of a channel, about a straight line, for its degrees of freedom
};

// Sum of squares of both channels about the straight lines fitted to them: the tails of lines
// slope over a stretch, noise does not.
double squares_about_a_line(const complex_signal &spectrum, const noise_window &window) {
    const double count = static_cast<double>(window.stop - window.first);
    const double middle = 0.5 * static_cast<double>(window.first + window.stop - 1);
    std::complex<double> slope = 0.0;
    for (long long i = window.first; i < window.stop; ++i)
        slope += (static_cast<double>(i) - middle) * spectrum[static_cast<std::size_t>(i)];
    slope *= 12.0 / (count * (count * count - 1.0));
    const double about_mean = count * (window.sd_re * window.sd_re + window.sd_im * window.sd_im);
    return about_mean - std::norm(slope) * count * (count * count - 1.0) / 12.0;
}

double freedom_of(long long count) {
    return 2.0 * static_cast<double>(count - 2);
}

// Median of the variances of the first `count` windows, which are in rising order.
double median_of(const std::vector<stretch> &windows, std::size_t count) {
    const double upper = windows[count / 2].variance;
    return count % 2 == 1 ? upper : 0.5 * (upper + windows[count / 2 - 1].variance);
}

// How many of the windows, in rising order of their variances, hold noise only: they are taken in
// turn as long as the next one is no further above the median of those before it than noise is.
std::size_t free_of_signal(const std::vector<stretch> &windows) {
    const double freedom = freedom_of(windows[0].window.stop - windows[0].window.first);
    const double largest_ratio = 1.0 + most_above * std::sqrt(2.0 / freedom);
    std::size_t count = 1;
    while (count < windows.size() &&
           windows[count].variance <= largest_ratio * median_of(windows, count))
        ++count;
    return count;
}

} // namespace

noise_window noise_stretch(const complex_signal &spectrum) {
    const auto n = static_cast<long long>(spectrum.size());
    const long long length = n / 8;
    if (length < 4) return noise_of_stretch(spectrum, 0, n); // no room for a choice
    std::vector<stretch> inner, edge;
    for (long long first = 0; first + length <= n; first += length / 2) {
        const noise_window window = noise_of_stretch(spectrum, first, first + length);
        (first < length || first + length > n - length ? edge : inner)
            .push_back({window, squares_about_a_line(spectrum, window) / freedom_of(length)});
    }
    std::ranges::sort(inner, {}, &stretch::variance);
    std::ranges::sort(edge, {}, &stretch::variance);
    const bool lines_inside = inner[0].variance > 9.0 * edge[0].variance;
    const std::vector<stretch> &windows = lines_inside ? edge : inner;

    const std::size_t count = free_of_signal(windows);
    // the median of a chi-square variable lies 2/3 below its mean, the number of its freedoms
    const double freedom = freedom_of(length);
    const double level = std::sqrt(median_of(windows, count) * freedom / (freedom - 2.0 / 3.0));
    const auto off = [&](const stretch &a) { return std::fabs(a.window.sd_re - level); };
    return std::min_element(windows.begin(), windows.begin() + static_cast<std::ptrdiff_t>(count),
                            [&](const stretch &a, const stretch &b) { return off(a) < off(b); })
        ->window;
}

} // namespace engine
