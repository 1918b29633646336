// SPDX-License-Identifier: BSD-3-Clause
// batch_view.cpp -- what a merged batch left: its spectra, their results, and the curves that were
// kept
#include "files/batch/batch_view.h"

#include "files/base/input_file.h"
#include "files/base/not_known.h"
#include "files/base/read_json.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/batch/plan_lines.h"
#include "files/results/judge_run.h"
#include "files/results/run_result.h"
#include "files/spectra/signal_file.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <set>

namespace tools {

namespace fs = std::filesystem;

bool is_batch(const std::string &folder) {
    return is_file(in_folder(folder, "manifest.json"));
}

batch_view::batch_view(const std::string &run_folder) : folder(run_folder) {
    read_manifest();
    read_quality();
    read_results();
    read_derived();
    find_curves();
    // Patterns are found from the folder in which they stand.
    const fs::path patterns = fs::path(folder) / "patterns";
    std::error_code error;
    const std::string from = fs::is_directory(patterns, error) && !fs::is_empty(patterns, error)
                                 ? patterns.string()
                                 : folder;
    const std::string control = fs::absolute(in_folder(folder, "start.par")).string();
    if (is_file(control)) start = rebuild_model(from, control, {});
}

void batch_view::read_manifest() {
    const batch_plan plan = read_plan(folder);
    const plan_lines lines(plan);
    points = plan.points;
    axes = plan.axes;
    entries = plan.entry_names;
    scale = plan.scale;
    noise_window = plan.head.at("scale").value("noise_window", ordered_json());
    const std::string manifest = plan.file("manifest.json");
    const metadata source = metadata(manifest, plan.head).inside("source");
    notes = notes_of_sidecar(source);
    guesses = guesses_of_sidecar(source.items());
    if (plan.head.contains("guessed") && plan.head["guessed"].is_array())
        for (const ordered_json &guess : plan.head["guessed"])
            if (guess.is_string()) guesses.push_back(guess.get<std::string>());
    const std::string file = plan.file("sidecar.json");
    if (is_file(file)) {
        const metadata sidecar(file);
        repetition_time = sidecar.positive_number("repetition_time_s");
        for (std::string &note : notes_of_sidecar(sidecar)) notes.push_back(std::move(note));
    }
    // what the plan says of the time between two places of a series goes before it
    for (const plan_axis &axis : plan.axes)
        if (axis.seconds.size() > 1) repetition_time = axis.seconds[1] - axis.seconds[0];
    spectra.resize(static_cast<std::size_t>(plan.spectra));
    for (long long line = 0; line < plan.spectra; ++line) {
        planned_spectrum planned = lines.read(line);
        const auto n = static_cast<std::size_t>(planned.number);
        spectra[n].at = std::move(planned.at);
        spectra[n].sha256 = std::move(planned.sha256);
        spectra[n].status = "not_fitted";
        spectra[n].level = "red";
        spectra[n].quality = spectra[n].snr = not_known;
        by_name_.emplace(planned.name, n);
        spectra[n].name = std::move(planned.name);
    }
    files_read.push_back(manifest);
}

// Units that the description of a table gives; a table without one has none.
static std::map<std::string, std::string> units_of(const std::string &table) {
    std::map<std::string, std::string> units;
    const std::string file = fs::path(table).replace_extension(".json").string();
    if (!is_file(file)) return units;
    const ordered_json all = json_of_file(file);
    if (!all.is_object()) return units;
    for (const auto &[name, about] : all.items())
        if (about.is_object() && about.contains("Units") && about["Units"].is_string())
            units[name] = about["Units"].get<std::string>();
    return units;
}

// Columns of numbers that are not shown elsewhere.
static std::vector<std::size_t> further_columns(const table_reader &table,
                                                const std::vector<plan_axis> &axes) {
    std::set<std::string> known = {"spectrum", "status",  "reason", "level", "warnings",
                                   "reasons",  "verdict", "method", "snr",   "fit_quality"};
    for (const plan_axis &axis : axes) known.insert({axis.name, axis.name + "_seconds"});
    std::vector<std::size_t> found;
    for (std::size_t c = 0; c < table.names().size(); ++c)
        if (!known.contains(table.names()[c])) found.push_back(c);
    return found;
}

// The spectrum that a row names.
std::size_t batch_view::spectrum_of(const table_reader &table, std::size_t column,
                                    const std::string &file) const {
    const auto found = by_name_.find(table.text(column));
    if (found == by_name_.end())
        refuse_input(file, "spectrum " + table.text(column) +
                               " is not in manifest.json; merge the batch again");
    return found->second;
}

void batch_view::read_quality() {
    const std::string file = in_folder(folder, "quality.tsv");
    table_reader table(file);
    const std::size_t name = table.column("spectrum"), status = table.column("status");
    const std::size_t reason = table.column("reason"), quality = table.column("fit_quality");
    const std::size_t level = table.column("level"), warnings = table.column("warnings");
    const bool has_snr = table.has("snr"), has_verdict = table.has("verdict");
    const std::size_t snr = has_snr ? table.column("snr") : 0;
    const std::size_t verdict = has_verdict ? table.column("verdict") : 0;
    const std::vector<std::size_t> places = further_columns(table, axes);
    const std::map<std::string, std::string> units = units_of(file);
    std::vector<bool> numbers(places.size(), true);
    for (const std::size_t c : places) {
        const auto unit = units.find(table.names()[c]);
        further.push_back({table.names()[c],
                           unit == units.end() ? "" : unit->second,
                           std::vector<double>(spectra.size(), not_known),
                           {}});
    }
    while (table.next()) {
        const std::size_t found = spectrum_of(table, name, file);
        batch_spectrum &spectrum = spectra[found];
        spectrum.status = table.text(status);
        spectrum.reason = table.text(reason) == "n/a" ? "" : table.text(reason);
        spectrum.level = table.text(level);
        spectrum.warnings = table.text(warnings) == "n/a" ? "" : table.text(warnings);
        spectrum.quality = table.number(quality);
        if (has_snr) spectrum.snr = table.number(snr);
        if (has_verdict && table.text(verdict) != "n/a") spectrum.verdict = table.text(verdict);
        for (std::size_t f = 0; f < places.size(); ++f) {
            const std::optional<double> value = table.number_of(places[f]);
            numbers[f] = numbers[f] && value;
            if (value) further[f].values[found] = *value;
        }
    }
    for (std::size_t f = places.size(); f-- > 0;) // texts, and what no spectrum has
        if (!numbers[f] || std::none_of(further[f].values.begin(), further[f].values.end(),
                                        [](double v) { return std::isfinite(v); }))
            further.erase(further.begin() + static_cast<std::ptrdiff_t>(f));
    files_read.push_back(file);
}

// A row for each derived value of each spectrum.
void batch_view::read_derived() {
    const std::string file = in_folder(folder, "derived.tsv");
    if (!is_file(file)) return;
    table_reader table(file);
    const std::size_t spectrum = table.column("spectrum"), name = table.column("name");
    const std::size_t value = table.column("value"), sd = table.column("error_1sd");
    const std::size_t expression = table.column("expression"), unit = table.column("unit");
    std::map<std::string, std::size_t> at;
    while (table.next()) {
        const std::size_t found = spectrum_of(table, spectrum, file);
        const auto [place, fresh] =
            at.emplace(table.text(name) + "=" + table.text(expression), further.size());
        if (fresh) {
            const std::string own_unit = table.text(unit) == "n/a" ? "" : table.text(unit);
            further.push_back({table.text(name), own_unit,
                               std::vector<double>(spectra.size(), not_known),
                               std::vector<double>(spectra.size(), not_known)});
            if (own_unit.empty()) // amounts by water are worked out of the plan
                derived.push_back(table.text(name) + "=" + table.text(expression));
        }
        further[place->second].values[found] = table.number(value);
        further[place->second].errors[found] = table.number(sd);
    }
    files_read.push_back(file);
}

void batch_view::read_results() {
    const std::string file = in_folder(folder, "results.tsv");
    table_reader table(file);
    static const char *const names[batch_quantities] = {"area",
                                                        "area_error_1sd",
                                                        "area_error_percent_1sd",
                                                        "shift_ppm",
                                                        "shift_error_1sd_ppm",
                                                        "gauss_fwhm_hz",
                                                        "gauss_fwhm_error_1sd_hz",
                                                        "lorentz_fwhm_hz",
                                                        "lorentz_fwhm_error_1sd_hz",
                                                        "phase_degrees",
                                                        "phase_error_1sd_degrees",
                                                        "snr",
                                                        "frequency_hz"};
    std::optional<std::size_t> columns[batch_quantities];
    for (std::size_t q = 0; q < batch_quantities; ++q)
        if (q != batch_snr || table.has(names[q])) columns[q] = table.column(names[q]);
    const std::size_t name = table.column("spectrum"), entry = table.column("entry");
    const std::size_t warnings = table.column("warnings");
    values_.assign(spectra.size() * entries.size() * batch_quantities, not_known);
    while (table.next()) {
        const std::size_t found = spectrum_of(table, name, file);
        const double number = table.number(entry);
        if (std::isnan(number)) continue; // a spectrum without results
        if (!(number >= 1.0 && number <= static_cast<double>(entries.size())) ||
            number != std::floor(number))
            refuse_input(file, "entry " + table.text(entry) + "; expected 1 to " +
                                   std::to_string(entries.size()));
        const std::size_t first =
            (found * entries.size() + static_cast<std::size_t>(number) - 1) * batch_quantities;
        for (std::size_t q = 0; q < batch_quantities; ++q)
            if (columns[q]) values_[first + q] = table.number(*columns[q]);
        if (table.text(warnings) != "n/a")
            entry_warnings_[first / batch_quantities] = table.text(warnings);
    }
    files_read.push_back(file);
}

void batch_view::find_curves() {
    const std::string file = in_folder(folder, "pictures.tsv");
    if (!is_file(file)) return; // no fits were kept
    table_reader table(file);
    const std::size_t row = table.column("row"), number = table.column("number");
    const bool has_digests = table.has("sha256"); // merges of before wrote none
    const std::size_t digest = has_digests ? table.column("sha256") : 0;
    while (table.next()) {
        const double place = table.number(row), spectrum = table.number(number);
        const auto is_number = [&](double value) { // of one of the spectra
            return value >= 0.0 && value < static_cast<double>(spectra.size()) &&
                   value == std::floor(value);
        };
        if (!is_number(place) || !is_number(spectrum))
            refuse_input(file, "spectrum " + table.text(number) +
                                   " is not one of this batch; merge it again");
        curves_[static_cast<std::size_t>(spectrum)] = {static_cast<long long>(place),
                                                       has_digests ? table.text(digest) : ""};
    }
    files_read.push_back(file);
}

std::string batch_view::warnings_of(std::size_t spectrum, std::size_t entry) const {
    const auto found = entry_warnings_.find(spectrum * entries.size() + entry);
    return found == entry_warnings_.end() ? "" : found->second;
}

// Bytes of signal `place` of a file of signals that stand one behind the other; none when it is not
// there. Its points may be no finite numbers: what was measured is shown as it is.
static std::optional<std::string> bytes_of(const std::string &file, long long place,
                                           long long points) {
    std::ifstream stream = open_input(file);
    std::string bytes(static_cast<std::size_t>(8 * points), '\0');
    stream.seekg(place * points * 8);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream) return std::nullopt;
    return bytes;
}

