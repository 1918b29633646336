// SPDX-License-Identifier: BSD-3-Clause
// reference_peak.cpp -- the place of a line of known chemical shift
#include "files/spectra/reference_peak.h"

#include "files/base/tool_error.h"
#include "files/spectra/line_place.h"

#include "kernel/median.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace tools {

static constexpr int around = 3;            // points to both sides that say where a peak is
static constexpr double least_height = 7.0; // over the standard deviation of the noise

static double usual_half_width(const std::string &nucleus) {
    if (nucleus == "1H" || nucleus == "2H") return 0.3;
    return nucleus == "31P" ? 1.0 : 3.0;
}

static std::string name_of(const reference_peak &wanted) {
    return wanted.name.empty() ? "the reference peak" : wanted.name;
}

static std::string ppm_text(double ppm) {
    char text[40];
    std::snprintf(text, sizeof text, "%.4g ppm", std::round(1e4 * ppm) / 1e4);
    return text;
}

reference_search::reference_search(reference_peak wanted, const spectrum_axis &axis)
    : wanted_(std::move(wanted)), axis_(axis) {
    if (!axis.hz_per_point || !axis.mhz || axis.points < 8)
        refuse_input("reference " + ppm_text(wanted_.ppm),
                     "the axis cannot be set, the spectrometer frequency is not known; expected "
                     "--frequency MHZ");
    last_ = axis.points - 1;
    if (!axis.ppm_at_carrier) return;
    half_width_ = wanted_.half_width.value_or(usual_half_width(axis.nucleus));
    const double per_ppm = *axis.mhz / *axis.hz_per_point;
    const double centre =
        static_cast<double>(axis.points / 2) +
        (axis.ppm_rises_with_points ? 1.0 : -1.0) * (wanted_.ppm - *axis.ppm_at_carrier) * per_ppm;
    const double reach = std::max(half_width_ * per_ppm, 2.0); // a peak has two feet
    const double from = std::ceil(centre - reach), to = std::floor(centre + reach);
    if (!(from >= 1.0 && to <= static_cast<double>(axis.points - 2)))
        refuse_input("reference " + ppm_text(wanted_.ppm) + " +- " + ppm_text(half_width_),
                     "lies outside of the spectrum; expected a stretch in it");
    first_ = static_cast<long long>(from);
    last_ = static_cast<long long>(to);
}

double reference_search::ppm_of(double point) const {
    if (!axis_.ppm_at_carrier) return std::numeric_limits<double>::quiet_NaN();
    return *axis_.ppm_at_carrier + (axis_.ppm_rises_with_points ? 1.0 : -1.0) *
                                       (point - static_cast<double>(axis_.points / 2)) *
                                       *axis_.hz_per_point / *axis_.mhz;
}

// Vertex of the parabola through the inverse power; within half a point of i.
static double vertex(const std::vector<double> &power, std::size_t i) {
    const double below = 1.0 / power[i - 1], here = 1.0 / power[i], above = 1.0 / power[i + 1];
    const double bend = below - 2.0 * here + above;
    const double shift = std::isfinite(bend) && bend > 0.0 ? 0.5 * (below - above) / bend : 0.0;
    return static_cast<double>(i) + std::clamp(shift, -0.5, 0.5);
}

// Full width at half the magnitude, a quarter of the power, in points.
static double width_at(const std::vector<double> &power, std::size_t i) {
    std::size_t left = i, right = i;
    while (left > 0 && power[left] > 0.25 * power[i]) --left;
    while (right + 1 < power.size() && power[right] > 0.25 * power[i]) ++right;
    return static_cast<double>(right - left);
}

