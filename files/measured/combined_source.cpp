// SPDX-License-Identifier: BSD-3-Clause
// combined_source.cpp -- a measured file whose coils and averages are put together as it is read
#include "files/measured/combined_source.h"

#include "files/base/tool_error.h"
#include "files/measured/align_averages.h"
#include "files/measured/combine_coils.h"
#include "files/measured/condition_fid.h"
#include "files/measured/name_dimensions.h"
#include "files/measured/open_source.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tools {

static constexpr const char *coil_axis = "DIM_COIL", *average_axis = "DIM_DYN";
static constexpr std::size_t storage = 256U << 20; // [bytes] for the FIDs of one pass
static constexpr double most_shift_ppm = 0.3, most_shift_hz = 40.0;

static bool has_several(const spectrum_source &source, const std::string &name) {
    return std::any_of(source.axes.begin(), source.axes.end(),
                       [&](const source_axis &axis) { return axis.name == name && axis.size > 1; });
}

std::unique_ptr<spectrum_source> open_combined(const std::string &file, const std::string &json,
                                               const input_options &options, bool missing) {
    std::unique_ptr<spectrum_source> source =
        open_source(file, options.format, json, options.points);
    if (!options.dimensions.empty() && (source->spectra() > 1 || !missing))
        name_dimensions(*source, options.dimensions, "--dimensions");
    const bool coils = options.combine_coils && has_several(*source, coil_axis);
    const bool averages = options.align_averages && has_several(*source, average_axis);
    const auto refuse = [&](const char *option, const char *axis) {
        refuse_usage(std::string(option), file + " has no dimension " + axis + " of several FIDs" +
                                              (source->spectra() > 1 && source->axes.size() == 1
                                                   ? "; --dimensions names those of its " +
                                                         std::to_string(source->spectra()) + " FIDs"
                                                   : std::string()));
    };
    if (options.combine_coils && !coils && !missing && !options.coils_beside)
        refuse("--combine-coils", coil_axis);
    if (options.align_averages && !averages && !missing && !options.coils_beside)
        refuse("--align-averages", average_axis);
    if (!coils && !averages) return source;
    return std::make_unique<combined_source>(std::move(source), coils, averages);
}

bool has_coils(const std::string &file, const input_options &options) {
    if (file.empty()) return false;
    input_options alike = options;
    alike.combine_coils = alike.align_averages = false;
    return has_several(*open_combined(file, "", alike, true), coil_axis);
}

combined_source::combined_source(std::unique_ptr<spectrum_source> inner, bool coils, bool averages)
    : spectrum_source(*inner), inner_(std::move(inner)) {
    axes.clear();
    coil_ = average_ = offset_ = {0};
    long long stride = 1;
    for (std::size_t a = 0; a < inner_->axes.size(); ++a) {
        const source_axis &axis = inner_->axes[a];
        const bool coil = coils && axis.name == coil_axis;
        const bool average = averages && axis.name == average_axis;
        if (!coil && !average) {
            axes.push_back(axis);
            kept_.push_back(a);
        } else {
            (coil ? coils_ : averages_) = axis.size;
            const std::size_t before = offset_.size();
            for (long long i = 1; i < axis.size; ++i)
                for (std::size_t m = 0; m < before; ++m) {
                    offset_.push_back(offset_[m] + i * stride);
                    coil_.push_back(coil ? i : coil_[m]);
                    average_.push_back(average ? i : average_[m]);
                }
        }
        stride *= axis.size;
    }
    if (coils)
        notes["coils_combined"] = {{"coils", coils_},
                                   {"method", "first singular vector of the whitened coils over "
                                              "the first eighth of the FIDs"}};
    if (averages)
        notes["averages_aligned"] = {{"averages", averages_},
                                     {"method", "frequency and phase by least squares to their "
                                                "mean in the time domain"}};
}

std::vector<long long> combined_source::members_of(long long spectrum) const {
    const std::vector<long long> at = position(spectrum);
    long long first = 0, stride = 1;
    std::size_t next = 0;
    for (std::size_t a = 0; a < inner_->axes.size(); ++a) {
        if (next < kept_.size() && kept_[next] == a) first += at[next++] * stride;
        stride *= inner_->axes[a].size;
    }
    std::vector<long long> members;
    for (const long long offset : offset_) members.push_back(first + offset);
    return members;
}

double combined_source::most_shift() const {
    if (!facts.dwell_time) return 1.0 / 64.0;
    const double hz = facts.mhz ? most_shift_ppm * *facts.mhz : most_shift_hz;
    return std::min(hz * *facts.dwell_time, 0.25);
}

