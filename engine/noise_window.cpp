// SPDX-License-Identifier: BSD-3-Clause
// noise_window.cpp -- a stretch of a spectrum that holds noise only, with its spread
#include "engine/noise_window.h"

#include <algorithm>
#include <cmath>
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

// How far it may stand in any one of many spectra: noise never does.
static constexpr double far_above = 6.0;

// Sum of squares of both channels about the straight lines fitted to them: the tails of lines
// slope over a stretch, noise does not.
static double squares_about_a_line(const complex_signal &spectrum, const noise_window &window) {
    const double count = static_cast<double>(window.stop - window.first);
    const double middle = 0.5 * static_cast<double>(window.first + window.stop - 1);
    std::complex<double> slope = 0.0;
    for (long long i = window.first; i < window.stop; ++i)
        slope += (static_cast<double>(i) - middle) * spectrum[static_cast<std::size_t>(i)];
    slope *= 12.0 / (count * (count * count - 1.0));
    const double about_mean = count * (window.sd_re * window.sd_re + window.sd_im * window.sd_im);
    return about_mean - std::norm(slope) * count * (count * count - 1.0) / 12.0;
}

static double freedom_of(long long count) {
    return 2.0 * static_cast<double>(count - 2);
}

// Stretches in rising order of their variances.
typedef std::vector<measured_stretch> stretch_list;

// Median of the variances of the first `count`.
static double median_of(const stretch_list &list, std::size_t count) {
    const double upper = list[count / 2].variance;
    return count % 2 == 1 ? upper : 0.5 * (upper + list[count / 2 - 1].variance);
}

// How many hold noise only: they are taken in turn as long as the next one is no further above the
// median of those before it than noise is.
static std::size_t free_of_signal(const stretch_list &list, double freedom) {
    const double largest_ratio = 1.0 + most_above * std::sqrt(2.0 / freedom);
    std::size_t count = 1;
    while (count < list.size() && list[count].variance <= largest_ratio * median_of(list, count))
        ++count;
    return count;
}

// All stretches of a spectrum of at least 32 points.
static stretch_list stretches_of(const complex_signal &spectrum) {
    const auto n = static_cast<long long>(spectrum.size());
    const long long length = n / 8;
    stretch_list list;
    for (long long first = 0; first + length <= n; first += length / 2) {
        const noise_window window = noise_of_stretch(spectrum, first, first + length);
        list.push_back({window.first, window.stop,
                        squares_about_a_line(spectrum, window) / freedom_of(length),
                        window.sd_re * window.sd_re});
    }
    return list;
}

struct noise_level {
    measured_stretch nearest;
    double variance; // of a channel
};

// freedom: of each variance.
static noise_level level_of(const stretch_list &all, long long n, double freedom) {
    const long long length = n / 8;
    stretch_list inner, edge;
    for (const measured_stretch &each : all)
        (each.first < length || each.stop > n - length ? edge : inner).push_back(each);
    const auto quieter = [](const measured_stretch &a, const measured_stretch &b) {
        return a.variance != b.variance ? a.variance < b.variance : a.first < b.first;
    };
    std::sort(inner.begin(), inner.end(), quieter);
    std::sort(edge.begin(), edge.end(), quieter);
    const bool lines_inside =
        inner.empty() || (!edge.empty() && inner[0].variance > 9.0 * edge[0].variance);
    const stretch_list &list = lines_inside ? edge : inner;

    const std::size_t count = free_of_signal(list, freedom);
    // the median of a chi-square variable lies 2/3 below its mean, the number of its freedoms
    const double variance = median_of(list, count) * freedom / (freedom - 2.0 / 3.0);
    const double level = std::sqrt(variance);
    const auto off = [&](const measured_stretch &a) {
        return std::fabs(std::sqrt(a.variance_re) - level);
    };
    return {*std::min_element(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(count),
                              [&](const measured_stretch &a, const measured_stretch &b) {
                                  return off(a) < off(b);
                              }),
            variance};
}

noise_window noise_stretch(const complex_signal &spectrum) {
    const auto n = static_cast<long long>(spectrum.size());
    if (n / 8 < 4) return noise_of_stretch(spectrum, 0, n); // no room for a choice
    const measured_stretch found = level_of(stretches_of(spectrum), n, freedom_of(n / 8)).nearest;
    return noise_of_stretch(spectrum, found.first, found.stop);
}

void shared_stretch_search::add(const complex_signal &spectrum) {
    points_ = static_cast<long long>(spectrum.size());
    if (points_ / 8 < 4) {
        ++spectra_;
        return;
    }
    const stretch_list own = stretches_of(spectrum);
    const double level = level_of(own, points_, freedom_of(points_ / 8)).variance;
    if (!(level > 0.0) || !std::isfinite(level)) return;
    if (sums_.empty()) {
        sums_ = own;
        for (measured_stretch &each : sums_) each.variance = each.variance_re = 0.0;
        largest_.assign(own.size(), 0.0);
    }
    for (std::size_t s = 0; s < own.size(); ++s) {
        sums_[s].variance += own[s].variance / level;
        sums_[s].variance_re += own[s].variance_re / level;
        largest_[s] = std::max(largest_[s], own[s].variance / level);
    }
    ++spectra_;
}

std::pair<long long, long long> shared_stretch_search::stretch() const {
    if (sums_.empty()) return {0, spectra_ > 0 ? points_ : 0};
    const double freedom = freedom_of(points_ / 8), count = static_cast<double>(spectra_);
    const double most = 1.0 + far_above * std::sqrt(2.0 / freedom);
    std::vector<measured_stretch> left;
    for (std::size_t s = 0; s < sums_.size(); ++s)
        if (largest_[s] <= most)
            left.push_back({sums_[s].first, sums_[s].stop, sums_[s].variance / count,
                            sums_[s].variance_re / count});
    const auto is_inner = [&](const measured_stretch &each) {
        return each.first >= points_ / 8 && each.stop <= points_ - points_ / 8;
    };
    if (std::none_of(left.begin(), left.end(), is_inner)) { // lines everywhere: the least of them
        left = sums_;
        for (measured_stretch &each : left) {
            each.variance /= count;
            each.variance_re /= count;
        }
    }
    const measured_stretch found = level_of(left, points_, freedom * count).nearest;
    return {found.first, found.stop};
}

} // namespace engine