// Local maxima of the stretch, the most prominent one first.
std::vector<reference_search::peak>
reference_search::peaks_of(const std::vector<double> &power) const {
    std::vector<peak> all;
    const auto first = static_cast<std::size_t>(first_), last = static_cast<std::size_t>(last_);
    for (std::size_t i = first + 1; i < last; ++i) {
        if (!(power[i] > power[i - 1] && power[i] >= power[i + 1])) continue;
        double left = power[i], right = power[i]; // feet: the lowest point before a higher one
        for (std::size_t j = i; j-- > first && power[j] <= power[i];)
            left = std::min(left, power[j]);
        for (std::size_t j = i + 1; j <= last && power[j] <= power[i]; ++j)
            right = std::min(right, power[j]);
        all.push_back({static_cast<double>(i), std::sqrt(power[i]),
                       std::sqrt(power[i]) - std::sqrt(std::max(left, right)), width_at(power, i)});
        all.back().point = vertex(power, i);
    }
    std::sort(all.begin(), all.end(), [](const peak &a, const peak &b) {
        return a.prominence > b.prominence || (a.prominence == b.prominence && a.point < b.point);
    });
    return all;
}

// Variance of a channel, from the differences of neighbours: their median knows of no line, and no
// wing. The magnitude of a complex difference of two points has the median 1.1774 sqrt(2) sd.
static double variance_of(const complex_signal &spectrum) {
    std::vector<double> steps(spectrum.size() - 1);
    for (std::size_t i = 0; i < steps.size(); ++i)
        steps[i] = std::norm(spectrum[i + 1] - spectrum[i]);
    return kernel::upper_median(std::move(steps)) / (2.0 * 1.1774 * 1.1774);
}

// Power in the stretch over a straight line, 0 outside. The line goes through the means of the
// points beyond both ends, as far out as half of the stretch's half width: a line of the spectrum
// near an end must not be taken for background.
std::vector<double> reference_search::power_of(const complex_signal &spectrum) const {
    std::vector<double> power(spectrum.size(), 0.0);
    std::complex<double> left = 0.0, right = 0.0;
    double reach = 0.0;
    if (half_width_ > 0.0) {
        const long long beyond = std::max(1LL, (last_ - first_) / 4);
        const auto place = [&](long long i) {
            return static_cast<std::size_t>(std::clamp(i, 0LL, axis_.points - 1));
        };
        const long long some = std::max(1LL, beyond / 3);
        for (long long i = 0; i < some; ++i) {
            left += spectrum[place(first_ - beyond + i)] / static_cast<double>(some);
            right += spectrum[place(last_ + beyond - i)] / static_cast<double>(some);
        }
        reach = static_cast<double>(beyond) - 0.5 * static_cast<double>(some - 1);
    }
    const double from = static_cast<double>(first_) - reach;
    const double length = static_cast<double>(last_ - first_) + 2.0 * reach;
    for (long long i = first_; i <= last_; ++i) {
        const double along = (static_cast<double>(i) - from) / length;
        power[static_cast<std::size_t>(i)] =
            std::norm(spectrum[static_cast<std::size_t>(i)] - (1.0 - along) * left - along * right);
    }
    return power;
}

long long reference_search::kept_from() const {
    return std::max(0LL, first_ - around);
}
long long reference_search::kept_stop() const {
    return std::min(axis_.points, last_ + around + 1);
}

// Whether noise moves what seven points say by more than a tenth of a point: what is left of i x S
// has the variance of the noise times x^2 + h^2, on average 4 + h^2 over seven points. Of the power
// that is left of S when a parabola is taken out, noise has four points' worth.
static bool is_weak(double power, double variances, std::size_t spectra, double width) {
    static constexpr double enough = 0.1;
    if (!(variances > 0.0) || spectra == 0) return false;
    const double h = 0.5 * width / std::sqrt(3.0);
    const double signal = power - 8.0 * variances;
    const double variance = variances / static_cast<double>(spectra);
    return !(variance * (4.0 + h * h) < enough * enough * signal);
}