complex_signal combined_source::put_together(std::vector<std::vector<complex_signal>> fids,
                                             ordered_json &said) const {
    const coil_noise noise = noise_of_coils(fids);
    const auto snr = [&](const complex_signal &fid) {
        return signal_to_noise(fid, noise.first, noise.stop);
    };
    std::vector<complex_signal> averages;
    if (coils_ > 1) {
        std::vector<complex_signal> coils;
        double best = 0.0;
        for (std::size_t c = 0; c < fids.front().size(); ++c) {
            std::vector<complex_signal> own;
            for (const auto &average : fids) own.push_back(average[c]);
            coils.push_back(mean_of(own));
            best = std::max(best, snr(coils.back()));
        }
        const auto weights = given_.empty() ? weights_of_coils(coils, noise) : given_;
        said["coils_combined"] = {{"snr_of_the_best_coil", best},
                                  {"snr", snr(combined_fid(coils, weights))},
                                  {"noise_points", {noise.first, noise.stop - 1}},
                                  {"noise_covariance", noise.diagonal ? "variances" : "whole"}};
        for (const std::complex<double> &each : weights)
            said["coils_combined"]["weights"].push_back({each.real(), each.imag()});
        for (const auto &average : fids) averages.push_back(combined_fid(average, weights));
    } else {
        for (auto &average : fids) averages.push_back(std::move(average.front()));
    }
    if (averages_ == 1) return std::move(averages.front());
    const double before = snr(mean_of(averages));
    const std::vector<average_shift> shifts = align_averages(averages, most_shift());
    complex_signal mean = mean_of(averages);
    double square = 0.0, farthest = 0.0, turned = 0.0;
    long long aligned = 0;
    for (const average_shift &each : shifts) {
        if (!each.aligned) continue;
        ++aligned;
        square += each.frequency * each.frequency;
        farthest = std::max(farthest, std::fabs(each.frequency));
        turned = std::max(turned, std::fabs(each.phase));
    }
    ordered_json &own = said["averages_aligned"];
    own = {{"aligned", aligned}, {"left_as_they_were", averages_ - aligned}};
    if (aligned > 0 && facts.dwell_time) {
        own["shift_sd_hz"] = std::sqrt(square / static_cast<double>(aligned)) / *facts.dwell_time;
        own["largest_shift_hz"] = farthest / *facts.dwell_time;
        own["largest_phase_degrees"] = turned;
    }
    own["snr_of_the_plain_mean"] = before;
    own["snr"] = snr(mean);
    return mean;
}

void combined_source::add_to(const std::vector<signal_share> &shares,
                             std::vector<complex_signal> &sums) {
    if (shares.empty()) return;
    const std::size_t length = sums.front().size();
    const std::size_t members = offset_.size();
    const std::size_t group =
        std::max<std::size_t>(1, storage / (members * length * sizeof(std::complex<double>)));
    std::set<long long> faulty_members;
    inner_->faulty = faulty != nullptr ? &faulty_members : nullptr;
    for (std::size_t first = 0; first < shares.size(); first += group) {
        const std::size_t stop = std::min(first + group, shares.size());
        std::vector<complex_signal> fids((stop - first) * members, complex_signal(length));
        std::vector<signal_share> wanted;
        for (std::size_t s = first; s < stop; ++s) {
            const std::vector<long long> own = members_of(shares[s].spectrum);
            for (std::size_t m = 0; m < members; ++m)
                wanted.push_back({own[m], (s - first) * members + m});
        }
        std::sort(wanted.begin(), wanted.end(),
                  [](const auto &a, const auto &b) { return a.spectrum < b.spectrum; });
        inner_->add_to(wanted, fids);
        for (std::size_t s = first; s < stop; ++s) {
            const std::vector<long long> own = members_of(shares[s].spectrum);
            if (std::any_of(own.begin(), own.end(),
                            [&](long long m) { return faulty_members.contains(m); })) {
                faulty->insert(shares[s].spectrum);
                continue;
            }
            std::vector<std::vector<complex_signal>> sorted(
                static_cast<std::size_t>(averages_),
                std::vector<complex_signal>(static_cast<std::size_t>(coils_)));
            bool empty = true;
            for (std::size_t m = 0; m < members; ++m) {
                complex_signal &fid = fids[(s - first) * members + m];
                empty = empty && is_all_zero(fid);
                sorted[static_cast<std::size_t>(average_[m])][static_cast<std::size_t>(coil_[m])] =
                    std::move(fid);
            }
            if (empty || length < 8) continue; // a voxel of zeros stays one
            const complex_signal fid = put_together(std::move(sorted), notes_[shares[s].spectrum]);
            for (std::size_t k = 0; k < length; ++k) sums[shares[s].sum][k] += fid[k];
        }
    }
    inner_->faulty = nullptr;
}

ordered_json combined_source::notes_of(long long spectrum) const {
    const auto at = notes_.find(spectrum);
    return at == notes_.end() ? ordered_json() : at->second;
}

std::vector<std::complex<double>> combined_source::coil_weights(long long spectrum) const {
    std::vector<std::complex<double>> weights;
    const ordered_json said = notes_of(spectrum);
    if (said.contains("coils_combined"))
        for (const auto &each : said["coils_combined"]["weights"])
            weights.emplace_back(each[0].get<double>(), each[1].get<double>());
    return weights;
}

void combined_source::use_coil_weights(const std::vector<std::complex<double>> &weights) {
    if (coils_ == 1 || weights.empty()) return;
    if (static_cast<long long>(weights.size()) != coils_)
        refuse_input(file, "has " + std::to_string(coils_) + " coils, but the data have " +
                               std::to_string(weights.size()) + "; expected those of the data");
    given_ = weights;
}

std::vector<std::string> combined_source::remarks() const {
    std::vector<std::string> said;
    if (notes_.empty()) return said;
    const ordered_json &first = notes_.begin()->second;
    const std::string where = notes_.size() > 1
                                  ? " (first of " + std::to_string(notes_.size()) + " spectra)"
                                  : std::string();
    char text[200];
    if (first.contains("coils_combined")) {
        const auto &own = first["coils_combined"];
        std::snprintf(text, sizeof text,
                      "%lld coils combined: signal to noise %.3g of the best coil, %.3g of all%s",
                      coils_, own["snr_of_the_best_coil"].get<double>(), own["snr"].get<double>(),
                      where.c_str());
        said.emplace_back(text);
    }
    if (first.contains("averages_aligned")) {
        const auto &own = first["averages_aligned"];
        std::snprintf(text, sizeof text,
                      "%lld of %lld averages aligned: signal to noise %.3g of the plain mean, %.3g "
                      "aligned%s",
                      own["aligned"].get<long long>(), averages_,
                      own["snr_of_the_plain_mean"].get<double>(), own["snr"].get<double>(),
                      where.c_str());
        said.emplace_back(text);
    }
    return said;
}

} // namespace tools
