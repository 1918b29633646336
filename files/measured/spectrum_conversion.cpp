// SPDX-License-Identifier: BSD-3-Clause
// spectrum_conversion.cpp -- how the FIDs of a source become spectra, and what is known of all
#include "files/measured/spectrum_conversion.h"

#include "files/base/tool_error.h"
#include "files/spectra/point_range.h"
#include "files/measured/left_in_mean.h"
#include "files/measured/remove_lines.h"
#include "files/measured/signal_items.h"
#include "files/measured/text_items.h"

#include "engine/centred_spectrum.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <numeric>
#include <set>

namespace tools {

// A stretch of the centred spectrum of n points after the FID was conjugated (point i goes to
// n - i) and resized to m points; nothing when little of it is left.
static point_stretch moved(const point_stretch &stretch, bool conjugate, long long n, long long m) {
    if (!stretch) return stretch;
    long long first = stretch->first, last = stretch->second;
    if (conjugate) {
        if (first == 0) first = 1; // the point at the edge is its own mirror image
        std::swap(first, last);
        first = n - first;
        last = n - last;
    }
    first = (first * m + n - 1) / n;
    last = last * m / n;
    if (last - first < 1) return std::nullopt;
    return std::pair(first, last);
}

std::vector<complex_signal> read_fids(spectrum_source &source, const chosen_spectra &chosen,
                                      std::span<const std::size_t> outputs, std::size_t points) {
    std::vector<signal_share> shares;
    shares.reserve(outputs.size() * chosen.members_each());
    for (std::size_t s = 0; s < outputs.size(); ++s)
        for (const long long spectrum : chosen.members(outputs[s])) shares.push_back({spectrum, s});
    std::sort(shares.begin(), shares.end(),
              [](const signal_share &a, const signal_share &b) { return a.spectrum < b.spectrum; });
    std::vector<complex_signal> fids(outputs.size(), complex_signal(points));
    source.add_to(shares, fids);
    if (chosen.members_each() > 1)
        for (complex_signal &fid : fids)
            for (std::complex<double> &point : fid)
                point /= static_cast<double>(chosen.members_each());
    return fids;
}

std::vector<complex_signal> read_fids(spectrum_source &source, const chosen_spectra &chosen,
                                      std::size_t first, std::size_t stop, std::size_t points) {
    std::vector<std::size_t> outputs(stop - first);
    std::iota(outputs.begin(), outputs.end(), first);
    return read_fids(source, chosen, outputs, points);
}

std::size_t outputs_per_pass(long long memory, std::size_t points) {
    return std::max<std::size_t>(1, (static_cast<std::size_t>(memory) << 20) /
                                        (points * sizeof(std::complex<double>)));
}

void apply_phase(complex_signal &fid, const std::string &phase, ordered_json *sidecar) {
    if (phase.empty()) return;
    std::optional<double> degrees = number_of(phase);
    if (phase == "auto") degrees = phase_of_first_point(fid);
    if (!degrees || !std::isfinite(*degrees))
        refuse_usage("--phase " + phase, "expected degrees, or auto");
    turn_phase(fid, *degrees);
    if (sidecar != nullptr) (*sidecar)["phase_applied_degrees"] = *degrees;
}

// Magnitudes at three strong proton singlets (NAA, creatine, choline) against those at their mirror
// images about the carrier: files of this format come in both senses.
static bool looks_mirrored(const complex_signal &spectrum, const signal_facts &facts, bool rises,
                           double hz_per_point) {
    if (!facts.mhz || !facts.ppm_at_carrier || std::abs(*facts.ppm_at_carrier - 4.7) > 0.3)
        return false;
    if (facts.nucleus && *facts.nucleus != "1H") return false;
    const auto n = static_cast<long long>(spectrum.size());
    const long long carrier = n / 2; // a point, of an odd number, too
    double right = 0.0, mirrored = 0.0;
    for (const double ppm : {2.01, 3.03, 3.21}) {
        const double offset = (ppm - *facts.ppm_at_carrier) * *facts.mhz / hz_per_point;
        const double half_width = 0.08 * *facts.mhz / hz_per_point;
        const auto highest = [&](double sign) {
            const double centre = static_cast<double>(carrier) + (rises ? sign : -sign) * offset;
            double top = 0.0;
            for (auto i = static_cast<long long>(centre - half_width);
                 i <= static_cast<long long>(centre + half_width); ++i)
                if (i >= 0 && i < n)
                    top = std::max(top, std::abs(spectrum[static_cast<std::size_t>(i)]));
            return top;
        };
        right += highest(1.0);
        mirrored += highest(-1.0);
    }
    return mirrored > 2.0 * right;
}

struct noise_choice {
    engine::noise_window window;
    std::string chosen_by, method;
};

static noise_choice choose_noise(const complex_signal &spectrum, const point_stretch &asked,
                                 const point_stretch &known, const point_stretch &shared) {
    if (asked)
        return {engine::noise_of_stretch(spectrum, asked->first, asked->second + 1), "option",
                "--noise"};
    if (known)
        return {engine::noise_of_stretch(spectrum, known->first, known->second + 1), "metadata",
                "stretch named in the JSON"};
    if (shared)
        return {engine::noise_of_stretch(spectrum, shared->first, shared->second + 1),
                "quietest stretch",
                "as for one spectrum, with the mean of the variances of all over that of their own "
                "noise; no spectrum has signal there"};
    return {engine::noise_stretch(spectrum), "quietest stretch",
            "of the quietest stretches of n/8 points, which differ by no more than noise does, the "
            "one nearest to their median spread, without the outermost n/8 at each side unless all "
            "others hold lines"};
}

// "4.2:5.1" [ppm], in any order.
static std::pair<double, double> removed_stretch(const std::string &text) {
    const std::size_t colon = text.find(':');
    const std::optional<double> low = number_of(text.substr(0, colon));
    const std::optional<double> high =
        colon == std::string::npos ? std::nullopt : number_of(text.substr(colon + 1));
    if (!low || !high || *low == *high || !std::isfinite(*low) || !std::isfinite(*high))
        refuse_usage("--remove-water " + text, "expected two shifts in ppm, such as 4.2:5.1");
    return std::minmax({*low, *high});
}

spectrum_conversion::spectrum_conversion(spectrum_source &source, const choice &chosen,
                                         const input_options &options, const spectrum_options &own)
    : source_(source), chosen_(chosen.spectra), options_(options),
      reference_peak_(own.reference_peak), eddy_(own.eddy),
      conjugated_(source.opposite_sense != options.conjugate) {
    settle_facts(source, own);
    const signal_facts &facts = source.facts;
    rises_ = facts.ppm_rises_with_points != options.conjugate;
    points_ = length_for_fit(source.file, source.points, options.resize);
    plan_.emplace(static_cast<int>(points_));
    used_ = static_cast<std::size_t>(std::min(points_, source.points));
    known_noise_ = moved(facts.noise_points, options.conjugate, source.points, points_);
    fit_points_ = moved(facts.fit_points, options.conjugate, source.points, points_);
    if (!own.noise.empty()) {
        long long first = 0, last = 0;
        parse_point_range(own.noise, "--noise", first, last);
        if (last >= points_ || first == last)
            refuse_usage("--noise " + own.noise,
                         "expected at least two points up to " + std::to_string(points_ - 1));
        asked_noise_ = {first, last};
    }
    items_ = common_items(source, conjugated_, rises_, points_);
    water_order_ = static_cast<int>(own.water_order);
    if (!own.remove_water.empty()) {
        removed_ = removed_stretch(own.remove_water);
        if (!facts.mhz || !facts.ppm_at_carrier)
            refuse_input(source.file,
                         "--remove-water needs ppm; expected --frequency and --ppm-at-carrier");
    }
    for (const guessed_value &guess : source.guesses)
        items_["guessed"].push_back(
            {{"item", guess.item},
             {"value", guess.item == "ppm_rises_with_points" ? ordered_json(rises_) : guess.value},
             {"reason", guess.reason}});
}

// Points before the zeros at the end of an FID. Fewer than one in 64 do not count: so many may be
// measured in a file of whole numbers, and they change an error bound by less than 0.8 %.
static long long points_before_zeros(const complex_signal &fid) {
    auto last = static_cast<long long>(fid.size());
    while (last > 0 && fid[static_cast<std::size_t>(last - 1)] == 0.0) --last;
    const auto all = static_cast<long long>(fid.size());
    return last > 0 && 64 * (all - last) >= all ? last : all;
}

long long spectrum_conversion::measured_of(const complex_signal &fid) {
    const long long measured = points_before_zeros(fid);
    if (measured < static_cast<long long>(fid.size())) ++with_zeros_;
    measured_ = std::max(measured_, measured);
    return measured;
}

complex_signal spectrum_conversion::spectrum_of(complex_signal fid, const measured_lineshape *eddy,
                                                ordered_json *sidecar) const {
    if (conjugated_) conjugate(fid);
    if (eddy != nullptr) correct_eddy_currents(fid, *eddy);
    apply_phase(fid, options_.phase, sidecar);
    if (removed_) take_lines_out(fid, sidecar);
    return engine::spectrum_of_fid(*plan_, fid);
}

void spectrum_conversion::take_lines_out(complex_signal &fid, ordered_json *sidecar) const {
    const double carrier = items_["ppm_at_carrier"].get<double>();
    const double dwell = items_["dwell_time_s"].get<double>();
    const double per_ppm = (rises_ ? 1.0 : -1.0) * items_["spectrometer_mhz"].get<double>() * dwell;
    const auto [low, high] = std::minmax(
        {(removed_->first - carrier) * per_ppm, (removed_->second - carrier) * per_ppm});
    const long long measured = points_before_zeros(fid);
    const removed_stretch_lines removed =
        remove_stretch(*plan_, fid, static_cast<std::size_t>(measured), low, high, water_order_);
    if (sidecar == nullptr) return;
    ordered_json &own = (*sidecar)["lines_removed"];
    own = {{"from_ppm", removed_->first}, {"to_ppm", removed_->second}, {"order", removed.order}};
    own["order_chosen_by"] = water_order_ > 0 ? "option" : "what is left in the stretch";
    own["left_over_noise"] = removed.left_over_noise;
    own["points"] = measured; // of the FID that the lines were taken out of
    own["lines"] = ordered_json::array();
    for (const oscillation &each : removed.lines)
        own["lines"].push_back(
            {{"ppm", carrier + each.frequency / per_ppm},
             {"hz_from_carrier", each.frequency / dwell}, // stays as it is if the axis moves
             {"width_hz", each.damping / (std::numbers::pi * dwell)},
             {"amplitude", std::abs(each.amplitude)},
             {"phase_degrees", std::arg(each.amplitude) * 180.0 / std::numbers::pi}});
    const double percent = 100.0 * removed.taken;
    own["power_percent"] = percent;
    char text[240];
    if (removed.added > 0.0)
        std::snprintf(
            text, sizeof text,
            "nothing from %.4g to %.4g ppm was taken out of the FID: the lines found there "
            "would have added %.3g %% to its power; %.2g times the noise stays there",
            removed_->first, removed_->second, 100.0 * removed.added, removed.left_over_noise);
    else
        std::snprintf(
            text, sizeof text,
            "lines from %.4g to %.4g ppm were taken out of the FID: %zu of %d (%s), %.3g %% "
            "of its power; %.2g times the noise is left there",
            removed_->first, removed_->second, removed.lines.size(), removed.order,
            water_order_ > 0 ? "--water-order" : "chosen by what is left", percent,
            removed.left_over_noise);
    own["text"] = text;
}

bool spectrum_conversion::shares_noise() const {
    return !asked_noise_ && !known_noise_ && source_.spectra() > 1 &&
           all_outputs(source_, options_.choice).spectra.size() > 1;
}

void spectrum_conversion::look_at_all(long long memory) {
    static constexpr std::size_t most = 1024;
    if (!options_.choice.average.empty()) {
        const std::string text = warning_of_means(source_, chosen_, memory);
        if (!text.empty()) source_.warnings.push_back(text);
    }
    const bool noise = shares_noise();
    std::optional<reference_search> axis;
    if (reference_peak_ && !eddy_)
        axis.emplace(*reference_peak_, axis_of_sidecar(metadata("", items_)));
    if (!noise && !axis) return;
    const choice all = all_outputs(source_, options_.choice);
    const chosen_spectra taken = all.spectra.every((all.spectra.size() + most - 1) / most);
    engine::shared_stretch_search search;
    std::set<long long> faulty;
    source_.faulty = &faulty; // those that are converted are named then
    const std::size_t pass = outputs_per_pass(memory, used_);
    for (std::size_t first = 0; first < taken.size(); first += pass) {
        const std::size_t stop = std::min(first + pass, taken.size());
        std::vector<complex_signal> fids = read_fids(source_, taken, first, stop, used_);
        for (std::size_t s = first; s < stop; ++s) {
            const std::vector<long long> members = taken.members(s);
            if (std::any_of(members.begin(), members.end(),
                            [&](long long member) { return faulty.contains(member); }))
                continue;
            const complex_signal spectrum =
                spectrum_of(std::move(fids[s - first]), nullptr, nullptr);
            if (noise) search.add(spectrum);
            if (axis) axis->add(spectrum);
        }
    }
    source_.faulty = nullptr;
    if (noise && search.spectra() > 0) {
        const auto [first, stop] = search.stretch();
        shared_noise_ = {first, stop - 1};
        shared_by_ = search.spectra();
    }
    if (axis) take_axis(*axis);
}

void spectrum_conversion::set_axis(const complex_signal &spectrum) {
    reference_search search(*reference_peak_, axis_of_sidecar(metadata("", items_)));
    search.add(spectrum);
    take_axis(search);
}

void spectrum_conversion::take_axis(const reference_search &search) {
    const found_reference found = search.found();
    set_reference_items(items_, *reference_peak_, found);
    std::erase_if(source_.guesses,
                  [](const guessed_value &g) { return g.item == "ppm_at_carrier"; });
    axis_remarks_.push_back(text_of(*reference_peak_, found));
    if (found.guessed_width) axis_remarks_.push_back("guessed " + reference_width_text(found));
    axis_warnings_ = warnings_of(*reference_peak_, found);
}

engine::noise_window spectrum_conversion::describe(const complex_signal &spectrum,
                                                   ordered_json &sidecar) {
    const noise_choice noise = choose_noise(spectrum, asked_noise_, known_noise_, shared_noise_);
    if (!asked_noise_ && !known_noise_) ++unknown_noise_;
    sidecar["noise_window"] = {
        {"first", noise.window.first},   {"stop", noise.window.stop},
        {"sd_real", noise.window.sd_re}, {"sd_imaginary", noise.window.sd_im},
        {"chosen_by", noise.chosen_by},  {"method", noise.method}};
    if (shared_noise_) sidecar["noise_window"]["shared_by_spectra"] = shared_by_;
    if (fit_points_) sidecar["fit_interval_points"] = {fit_points_->first, fit_points_->second};
    if (sidecar.contains("lines_removed") && removed_remark_.empty())
        removed_remark_ = sidecar["lines_removed"]["text"].get<std::string>();
    std::vector<std::string> warnings = source_.warnings;
    warnings.insert(warnings.end(), axis_warnings_.begin(), axis_warnings_.end());
    if (source_.format == "LCModel RAW" &&
        looks_mirrored(spectrum, source_.facts, rises_, items_["hz_per_point"].get<double>())) {
        ++mirrored_;
        warnings.push_back("the peaks fit the mirrored axis better; try --axis " + other_axis());
    }
    if (!warnings.empty()) sidecar["warnings"] = warnings;
    return noise.window;
}

// --conjugate would turn points and axis together.
std::string spectrum_conversion::other_axis() const {
    return source_.facts.ppm_rises_with_points ? "falling" : "rising";
}

static std::string short_factor(long long points, long long measured) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3g",
                  std::sqrt(static_cast<double>(points) / static_cast<double>(measured)));
    return text;
}

