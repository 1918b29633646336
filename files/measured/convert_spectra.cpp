// SPDX-License-Identifier: BSD-3-Clause
// convert_spectra.cpp -- choice, mean, sense, correction, phase, length, transform, files: in this
// order, for every format
#include "files/measured/convert_spectra.h"

#include "files/base/output_file.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/spectra/point_range.h"
#include "files/spectra/search_limits.h"
#include "files/spectra/signal_file.h"
#include "files/measured/condition_fid.h"
#include "files/measured/open_source.h"
#include "files/measured/text_items.h"

#include "engine/centred_spectrum.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>

#include <unistd.h>

namespace tools {

void warn(const std::string &text) {
    std::cerr << "varokel-import: " << text << '\n';
}

void make_folder(const std::string &folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw tool_error(bad_output, folder + ": folder cannot be made (" + error.message() + ")");
}

static std::string file_name(const std::string &path) {
    return std::filesystem::path(path).filename().string();
}

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

static std::string shortest(double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value);
    return std::string(text, end.ptr);
}

// First-order phase of the delay before the first point, 360 degrees per dwell time. Rounded to a
// millionth of a degree: 0.0003 / 0.0001 is a hair below 3.
static double delay_phase(double begin_time, double dwell_time) {
    return std::round(360e6 * begin_time / dwell_time) / 1e6;
}

// The FIDs of a few outputs, each the mean of its members: one pass over the file.
static std::vector<complex_signal> read_fids(spectrum_source &source,
                                             const std::vector<chosen_spectrum> &chosen,
                                             std::size_t first, std::size_t stop,
                                             std::size_t points) {
    std::vector<signal_share> shares;
    for (std::size_t s = first; s < stop; ++s)
        for (const long long spectrum : chosen[s].spectra) shares.push_back({spectrum, s - first});
    std::sort(shares.begin(), shares.end(),
              [](const signal_share &a, const signal_share &b) { return a.spectrum < b.spectrum; });
    std::vector<complex_signal> fids(stop - first, complex_signal(points));
    source.add_to(shares, fids);
    for (std::size_t s = first; s < stop; ++s)
        if (chosen[s].spectra.size() > 1)
            for (std::complex<double> &point : fids[s - first])
                point /= static_cast<double>(chosen[s].spectra.size());
    return fids;
}

// Outputs per pass, so that their FIDs take up to so many MiB.
static std::size_t outputs_per_pass(long long memory, std::size_t points) {
    return std::max<std::size_t>(1, (static_cast<std::size_t>(memory) << 20) /
                                        (points * sizeof(std::complex<double>)));
}

static void apply_phase(complex_signal &fid, const std::string &phase,
                        nlohmann::ordered_json *sidecar) {
    if (phase.empty()) return;
    std::optional<double> degrees = number_of(phase);
    if (phase == "auto") degrees = phase_of_first_point(fid);
    if (!degrees || !std::isfinite(*degrees))
        throw tool_error(wrong_usage, "--phase " + phase + ": expected degrees, or auto");
    turn_phase(fid, *degrees);
    if (sidecar != nullptr) (*sidecar)["phase_applied_degrees"] = *degrees;
}

// Where the spectrometer reference stands: solvent water for protons and deuterium,
// phosphocreatine for phosphorus, by the habit of the field.
static std::optional<double> usual_ppm_at_carrier(const std::string &nucleus) {
    if (nucleus == "1H" || nucleus == "2H") return 4.65;
    if (nucleus == "31P") return 0.0;
    return std::nullopt;
}