// A Lorentzian of half width h at x0 on a straight background, S = A / (1 + i (x - x0) / h) + b(x),
// obeys c S + i x S = a parabola in x with c = h - i x0. What is left of S and i x S when the
// parabola of each spectrum is taken out is proportional, with one c for all of them.
double reference_search::place_of(double near) const {
    static constexpr int points = 2 * around + 1;
    const long long centre = std::llround(near);
    if (centre - around < kept_from() || centre + around >= kept_stop()) return near;
    double basis[3][points]; // orthonormal parabolas
    for (int k = 0; k < 3; ++k) {
        for (int j = 0; j < points; ++j) basis[k][j] = std::pow(j - around, k);
        for (int other = 0; other < k; ++other) {
            double along = 0.0;
            for (int j = 0; j < points; ++j) along += basis[k][j] * basis[other][j];
            for (int j = 0; j < points; ++j) basis[k][j] -= along * basis[other][j];
        }
        double length = 0.0;
        for (int j = 0; j < points; ++j) length += basis[k][j] * basis[k][j];
        for (int j = 0; j < points; ++j) basis[k][j] /= std::sqrt(length);
    }
    const auto without_parabola = [&](std::complex<double> *values) {
        for (const auto &each : basis) {
            std::complex<double> along = 0.0;
            for (int j = 0; j < points; ++j) along += each[j] * values[j];
            for (int j = 0; j < points; ++j) values[j] -= along * each[j];
        }
    };
    std::complex<double> product = 0.0;
    double power = 0.0;
    for (const complex_signal &own : kept_) {
        std::complex<double> signal[points], turned[points];
        for (int j = 0; j < points; ++j) {
            signal[j] = own[static_cast<std::size_t>(centre - around + j - kept_from())];
            turned[j] = std::complex<double>(0.0, j - around) * signal[j];
        }
        without_parabola(signal);
        without_parabola(turned);
        for (int j = 0; j < points; ++j) {
            product += std::conj(signal[j]) * turned[j];
            power += std::norm(signal[j]);
        }
    }
    if (!(power > 0.0)) return near;
    const double width = width_at(power_, static_cast<std::size_t>(centre));
    if (is_weak(power, noise_power_, kept_.size(), width)) {
        const auto from = static_cast<double>(kept_from());
        return from + line_place(kept_, static_cast<double>(centre) - from, width);
    }
    const double shift = (product / power).imag();
    return std::fabs(shift) <= 2.0 ? static_cast<double>(centre) + shift : near;
}

// The noise of the square root of a sum of powers: its variance is half of a channel's, of
// spectra with equal noise however many they are.
static double magnitude_noise(double variance) {
    return std::sqrt(0.5 * variance);
}

void reference_search::add(const complex_signal &spectrum) {
    if (spectrum.size() != static_cast<std::size_t>(axis_.points)) return;
    const std::vector<double> own = power_of(spectrum);
    const double variance = variance_of(spectrum);
    if (power_.empty()) power_.assign(own.size(), 0.0);
    for (std::size_t i = 0; i < own.size(); ++i) power_[i] += own[i];
    noise_power_ += variance;
    ++spectra_;
    kept_.emplace_back(spectrum.begin() + static_cast<std::ptrdiff_t>(kept_from()),
                       spectrum.begin() + static_cast<std::ptrdiff_t>(kept_stop()));
    const std::vector<peak> peaks = peaks_of(own);
    if (!peaks.empty() && variance > 0.0)
        own_.emplace_back(peaks.front().point,
                          peaks.front().prominence / magnitude_noise(variance));
}

found_reference reference_search::found() const {
    found_reference out;
    const std::vector<peak> peaks = power_.empty() ? std::vector<peak>() : peaks_of(power_);
    const double noise =
        magnitude_noise(noise_power_ / static_cast<double>(std::max(spectra_, 1LL)));
    if (peaks.empty() || !(peaks.front().prominence > least_height * noise)) {
        const bool everywhere = half_width_ == 0.0;
        refuse_input(
            name_of(wanted_),
            "no peak above the noise " +
                (everywhere ? std::string("in the spectrum")
                            : "within " + ppm_text(half_width_) + " of " + ppm_text(wanted_.ppm)) +
                "; expected one, or a wider stretch (reference: NAME PPM ppm +- WIDTH)");
    }
    const peak &best = peaks.front();
    const double hz_per_ppm = *axis_.mhz, hz = *axis_.hz_per_point;
    out.point = place_of(best.point);
    out.ppm = ppm_of(out.point);
    const double sense = axis_.ppm_rises_with_points ? 1.0 : -1.0;
    out.ppm_at_carrier =
        wanted_.ppm - sense * (out.point - static_cast<double>(axis_.points / 2)) * hz / hz_per_ppm;
    if (axis_.ppm_at_carrier) out.shift = out.ppm_at_carrier - *axis_.ppm_at_carrier;
    out.half_width = half_width_;
    out.guessed_width = !wanted_.half_width;
    if (peaks.size() > 1 && 2.0 * peaks[1].prominence > best.prominence) {
        out.other_ppm = wanted_.ppm + sense * (peaks[1].point - out.point) * hz / hz_per_ppm;
        out.other_height = peaks[1].height / best.height;
    }
    out.spectra = spectra_;
    for (const auto &[point, height] : own_) {
        if (!(height > least_height)) continue;
        ++out.own;
        const double away = std::fabs(point - out.point);
        if (away <= std::max(best.width, 1.0)) continue;
        ++out.away;
        out.farthest_ppm = std::max(out.farthest_ppm, away * hz / hz_per_ppm);
    }
    return out;
}