complex_signal batch_view::data_of(std::size_t spectrum) const {
    const std::string file = in_folder(folder, "spectra.f32");
    const auto bytes = bytes_of(file, static_cast<long long>(spectrum), points);
    if (!bytes || sha256_of(*bytes) != spectra[spectrum].sha256)
        refuse_input(file, spectra[spectrum].name +
                               " is missing or was changed since the plan was made; "
                               "put the file of then back, or plan again");
    return signal_of_bytes(*bytes);
}

std::optional<complex_signal> batch_view::fit_of(std::size_t spectrum) const {
    const auto found = curves_.find(spectrum);
    if (found == curves_.end()) return std::nullopt;
    const auto &[place, digest] = found->second;
    const std::string file = in_folder(folder, "pictures.f32");
    const auto bytes = bytes_of(file, place, points);
    if (!bytes) return std::nullopt;
    if (!digest.empty() && sha256_of(*bytes) != digest)
        refuse_input(file, "the curve of " + spectra[spectrum].name +
                               " was changed since it was merged; merge the batch again");
    return signal_of_bytes(*bytes);
}

double batch_view::phase_of(std::size_t spectrum) const {
    std::complex<double> sum = 0.0;
    for (std::size_t k = 0; k < entries.size(); ++k) {
        const double height = std::fabs(value(spectrum, k, batch_area));
        const double phase = value(spectrum, k, batch_phase);
        if (std::isfinite(height) && std::isfinite(phase))
            sum += std::polar(height, phase * std::numbers::pi / 180.0);
    }
    return sum == 0.0 ? 0.0 : std::arg(sum) * 180.0 / std::numbers::pi;
}

} // namespace tools