// What is known about all outputs, options first; guesses are added to those of the source.
static void settle_facts(spectrum_source &source, const spectrum_options &own) {
    signal_facts &facts = source.facts;
    const auto drop_guess = [&](const char *item) {
        std::erase_if(source.guesses, [&](const guessed_value &g) { return g.item == item; });
    };
    if (own.dwell_time && own.bandwidth)
        throw tool_error(wrong_usage, "--dwell and --bandwidth say the same; give one of them");
    if (own.dwell_time || own.bandwidth) {
        facts.dwell_time = own.dwell_time ? *own.dwell_time : 1.0 / *own.bandwidth;
        drop_guess("dwell_time_s");
    }
    if (own.mhz) {
        facts.mhz = own.mhz;
        drop_guess("spectrometer_mhz");
    }
    if (own.ppm_at_carrier) facts.ppm_at_carrier = own.ppm_at_carrier;
    if (own.begin_time) facts.begin_time = own.begin_time;
    if (own.nucleus) {
        facts.nucleus = own.nucleus;
        drop_guess("nucleus");
    }
    if (own.axis) {
        facts.ppm_rises_with_points = *own.axis == "rising";
        drop_guess("ppm_rises_with_points");
    }
    if (!facts.dwell_time)
        throw tool_error(bad_input, source.file +
                                        ": dwell time unknown; expected item \"dwell_time_s\" in a "
                                        "JSON beside it, or --dwell SECONDS or --bandwidth HERTZ");
    if (!facts.ppm_at_carrier && facts.nucleus) {
        facts.ppm_at_carrier = usual_ppm_at_carrier(*facts.nucleus);
        if (facts.ppm_at_carrier)
            source.guesses.push_back(
                {"ppm_at_carrier", *facts.ppm_at_carrier,
                 "the usual one for " + *facts.nucleus + "; --ppm-at-carrier sets another"});
    }
    if (facts.mhz && !facts.ppm_at_carrier)
        source.warnings.push_back("the chemical shift at the carrier is not known; give "
                                  "--ppm-at-carrier to have ppm");
    if (source.opposite_sense && own.axis && !own.axis->empty())
        source.notes["axis_given"] = *own.axis;
}

