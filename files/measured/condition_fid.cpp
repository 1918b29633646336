// SPDX-License-Identifier: BSD-3-Clause
// condition_fid.cpp -- what is done to an FID before its transform
#include "files/measured/condition_fid.h"

#include "files/base/tool_error.h"
#include "files/spectra/complex_polar.h"
#include "files/spectra/search_limits.h"
#include "files/measured/text_items.h"

#include "engine/centred_spectrum.h"

#include "kernel/median.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace tools {

long long length_for_fit(const std::string &file, long long points, const std::string &resize) {
    const auto all = static_cast<unsigned long long>(points);
    const auto below = static_cast<long long>(std::bit_floor(all));
    const auto above = static_cast<long long>(std::bit_ceil(all));
    long long length = points;
    if (resize == "fill")
        length = above;
    else if (resize == "cut")
        length = below;
    else if (!resize.empty()) {
        const std::optional<long long> asked = whole_number_of(resize);
        if (!asked || *asked < 1)
            refuse_usage("--resize " + resize, "expected a power of two, fill or cut");
        length = *asked;
    }
    if (length > search_limits::points)
        refuse_input(file, std::to_string(length) + " points; a fit takes up to " +
                               std::to_string(search_limits::points));
    if (!kernel::transform_plan::exists_for(length)) {
        const auto lower =
            static_cast<long long>(std::bit_floor(static_cast<unsigned long long>(length)));
        throw tool_error(resize.empty() ? bad_input : wrong_usage,
                         file + ": " + std::to_string(length) +
                             " points, but a fit needs a power of two. --resize " +
                             std::to_string(2 * lower) + " fills with zeros, --resize " +
                             std::to_string(lower) + " cuts.");
    }
    return length;
}

void conjugate(complex_signal &fid) {
    for (std::complex<double> &point : fid) point = std::conj(point);
}

void turn_phase(complex_signal &fid, double degrees) {
    const std::complex<double> turn = turn_by(degrees * std::numbers::pi / 180.0);
    for (std::complex<double> &point : fid) point *= turn;
}

double phase_of_first_point(const complex_signal &fid) {
    return fid.empty() ? 0.0 : -angle_of(fid.front()) * 180.0 / std::numbers::pi;
}

complex_signal binary_pattern(const complex_signal &fid) {
    const complex_signal spectrum =
        engine::spectrum_of_fid(fid, static_cast<int>(fid.size()), engine::whole);
    const std::size_t n = spectrum.size();
    complex_signal pattern(n);
    for (std::size_t j = 0; j < n; ++j) pattern[j] = std::conj(spectrum[(n - j) % n]);
    return pattern;
}

// Frequency [cycles per point] of the strongest point of the magnitude spectrum, with the parabola
// through it and its neighbours. Filled to four times the length, which keeps the bias of the
// parabola below a hundredth of a point of the spectrum itself. Of a longer signal the first 2^22
// points say it.
static double strongest_frequency(const complex_signal &fid) {
    const std::size_t most = kernel::transform_plan::most_points / 4;
    const std::size_t n = 4 * std::bit_ceil(std::min(fid.size(), most));
    const complex_signal spectrum = engine::spectrum_of_fid(
        {fid.data(), std::min(fid.size(), most)}, static_cast<int>(n), engine::whole);
    std::size_t top = 0;
    for (std::size_t i = 1; i < n; ++i)
        if (std::norm(spectrum[i]) > std::norm(spectrum[top])) top = i;
    const double below = size_of(spectrum[(top + n - 1) % n]), here = size_of(spectrum[top]),
                 above = size_of(spectrum[(top + 1) % n]);
    const double bend = below - 2.0 * here + above;
    const double shift = bend < 0.0 ? 0.5 * (below - above) / bend : 0.0;
    const double place = (static_cast<double>(top) + shift) / static_cast<double>(n) - 0.5;
    return place < -0.5 ? place + 1.0 : place;
}