std::vector<std::string> spectrum_conversion::remarks() const {
    std::vector<std::string> said;
    for (const guessed_value &guess : source_.guesses)
        said.push_back(
            "guessed " + guess.item + " " +
            (guess.value.is_string() ? guess.value.get<std::string>() : guess.value.dump()) + ": " +
            guess.reason);
    said.insert(said.end(), axis_remarks_.begin(), axis_remarks_.end());
    for (const std::string &text : axis_warnings_) said.push_back(text);
    if (!removed_remark_.empty()) said.push_back(removed_remark_);
    for (const std::string &text : source_.remarks()) said.push_back(text);
    for (const std::string &text : source_.warnings) said.push_back(source_.file + ": " + text);
    if (points_ > source_.points)
        said.push_back("filled with zeros from " + std::to_string(source_.points) + " to " +
                       std::to_string(points_) + " points");
    if (with_zeros_ > 0)
        said.push_back(source_.file + ": zeros at the end of the FID were filled in before: " +
                       std::to_string(measured_) + " of its " + std::to_string(used_) +
                       " points were measured" +
                       (source_.spectra() > 1
                            ? " at most; " + std::to_string(with_zeros_) + " FIDs have such zeros"
                            : std::string()));
    const std::string factor = measured_ > 0 ? short_factor(points_, measured_) : "1";
    if (factor != "1") // one point of 4096 is no news
        said.push_back("the noise of neighbouring points is not independent after filling: tables "
                       "and pages multiply the error bounds of the fit by " +
                       factor +
                       ", the square root of points over measured points; its own files hold "
                       "them as they are");
    if (unknown_noise_ > 0)
        said.push_back("no noise-only points known, took the quietest stretch" +
                       (shared_noise_ ? " of " + std::to_string(shared_by_) + " spectra together"
                                      : std::string()) +
                       "; look at it before you trust the error bounds");
    if (mirrored_ > 0)
        said.push_back(std::to_string(mirrored_) +
                       " of the spectra fit the mirrored axis better (NAA, creatine, choline); "
                       "files of this format exist in both senses, try --axis " +
                       other_axis());
    return said;
}

} // namespace tools
