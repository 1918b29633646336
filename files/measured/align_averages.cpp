// SPDX-License-Identifier: BSD-3-Clause
// align_averages.cpp -- frequency and phase of repeated FIDs, before their mean
#include "files/measured/align_averages.h"

#include "engine/centred_spectrum.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace tools {

static constexpr int rounds = 4;             // the mean becomes sharper with each
static constexpr double least_product = 4.0; // over its noise

complex_signal mean_of(const std::vector<complex_signal> &fids) {
    complex_signal mean(fids.front().size());
    for (const complex_signal &fid : fids)
        for (std::size_t k = 0; k < mean.size(); ++k)
            mean[k] += fid[k] / static_cast<double>(fids.size());
    return mean;
}

// Mean square of both channels in the last eighth.
static double tail_power(const complex_signal &fid) {
    const std::size_t tail = std::max<std::size_t>(1, fid.size() / 8);
    double power = 0.0;
    for (std::size_t k = fid.size() - tail; k < fid.size(); ++k) power += std::norm(fid[k]);
    return power / static_cast<double>(tail);
}

// Points in which the mean stands above its noise.
static std::size_t points_of(const complex_signal &mean) {
    const std::size_t block = std::max<std::size_t>(1, mean.size() / 64);
    const double noise = tail_power(mean);
    std::size_t points = mean.size() / 16;
    for (std::size_t first = 0; first + block <= mean.size(); first += block) {
        double power = 0.0;
        for (std::size_t k = first; k < first + block; ++k) power += std::norm(mean[k]);
        if (power > 2.0 * noise * static_cast<double>(block))
            points = std::max(points, first + block);
    }
    return std::max<std::size_t>(points, 2);
}

static std::complex<double> product_at(const complex_signal &product, double frequency) {
    std::complex<double> sum = 0.0;
    for (std::size_t k = 0; k < product.size(); ++k)
        sum += product[k] *
               std::polar(1.0, -2.0 * std::numbers::pi * frequency * static_cast<double>(k));
    return sum;
}

static average_shift shift_to(const complex_signal &fid, const complex_signal &mean,
                              std::size_t points, double most) {
    complex_signal product(points);
    double power = 0.0;
    for (std::size_t k = 0; k < points; ++k) {
        product[k] = std::conj(fid[k]) * mean[k];
        power += std::norm(mean[k]);
    }
    const int n = static_cast<int>(std::bit_ceil(4 * points));
    const complex_signal spectrum = engine::spectrum_of_fid(product, n, engine::whole);
    int best = n / 2;
    for (int j = 0; j < n; ++j)
        if (std::abs(j - n / 2) <= most * n &&
            std::norm(spectrum[static_cast<std::size_t>(j)]) >
                std::norm(spectrum[static_cast<std::size_t>(best)]))
            best = j;
    // golden section between the neighbours, where the magnitude has one maximum
    static constexpr double golden = 0.6180339887498949;
    double low = static_cast<double>(best - 1 - n / 2) / n;
    double high = static_cast<double>(best + 1 - n / 2) / n;
    for (int step = 0; step < 40; ++step) {
        const double a = high - golden * (high - low), b = low + golden * (high - low);
        if (std::norm(product_at(product, a)) > std::norm(product_at(product, b)))
            high = b;
        else
            low = a;
    }
    average_shift shift;
    shift.frequency = std::clamp(0.5 * (low + high), -most, most);
    const std::complex<double> top = product_at(product, shift.frequency);
    if (!(std::abs(top) > least_product * std::sqrt(power * tail_power(fid)))) return {};
    shift.phase = std::arg(top) * 180.0 / std::numbers::pi;
    shift.aligned = true;
    return shift;
}

static void turn_by(complex_signal &fid, double frequency, double phase_degrees) {
    for (std::size_t k = 0; k < fid.size(); ++k)
        fid[k] *= std::polar(1.0, 2.0 * std::numbers::pi * frequency * static_cast<double>(k) +
                                      phase_degrees * std::numbers::pi / 180.0);
}

std::vector<average_shift> align_averages(std::vector<complex_signal> &fids, double most) {
    const std::vector<complex_signal> measured = fids;
    std::vector<average_shift> shifts(fids.size());
    for (int round = 0; round < rounds; ++round) {
        const complex_signal mean = mean_of(fids);
        const std::size_t points = points_of(mean);
        double frequency = 0.0;
        std::complex<double> direction = 0.0;
        std::size_t aligned = 0;
        for (std::size_t a = 0; a < fids.size(); ++a) {
            shifts[a] = shift_to(measured[a], mean, points, most);
            if (!shifts[a].aligned) continue;
            ++aligned;
            frequency += shifts[a].frequency;
            direction += std::polar(1.0, shifts[a].phase * std::numbers::pi / 180.0);
        }
        if (aligned > 0) frequency /= static_cast<double>(aligned);
        const double phase = std::arg(direction) * 180.0 / std::numbers::pi;
        fids = measured;
        for (std::size_t a = 0; a < fids.size(); ++a) {
            if (!shifts[a].aligned) continue;
            shifts[a].frequency -= frequency;
            shifts[a].phase = std::remainder(shifts[a].phase - phase, 360.0);
            turn_by(fids[a], shifts[a].frequency, shifts[a].phase);
        }
    }
    return shifts;
}

} // namespace tools