double share_of_strongest_line(const complex_signal &fid, double half_width) {
    const std::size_t n = std::bit_floor(std::min(fid.size(), std::size_t{1} << 20));
    const complex_signal spectrum =
        engine::spectrum_of_fid({fid.data(), n}, static_cast<int>(n), engine::whole);
    const double centre = strongest_frequency(fid);
    // the median power is that of noise, of which it is ln 2 of the mean; lines are the smaller
    // part
    std::vector<double> powers(n);
    for (std::size_t i = 0; i < n; ++i) powers[i] = std::norm(spectrum[i]);
    const double noise = kernel::upper_median(powers) / 0.6931471805599453;
    double inside = 0.0, all = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        const double place = static_cast<double>(i) / static_cast<double>(n) - 0.5;
        all += powers[i] - noise;
        if (std::fabs(std::remainder(place - centre, 1.0)) <= half_width)
            inside += powers[i] - noise;
    }
    return inside / all;
}

bool is_all_zero(const complex_signal &fid) {
    return std::all_of(fid.begin(), fid.end(), [](const auto &v) { return v == 0.0; });
}

double power_of(const complex_signal &fid) {
    double sum = 0.0;
    for (const std::complex<double> &point : fid) sum += std::norm(point);
    return sum;
}

bool is_copy(const complex_signal &fid, const complex_signal &other) {
    std::complex<double> along = 0.0;
    double own = 0.0, theirs = 0.0;
    for (std::size_t k = 0; k < std::min(fid.size(), other.size()); ++k) {
        along += std::conj(other[k]) * fid[k];
        own += std::norm(fid[k]);
        theirs += std::norm(other[k]);
    }
    return own > 0.0 && theirs > 0.0 && std::norm(along) >= (1.0 - 1e-3) * own * theirs;
}

measured_lineshape lineshape_of(const complex_signal &water, const std::string &file) {
    if (water.empty() || water.front() == 0.0)
        refuse_input(file, "the first point of the reference is 0; expected the FID of a strong "
                           "line from its start");
    measured_lineshape shape;
    shape.frequency = strongest_frequency(water);
    const std::size_t n = water.size();

    // noise per channel, from the last eighth; its points about their mean
    const std::size_t tail = n / 8;
    double noise = 0.0;
    if (tail >= 8) {
        std::complex<double> mean = 0.0;
        for (std::size_t k = n - tail; k < n; ++k) mean += water[k];
        mean /= static_cast<double>(tail);
        for (std::size_t k = n - tail; k < n; ++k) noise += std::norm(water[k] - mean);
        noise = std::sqrt(noise / (2.0 * static_cast<double>(tail)));
    }

    // The phase of a point with five times the noise is uncertain by 0.2 radians; where the line
    // is smaller the correction would put more noise into the data than it takes out.
    shape.phase.resize(n);
    shape.line.resize(n);
    bool reliable = true;
    double unsteady = 0.0, previous = 0.0;
    for (std::size_t k = 0; k < n; ++k) {
        const double steady = 2.0 * std::numbers::pi * shape.frequency * static_cast<double>(k);
        const std::complex<double> still = water[k] * turn_by(-steady);
        shape.line[k] = still / water.front();
        if (reliable && size_of(water[k]) <= 5.0 * noise) reliable = false;
        if (reliable) {
            const double angle = angle_of(still);
            unsteady = k == 0 ? angle
                              : unsteady + std::remainder(angle - previous, 2.0 * std::numbers::pi);
            previous = angle;
            shape.reliable = static_cast<long long>(k) + 1;
        }
        shape.phase[k] = steady + unsteady;
    }
    if (shape.reliable < 2)
        refuse_input(
            file,
            "nothing stands above the noise in the reference; expected the FID of a strong line");
    return shape;
}

void correct_eddy_currents(complex_signal &fid, const measured_lineshape &reference) {
    for (std::size_t k = 0; k < fid.size() && k < reference.phase.size(); ++k)
        fid[k] *= turn_by(-reference.phase[k]);
}

} // namespace tools
