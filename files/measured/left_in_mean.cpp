// SPDX-License-Identifier: BSD-3-Clause
// left_in_mean.cpp -- whether FIDs that are averaged as they are cancel
#include "files/measured/left_in_mean.h"

#include "files/spectra/complex_polar.h"
#include "files/measured/condition_fid.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace tools {

static constexpr std::size_t fewest_points = 16;

// Mean power of the points of stretches of FIDs.
static double power_of_point(const std::vector<complex_signal> &stretches) {
    double power = 0.0;
    for (const complex_signal &each : stretches)
        for (const std::complex<double> &point : each) power += std::norm(point);
    return power / static_cast<double>(stretches.size() * stretches.front().size());
}

// The parts of FIDs along their first singular vector, begun with the strongest one. What the last
// digits of the vector are does not matter here. Empty when all are zero.
static std::vector<std::complex<double>> common_parts(const std::vector<complex_signal> &fids) {
    static constexpr int steps = 20;
    complex_signal common =
        *std::max_element(fids.begin(), fids.end(), [](const auto &one, const auto &other) {
            return power_of(one) < power_of(other);
        });
    std::vector<std::complex<double>> parts(fids.size());
    for (int step = 0; step < steps; ++step) {
        const double length = std::sqrt(power_of(common));
        if (!(length > 0.0)) return {};
        for (auto &point : common) point /= length;
        for (std::size_t i = 0; i < fids.size(); ++i) {
            parts[i] = 0.0;
            for (std::size_t k = 0; k < common.size(); ++k)
                parts[i] += std::conj(common[k]) * fids[i][k];
        }
        std::fill(common.begin(), common.end(), 0.0);
        for (std::size_t i = 0; i < fids.size(); ++i)
            for (std::size_t k = 0; k < common.size(); ++k)
                common[k] += std::conj(parts[i]) * fids[i][k];
    }
    return parts;
}

// Points first to stop - 1 of each, over a size: no square leaves the range of numbers.
static std::vector<complex_signal> stretch_of(const std::vector<complex_signal> &fids,
                                              std::size_t first, std::size_t stop, double size) {
    std::vector<complex_signal> stretches;
    for (const complex_signal &fid : fids) {
        complex_signal &own = stretches.emplace_back();
        for (std::size_t k = first; k < stop; ++k) own.push_back(fid[k] / size);
    }
    return stretches;
}

std::optional<double> left_in_mean(const std::vector<complex_signal> &fids) {
    if (fids.size() < 2 || fids.front().size() < fewest_points) return std::nullopt;
    const std::size_t points = fids.front().size(), eighth = points / 8;
    double size = 0.0;
    for (const complex_signal &fid : fids)
        for (const std::complex<double> &point : fid) size = std::max(size, size_of(point));
    if (!(size > 0.0)) return std::nullopt;
    const std::vector<std::complex<double>> parts = common_parts(stretch_of(fids, 0, eighth, size));
    if (parts.empty()) return std::nullopt;
    const double noise = power_of_point(stretch_of(fids, points - eighth, points, size));
    // noise alone has a first singular value, too
    const double of_noise =
        std::sqrt(static_cast<double>(fids.size())) + std::sqrt(static_cast<double>(eighth));
    if (!(power_of(parts) > 2.0 * noise * of_noise * of_noise)) return std::nullopt;
    std::complex<double> sum = 0.0;
    double sizes = 0.0;
    std::size_t with_signal = 0;
    for (const auto &part : parts) {
        if (std::norm(part) <= 9.0 * noise) continue;
        sum += part;
        sizes += std::abs(part);
        ++with_signal;
    }
    if (with_signal < 2) return std::nullopt;
    return std::abs(sum) / sizes;
}

// FIDs of a mean, evenly when there are many.
static std::vector<complex_signal> members_of(spectrum_source &source,
                                              const std::vector<long long> &all, std::size_t points,
                                              std::size_t most) {
    const std::size_t step = (all.size() + most - 1) / most;
    std::vector<signal_share> shares;
    for (std::size_t m = 0; m < all.size(); m += step) shares.push_back({all[m], shares.size()});
    std::vector<complex_signal> fids(shares.size(), complex_signal(points));
    std::set<long long> faulty, *const before = source.faulty;
    source.faulty = &faulty; // where they are converted they are named
    source.add_to(shares, fids);
    source.faulty = before;
    return fids;
}

std::string warning_of_means(spectrum_source &source, const chosen_spectra &chosen,
                             long long memory) {
    static constexpr std::size_t most_means = 8, most_members = 64;
    static constexpr double enough = 0.95;
    if (chosen.empty() || chosen.members_each() < 2) return "";
    const auto points = static_cast<std::size_t>(source.points);
    const std::size_t fit =
        (static_cast<std::size_t>(memory) << 20) / (points * sizeof(std::complex<double>));
    const chosen_spectra means = chosen.every((chosen.size() + most_means - 1) / most_means);
    double least = 1.0;
    for (std::size_t s = 0; s < means.size(); ++s)
        least =
            std::min(least, left_in_mean(members_of(source, means.members(s), points,
                                                    std::clamp<std::size_t>(fit, 2, most_members)))
                                .value_or(1.0));
    std::string dimensions;
    bool coils = false, averages = false, unnamed = false;
    for (const auto &[axis, size] : chosen.front().averaged.items()) {
        dimensions += (dimensions.empty() ? "" : " and ") + axis;
        coils = coils || axis == "DIM_COIL";
        averages = averages || axis == "DIM_DYN";
        unnamed = unnamed || axis == "spectrum";
    }
    if (least >= enough)
        return coils ? "coils are averaged as they are, which keeps their signal "
                       "here; with unlike phases they cancel (--combine-coils)"
                     : "";
    const long percent = std::lround(100.0 * least);
    std::string text = "the mean over " + dimensions + " keeps " + std::to_string(percent) +
                       " % of the signal, since the phases of the " +
                       std::to_string(chosen.members_each()) +
                       " FIDs differ: areas and amounts of it are too small";
    if (unnamed)
        text += "; where they are of several receive coils, --dimensions DIM_COIL=N,DIM_DYN with "
                "--combine-coils, where they are repetitions, --dimensions DIM_DYN with "
                "--align-averages";
    else if (coils)
        text += "; --combine-coils puts coils together";
    else if (averages)
        text += "; --align-averages turns them first";
    return text;
}

} // namespace tools