// Magnitudes at three strong proton singlets (NAA, creatine, choline) against those at their mirror
// images about the carrier: files of this format come in both senses.
static bool looks_mirrored(const complex_signal &spectrum, const signal_facts &facts, bool rises,
                           double hz_per_point) {
    if (!facts.mhz || !facts.ppm_at_carrier || std::abs(*facts.ppm_at_carrier - 4.7) > 0.3)
        return false;
    if (facts.nucleus && *facts.nucleus != "1H") return false;
    const auto n = static_cast<long long>(spectrum.size());
    double right = 0.0, mirrored = 0.0;
    for (const double ppm : {2.01, 3.03, 3.21}) {
        const double offset = (ppm - *facts.ppm_at_carrier) * *facts.mhz / hz_per_point;
        const double half_width = 0.08 * *facts.mhz / hz_per_point;
        const auto highest = [&](double sign) {
            const double centre = static_cast<double>(n / 2) + (rises ? sign : -sign) * offset;
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

// The reference line of each output, or one for all.
struct reference_lines {
    std::unique_ptr<spectrum_source> source;
    std::string hash;
    choice chosen;

    std::size_t of_output(std::size_t output) const {
        return chosen.spectra.size() == 1 ? 0 : output;
    }
};

static reference_lines open_reference(const input_options &options, const spectrum_options &own,
                                      const spectrum_source &source, const choice &outputs,
                                      std::size_t points) {
    reference_lines lines;
    lines.source = open_source(own.reference, options.format, "", options.points);
    const spectrum_source &reference = *lines.source;
    lines.chosen = choose_spectra(reference, options.choice, true);
    if (lines.chosen.spectra.size() != 1 && lines.chosen.spectra.size() != outputs.spectra.size())
        throw tool_error(bad_input,
                         reference.file + ": gives " + std::to_string(lines.chosen.spectra.size()) +
                             " reference spectra for " + std::to_string(outputs.spectra.size()) +
                             "; expected one, or one for each");
    if (reference.points < static_cast<long long>(points))
        throw tool_error(bad_input, reference.file + ": holds " + std::to_string(reference.points) +
                                        " points; expected at least the " + std::to_string(points) +
                                        " that are used of " + source.file);
    if (reference.facts.dwell_time &&
        std::abs(*reference.facts.dwell_time / *source.facts.dwell_time - 1.0) > 1e-5)
        throw tool_error(bad_input, reference.file + ": dwell time " +
                                        shortest(*reference.facts.dwell_time) + " s, but " +
                                        source.file + " has " + shortest(*source.facts.dwell_time) +
                                        " s; expected a reference with the same");
    lines.hash = sha256_of_file(reference.file);
    return lines;
}

// Items of the sidecar that hold for every output.
static nlohmann::ordered_json common_items(const spectrum_source &source, bool conjugated,
                                           bool rises, long long n) {
    const signal_facts &facts = source.facts;
    nlohmann::ordered_json items;
    items["content"] = "centred spectrum, complex, little-endian float32; carrier at point n/2";
    items["points"] = n;
    items["dwell_time_s"] = *facts.dwell_time;
    items["hz_per_point"] = 1.0 / (*facts.dwell_time * static_cast<double>(n));
    if (facts.mhz) items["spectrometer_mhz"] = *facts.mhz;
    if (facts.ppm_at_carrier) items["ppm_at_carrier"] = *facts.ppm_at_carrier;
    items["ppm_rises_with_points"] = rises;
    if (facts.nucleus) items["nucleus"] = *facts.nucleus;
    if (facts.echo_time) items["echo_time_s"] = *facts.echo_time;
    if (facts.begin_time) {
        items["begin_time_s"] = *facts.begin_time;
        items["phi_1_degrees"] = delay_phase(*facts.begin_time, *facts.dwell_time);
    }
    if (n != source.points)
        items["resized"] = {{"from", source.points},
                            {"to", n},
                            {"how", n > source.points ? "filled with zeros" : "cut"}};
    nlohmann::ordered_json &from = items["source"];
    from["file"] = file_name(source.file);
    from["format"] = source.format;
    from["sha256"] = sha256_of_file(source.file);
    from["spectra"] = source.spectra();
    from["points"] = source.points;
    from["conjugated"] = conjugated;
    for (const std::string &companion : source.companions) {
        from["companions"].push_back(
            {{"file", file_name(companion)}, {"sha256", sha256_of_file(companion)}});
        if (companion.ends_with(".json")) from["metadata"] = file_name(companion);
    }
    for (const auto &[item, value] : source.notes.items()) from[item] = value;
    return items;
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

spectrum_conversion::spectrum_conversion(spectrum_source &source, const choice &chosen,
                                         const input_options &options, const spectrum_options &own)
    : source_(source), options_(options), conjugated_(source.opposite_sense != options.conjugate) {
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
            throw tool_error(wrong_usage, "--noise " + own.noise +
                                              ": expected at least two points up to " +
                                              std::to_string(points_ - 1));
        asked_noise_ = {first, last};
    }
    if (!options.choice.average.empty())
        for (const source_axis &axis : source.axes)
            if (axis.name == "DIM_COIL" && chosen.spectra.front().averaged.contains(axis.name))
                source.warnings.push_back("coils are averaged as they are; with unlike phases "
                                          "they cancel. Combine them first if so");
    items_ = common_items(source, conjugated_, rises_, points_);
    for (const guessed_value &guess : source.guesses)
        items_["guessed"].push_back(
            {{"item", guess.item},
             {"value",
              guess.item == "ppm_rises_with_points" ? nlohmann::ordered_json(rises_) : guess.value},
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
                                                nlohmann::ordered_json *sidecar) const {
    if (conjugated_) conjugate(fid);
    if (eddy != nullptr) correct_eddy_currents(fid, *eddy);
    apply_phase(fid, options_.phase, sidecar);
    return engine::spectrum_of_fid(*plan_, fid);
}

void spectrum_conversion::share_noise_window(long long memory) {
    static constexpr std::size_t most = 1024;
    if (asked_noise_ || known_noise_ || source_.spectra() < 2) return;
    const choice all = all_outputs(source_, options_.choice);
    if (all.spectra.size() < 2) return;
    std::vector<chosen_spectrum> taken;
    const std::size_t step = (all.spectra.size() + most - 1) / most;
    for (std::size_t s = 0; s < all.spectra.size(); s += step) taken.push_back(all.spectra[s]);
    engine::shared_stretch_search search;
    std::set<long long> faulty;
    source_.faulty = &faulty; // those that are converted are named then
    const std::size_t pass = outputs_per_pass(memory, used_);
    for (std::size_t first = 0; first < taken.size(); first += pass) {
        const std::size_t stop = std::min(first + pass, taken.size());
        std::vector<complex_signal> fids = read_fids(source_, taken, first, stop, used_);
        for (std::size_t s = first; s < stop; ++s)
            if (std::none_of(taken[s].spectra.begin(), taken[s].spectra.end(),
                             [&](long long member) { return faulty.contains(member); }))
                search.add(spectrum_of(std::move(fids[s - first]), nullptr, nullptr));
    }
    source_.faulty = nullptr;
    if (search.spectra() == 0) return;
    const auto [first, stop] = search.stretch();
    shared_noise_ = {first, stop - 1};
    shared_by_ = search.spectra();
}

engine::noise_window spectrum_conversion::describe(const complex_signal &spectrum,
                                                   nlohmann::ordered_json &sidecar) {
    const noise_choice noise = choose_noise(spectrum, asked_noise_, known_noise_, shared_noise_);
    if (!asked_noise_ && !known_noise_) ++unknown_noise_;
    sidecar["noise_window"] = {
        {"first", noise.window.first},   {"stop", noise.window.stop},
        {"sd_real", noise.window.sd_re}, {"sd_imaginary", noise.window.sd_im},
        {"chosen_by", noise.chosen_by},  {"method", noise.method}};
    if (shared_noise_) sidecar["noise_window"]["shared_by_spectra"] = shared_by_;
    if (fit_points_) sidecar["fit_interval_points"] = {fit_points_->first, fit_points_->second};
    std::vector<std::string> warnings = source_.warnings;
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
    if (measured_ > 0 && measured_ < points_)
        said.push_back("the noise of neighbouring points is not independent after filling: tables "
                       "and pages multiply the error bounds of the fit by " +
                       short_factor(points_, measured_) +
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

void import_spectra(const input_options &options, const spectrum_options &own) {
    if (own.eddy && own.reference.empty())
        throw tool_error(wrong_usage, "--eddy needs the reference line: --reference FILE");
    const std::unique_ptr<spectrum_source> source =
        open_source(options.input, options.format, options.json, options.points);
    const choice chosen = choose_spectra(*source, options.choice);
    spectrum_conversion conversion(*source, chosen, options, own);
    const signal_facts &facts = source->facts;
    const long long n = conversion.points();
    const std::size_t used = conversion.used();

    std::vector<std::string> inputs = {source->file};
    inputs.insert(inputs.end(), source->companions.begin(), source->companions.end());
    reference_lines lines;
    if (!own.reference.empty()) {
        lines = open_reference(options, own, *source, chosen, used);
        inputs.push_back(lines.source->file);
        inputs.insert(inputs.end(), lines.source->companions.begin(),
                      lines.source->companions.end());
    }

    conversion.share_noise_window(own.memory);
    const std::filesystem::path folder(own.folder);
    output_batch batch(inputs, options.force);
    const bool folder_was_there = std::filesystem::exists(folder);
    if (folder_was_there && !std::filesystem::is_directory(folder))
        throw tool_error(bad_output, own.folder + ": no folder; expected the name of one");
    for (const chosen_spectrum &output : chosen.spectra) { // before the long work
        const std::string name = source->stem + output.suffix;
        batch.refuse_overwriting((folder / (name + ".bin")).string());
        batch.refuse_overwriting((folder / (name + ".json")).string());
        if (lines.source) batch.refuse_overwriting((folder / (name + ".bin.ref")).string());
    }

    std::string report;
    long long empty_voxels = 0;
    const std::size_t step = outputs_per_pass(own.memory, used);
    const bool shows_progress = chosen.spectra.size() > step && isatty(STDERR_FILENO) != 0;
    std::map<std::size_t, measured_lineshape> shapes; // of this pass
    for (std::size_t first = 0; first < chosen.spectra.size(); first += step) {
        const std::size_t stop = std::min(first + step, chosen.spectra.size());
        std::vector<complex_signal> fids = read_fids(*source, chosen.spectra, first, stop, used);
        if (lines.source) {
            const std::size_t begin = lines.of_output(first), end = lines.of_output(stop - 1) + 1;
            if (chosen.spectra.size() == 1 || shapes.empty() || lines.chosen.spectra.size() > 1) {
                shapes.clear();
                std::vector<complex_signal> waters =
                    read_fids(*lines.source, lines.chosen.spectra, begin, end, used);
                for (std::size_t w = begin; w < end; ++w) {
                    complex_signal &water = waters[w - begin];
                    if (chosen.grid &&
                        std::all_of(water.begin(), water.end(), [](auto v) { return v == 0.0; }))
                        continue; // such voxels hold no data either
                    if (lines.source->opposite_sense != options.conjugate) conjugate(water);
                    shapes.emplace(w, lineshape_of(water, lines.source->file));
                }
            }
        }
        for (std::size_t s = first; s < stop; ++s) {
            const chosen_spectrum &output = chosen.spectra[s];
            complex_signal &fid = fids[s - first];
            if (chosen.grid &&
                std::all_of(fid.begin(), fid.end(), [](auto v) { return v == 0.0; })) {
                ++empty_voxels;
                continue;
            }
            const std::string name = source->stem + output.suffix;
            nlohmann::ordered_json sidecar;
            sidecar["signal"] = name + ".bin";
            sidecar.update(conversion.items());
            nlohmann::ordered_json &from = sidecar["source"];
            if (output.index || !output.place.contains("voxel"))
                from["index"] = output.index.value_or(0);
            for (const auto &[item, value] : output.place.items()) from[item] = value;
            if (!output.averaged.empty()) from["averaged"] = output.averaged;

            const measured_lineshape *shape = nullptr;
            if (lines.source) {
                const auto at = shapes.find(lines.of_output(s));
                if (at == shapes.end())
                    throw tool_error(bad_input, lines.source->file + ": the reference of " +
                                                    source->label(output.spectra.front()) +
                                                    " is all zeros; expected the FID of a line");
                shape = &at->second;
                sidecar["reference"] = {{"signal", name + ".bin.ref"},
                                        {"file", file_name(lines.source->file)},
                                        {"sha256", lines.hash},
                                        {"line_at_hz", shape->frequency / *facts.dwell_time},
                                        {"points_above_the_noise", shape->reliable},
                                        {"eddy_currents_corrected", own.eddy}};
            }
            if (const long long measured = conversion.measured_of(fid); measured < n)
                sidecar["measured_points"] = measured;
            const complex_signal spectrum =
                conversion.spectrum_of(std::move(fid), own.eddy ? shape : nullptr, &sidecar);
            const engine::noise_window noise = conversion.describe(spectrum, sidecar);

            if (!folder_was_there) make_folder(own.folder);
            const std::string signal_name = (folder / (name + ".bin")).string();
            const std::string sidecar_name = (folder / (name + ".json")).string();
            batch.add({signal_name, signal_bytes(spectrum)});
            batch.add({sidecar_name, sidecar.dump(2) + "\n"});
            report += signal_name + "\n" + sidecar_name + "\n";
            if (shape != nullptr) {
                complex_signal line = shape->line;
                if (own.eddy)
                    for (std::size_t k = 0; k < line.size(); ++k)
                        line[k] *=
                            std::polar(1.0, 2.0 * M_PI * shape->frequency * static_cast<double>(k) -
                                                shape->phase[k] + shape->phase[0]);
                line.resize(static_cast<std::size_t>(n));
                batch.add({signal_name + ".ref", signal_bytes(line)});
                report += signal_name + ".ref\n";
            }
            // as the keywords of a control file have them
            report += "n_pnts " + std::to_string(n) + "\nHz_p_p " +
                      shortest(conversion.items()["hz_per_point"].get<double>()) + "\nnoistr " +
                      std::to_string(noise.first) + "\nnoistp " + std::to_string(noise.stop) + "\n";
            if (facts.begin_time)
                report +=
                    "phi__1 " + shortest(delay_phase(*facts.begin_time, *facts.dwell_time)) + "\n";
        }
        if (shows_progress)
            std::cerr << '\r' << stop << " of " << chosen.spectra.size() << " spectra"
                      << (stop == chosen.spectra.size() ? "\n" : "") << std::flush;
    }
    if (report.empty())
        throw tool_error(bad_input,
                         source->file + ": all voxels are zero; expected measured points");
    batch.commit();

    // Not before: a file that cannot be used has one message, why.
    for (const std::string &text : conversion.remarks()) warn(text);
    if (empty_voxels > 0)
        warn("passed over " + std::to_string(empty_voxels) + " voxels that are all zero");
    std::cout << report;
}

void import_pattern(const input_options &options, const std::string &output) {
    const std::unique_ptr<spectrum_source> source =
        open_source(options.input, options.format, options.json, options.points);
    const choice chosen = choose_spectra(*source, options.choice);
    if (chosen.spectra.size() != 1)
        throw tool_error(wrong_usage, source->file + ": " + std::to_string(chosen.spectra.size()) +
                                          " spectra chosen; expected one for a pattern");
    const long long n = length_for_fit(source->file, source->points, options.resize);
    if (n > search_limits::pattern_points)
        throw tool_error(bad_input, source->file + ": " + std::to_string(n) +
                                        " points, but a pattern holds up to " +
                                        std::to_string(search_limits::pattern_points) +
                                        "; --resize " +
                                        std::to_string(search_limits::pattern_points) + " cuts");
    complex_signal fid = read_fids(*source, chosen.spectra, 0, 1,
                                   static_cast<std::size_t>(std::min(n, source->points)))
                             .front();
    if (source->opposite_sense != options.conjugate) conjugate(fid);
    apply_phase(fid, options.phase, nullptr);
    fid.resize(static_cast<std::size_t>(n));
    std::vector<std::string> inputs = {source->file};
    inputs.insert(inputs.end(), source->companions.begin(), source->companions.end());
    write_files({{output, signal_bytes(binary_pattern(fid))}}, inputs, options.force);
    std::cout << output << '\n';
}

} // namespace tools