static std::string width_reason(const found_reference &found) {
    return found.half_width == 0.0
               ? "ppm at the carrier were not known, so it is the strongest line"
               : "the usual one for this nucleus; +- WIDTH behind the ppm sets another";
}

std::string reference_width_text(const found_reference &found) {
    if (found.half_width == 0.0) return "reference_peak: " + width_reason(found);
    return "reference_peak.within_ppm " + ppm_text(found.half_width) + ": " + width_reason(found);
}

void set_reference_items(ordered_json &items, const reference_peak &wanted,
                         const found_reference &found) {
    items["ppm_at_carrier"] = found.ppm_at_carrier;
    ordered_json guesses = ordered_json::array();
    if (items.contains("guessed"))
        for (const auto &guess : items["guessed"])
            if (guess.value("item", "") != "ppm_at_carrier") guesses.push_back(guess);
    ordered_json &own = items["reference_peak"] = ordered_json::object();
    if (!wanted.name.empty()) own["name"] = wanted.name;
    own["ppm"] = wanted.ppm;
    if (found.half_width > 0.0) own["within_ppm"] = found.half_width;
    own["point"] = found.point;
    if (found.shift) own["found_ppm"] = found.ppm;
    if (found.shift) own["shift_ppm"] = *found.shift;
    own["spectra"] = found.spectra;
    own["spectra_with_the_peak"] = found.own;
    own["spectra_away"] = found.away;
    if (found.away > 0) own["farthest_ppm"] = found.farthest_ppm;
    own["text"] = text_of(wanted, found);
    if (found.guessed_width) {
        ordered_json value;
        if (found.half_width > 0.0) value = found.half_width;
        guesses.push_back({{"item", "reference_peak.within_ppm"},
                           {"value", value},
                           {"reason", width_reason(found)}});
    }
    items.erase("guessed");
    if (!guesses.empty()) items["guessed"] = guesses;
}

std::string text_of(const reference_peak &wanted, const found_reference &found) {
    std::string text = name_of(wanted) + ", known at " + ppm_text(wanted.ppm) + ", ";
    if (!found.shift)
        return text + "is taken for the strongest line: the carrier gets " +
               ppm_text(found.ppm_at_carrier);
    text += "was found at " + ppm_text(found.ppm) + ": all ppm ";
    const double shift = std::round(1e4 * *found.shift) / 1e4;
    if (shift == 0.0) return text + "stay as they were";
    return text + (shift > 0.0 ? "rise by " : "fall by ") + ppm_text(std::fabs(shift));
}

std::vector<std::string> warnings_of(const reference_peak &wanted, const found_reference &found) {
    std::vector<std::string> out;
    char text[200];
    if (found.other_ppm) {
        std::snprintf(text, sizeof text,
                      "%s may be the wrong peak: another one, %.0f %% as high, would stand at %s",
                      name_of(wanted).c_str(), 100.0 * found.other_height,
                      ppm_text(*found.other_ppm).c_str());
        out.emplace_back(text);
    }
    if (found.away > 0) {
        std::snprintf(text, sizeof text,
                      "%lld of the %lld spectra with a peak there have it more than its width from "
                      "the common place, up to %s: the axis is that of all together",
                      found.away, found.own, ppm_text(found.farthest_ppm).c_str());
        out.emplace_back(text);
    }
    return out;
}

} // namespace tools
