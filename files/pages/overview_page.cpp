// SPDX-License-Identifier: BSD-3-Clause
// overview_page.cpp -- a batch on one page: maps or time courses, worst fits, each spectrum at a
// click
#include "files/pages/overview_page.h"

#include "files/base/line_text.h"
#include "files/base/tool_error.h"
#include "files/pictures/markup.h"
#include "files/pictures/spectrum_view.h"
#include "files/results/number_text.h"
#include "files/pages/curve_text.h"
#include "files/pages/page_frame.h"
#include "files/pages/page_texts.h"
#include "files/pages/report_facts.h"
#include "files/results/findings.h"

#include "kernel/line_width.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <map>
#include <sstream>
#include <utility>

namespace tools {

namespace fs = std::filesystem;

static constexpr std::size_t curves_per_file = 100;

static std::pair<long long, long long> shown_points(const batch_view &batch) {
    return points_with_margin(fitted_intervals(batch.start.steps, batch.points), batch.points);
}

static ordered_json curves_of(const batch_view &batch, std::size_t spectrum) {
    const std::pair<long long, long long> range = shown_points(batch);
    const double phase = batch.phase_of(spectrum);
    const double phi_1 = batch.start.read ? batch.start.phi_1 : 0.0;
    ordered_json curves;
    const auto show = [&](const char *name, const complex_signal &signal) {
        const auto turned_by = [&](double degrees) {
            return short_curve(real_part(signal, 0, signal.size(), phase + degrees, phi_1),
                               range.first, range.second);
        };
        curves[name] = turned_by(0.0);
        curves["imaginary"][name] = turned_by(quarter_turn);
    };
    show("data", batch.data_of(spectrum));
    if (const std::optional<complex_signal> fit = batch.fit_of(spectrum)) show("fit", *fit);
    return curves;
}

static bool is_fitted(const batch_spectrum &spectrum) {
    return spectrum.status != "not_fitted";
}

// Whether a spectrum holds more than noise. What a model of noise leaves over tells nothing of it.
static bool has_signal(const batch_view &batch, std::size_t spectrum) {
    const std::string &words = batch.spectra[spectrum].warnings;
    return batch.spectra[spectrum].verdict != finding_text(finding_kind::undetermined) &&
           !has_word(words, finding_text(finding_kind::undetermined));
}

// Those with results: first those with signal, each by falling quality number. One that ran away
// has none: nothing is worse.
static std::vector<std::size_t> worst_first(const batch_view &batch) {
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < batch.spectra.size(); ++i)
        if (is_fitted(batch.spectra[i])) order.push_back(i);
    const auto badness = [&](std::size_t i) {
        const double quality = batch.spectra[i].quality;
        return std::isfinite(quality) ? quality : std::numeric_limits<double>::infinity();
    };
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        const bool signal_a = has_signal(batch, a), signal_b = has_signal(batch, b);
        return signal_a != signal_b ? signal_a : badness(a) > badness(b);
    });
    return order;
}

// Spectra without results, put together by their reason: there may be thousands of one kind.
static std::string not_fitted_table(const batch_view &batch) {
    static constexpr std::size_t named = 12;
    std::map<std::string, std::vector<std::size_t>> by_reason;
    for (std::size_t i = 0; i < batch.spectra.size(); ++i)
        if (!is_fitted(batch.spectra[i])) by_reason[batch.spectra[i].reason].push_back(i);
    if (by_reason.empty()) return "";
    std::string html =
        "<h2>Not fitted</h2>\n<div class=\"wide\"><table class=\"lost\">\n<thead><tr>"
        "<th scope=\"col\" class=\"text\">Reason</th><th scope=\"col\">Spectra</th>"
        "<th scope=\"col\" class=\"text\">Which</th></tr></thead>\n<tbody>\n";
    for (const auto &[reason, numbers] : by_reason) {
        html += "<tr>" + element("td", "class=\"wrap\"", reason.empty() ? "n/a" : reason) + "<td>" +
                std::to_string(numbers.size()) + "</td><td class=\"wrap\">";
        for (std::size_t i = 0; i < std::min(numbers.size(), named); ++i)
            html += element("button",
                            "type=\"button\" class=\"pick\" data-number=\"" +
                                std::to_string(numbers[i]) + "\"",
                            batch.spectra[numbers[i]].name) +
                    " ";
        if (numbers.size() > named)
            html += "and " + std::to_string(numbers.size() - named) + " more";
        html += "</td></tr>\n";
    }
    return html + "</tbody></table></div>\n";
}

// Word of each warning with the entries that it names.
static ordered_json warnings_of(const batch_view &batch, std::size_t spectrum) {
    ordered_json list = ordered_json::object();
    std::istringstream words(batch.spectra[spectrum].warnings);
    for (std::string word; std::getline(words, word, ',');) {
        list[word] = ordered_json::array();
        for (std::size_t k = 0; k < batch.entries.size(); ++k)
            if (has_word(batch.warnings_of(spectrum, k), word)) list[word].push_back(k);
    }
    return list;
}

// What the page needs to draw the components of a spectrum from the values of its entries: type of
// each, and the phase that is taken off each spectrum. Null where a line is not all there is to a
// component (a lineshape that was measured or fitted).
static ordered_json model_of(const batch_view &batch, long long first) {
    if (!batch.start.read || batch.start.fit_mode != 1) return nullptr;
    ordered_json types = ordered_json::array();
    for (const start_entry &entry : batch.start.entries) types.push_back(entry.type);
    std::vector<double> phases;
    for (std::size_t i = 0; i < batch.spectra.size(); ++i) phases.push_back(batch.phase_of(i));
    const start_step *const last = last_fitting_step(batch.start.steps);
    return {{"points", batch.points},
            {"first", first},
            {"hzPerPoint", batch.start.hz_per_point},
            {"phi1", batch.start.phi_1},
            {"kept", last != nullptr ? last->points : batch.points},
            {"ignored", batch.start.ignored},
            {"fwhmPerWidth", kernel::gauss_fwhm_per_width},
            {"types", std::move(types)},
            {"phases", float_text(phases)}};
}

static ordered_json axes_of(const batch_view &batch) {
    ordered_json axes = ordered_json::array();
    for (const plan_axis &axis : batch.axes)
        axes.push_back({{"name", axis.name},
                        {"size", axis.size},
                        {"spatial", axis.spatial},
                        {"seconds", axis.seconds.empty() ? ordered_json(nullptr)
                                                         : ordered_json(axis.seconds)}});
    return axes;
}

// Names, places and judgements, a list with a value for each spectrum; reasons and warnings of
// those that have some.
static void add_judgements(const batch_view &batch, ordered_json &all) {
    for (const char *const list : {"names", "at", "status"}) all[list] = ordered_json::array();
    all["reasons"] = ordered_json::object();
    for (const char *const list : {"levels", "said", "verdicts"}) all[list] = ordered_json::array();
    all["warnings"] = ordered_json::object();
    for (std::size_t i = 0; i < batch.spectra.size(); ++i) {
        const batch_spectrum &spectrum = batch.spectra[i];
        all["names"].push_back(spectrum.name);
        all["at"].push_back(spectrum.at);
        all["status"].push_back(spectrum.status);
        all["levels"].push_back(spectrum.level);
        all["said"].push_back(badge_text(spectrum.status, spectrum.level));
        all["verdicts"].push_back(spectrum.verdict);
        if (!spectrum.reason.empty()) all["reasons"][std::to_string(i)] = spectrum.reason;
        if (!spectrum.warnings.empty()) all["warnings"][std::to_string(i)] = warnings_of(batch, i);
    }
    for (const finding_kind kind : all_findings())
        all["meanings"][finding_text(kind)] = finding_meaning(kind);
    all["amberPercent"] = amber_percent;
    all["redPercent"] = red_percent;
}

// Columns with a number for each spectrum.
static void add_numbers(const batch_view &batch, ordered_json &all) {
    const auto column_of = [&](const auto &value) {
        std::vector<double> column;
        for (std::size_t i = 0; i < batch.spectra.size(); ++i) column.push_back(value(i));
        return float_text(column);
    };
    all["quality"] = column_of([&](std::size_t i) { return batch.spectra[i].quality; });
    all["snr"] = column_of([&](std::size_t i) { return batch.spectra[i].snr; });
    static const char *const keys[batch_quantities] = {
        "area",    "areaSd",    "areaPercent", "ppm",     "ppmSd",    "gauss",    "gaussSd",
        "lorentz", "lorentzSd", "phase",       "phaseSd", "entrySnr", "frequency"};
    for (std::size_t q = 0; q < batch_quantities; ++q) {
        ordered_json columns = ordered_json::array();
        for (std::size_t k = 0; k < batch.entries.size(); ++k)
            columns.push_back(column_of(
                [&](std::size_t i) { return batch.value(i, k, static_cast<batch_quantity>(q)); }));
        all["values"][keys[q]] = std::move(columns);
    }
    all["further"] = ordered_json::array();
    for (const batch_column &column : batch.further)
        all["further"].push_back(
            {{"name", column.name},
             {"unit", column.unit},
             {"values", float_text(column.values)},
             {"errors", column.errors.empty() ? ordered_json(nullptr)
                                              : ordered_json(float_text(column.errors))}});
}

static std::string chosen_noise_of(const batch_view &batch) {
    return chosen_noise(batch.noise_window, batch.start.noise_first, batch.start.noise_stop);
}

// What was guessed at import, by the table, and where nobody said which points hold only noise.
static std::vector<std::string> guesses_of(const batch_view &batch) {
    std::vector<std::string> all = batch.guesses;
    const std::string chosen = chosen_noise_of(batch);
    if (batch.start.read && chosen.starts_with("quietest"))
        all.push_back("noise window = " +
                      stretch_text(batch.scale, batch.points, batch.start.noise_first,
                                   batch.start.noise_stop - 1) +
                      " (" + chosen + "); look at it before you trust the error bounds");
    return all;
}

// Model, axis, and what is marked on it.
static void add_spectrum_scale(const batch_view &batch, ordered_json &all) {
    const auto [first, last] = shown_points(batch);
    all["model"] = model_of(batch, first);
    all["axis"] = axis_item(plot_axis_of(batch.scale, "", batch.points), first);
    all["intervals"] = ordered_json::array();
    for (const auto &[a, b] : fitted_intervals(batch.start.steps, batch.points))
        all["intervals"].push_back({a - first, b - first});
    all["points"] = last - first + 1;
    const std::pair<long long, long long> noise(batch.start.noise_first,
                                                batch.start.noise_stop - 1);
    if (!batch.start.read || noise.first >= noise.second) return;
    const std::string hidden = out_of_sight_text(noise, {first, last});
    if (hidden != out_of_sight) all["noise"] = {noise.first - first, noise.second - first};
    const std::string chosen = chosen_noise_of(batch);
    all["noiseText"] =
        "Noise window: " + stretch_text(batch.scale, batch.points, noise.first, noise.second) +
        (chosen.empty() ? "" : " (" + chosen + ")") + hidden + ".";
}

static ordered_json values_of(const batch_view &batch) {
    ordered_json all;
    all["axes"] = axes_of(batch);
    all["entries"] = batch.entries;
    add_judgements(batch, all);
    add_numbers(batch, all);
    if (batch.repetition_time) all["secondsPerStep"] = *batch.repetition_time;
    all["guesses"] = batch.guesses;
    if (!batch.regions.empty()) all["regions"] = batch.regions;
    add_spectrum_scale(batch, all);
    return all;
}

static std::string spaced_words(const std::string &words) {
    std::string spaced;
    for (const char c : words)
        spaced += c == ',' ? std::string(", ") : std::string(1, c == '_' ? ' ' : c);
    return spaced;
}

static std::string worst_table(const batch_view &batch, const std::vector<std::size_t> &order) {
    static constexpr std::size_t longest = 100;
    const bool with_snr = std::any_of(batch.spectra.begin(), batch.spectra.end(),
                                      [](const batch_spectrum &s) { return std::isfinite(s.snr); });
    std::string html =
        "<h2>Worst fits first</h2>\n<div class=\"wide tall\" tabindex=\"0\" role=\"region\" "
        "aria-label=\"worst fits\"><table class=\"worst\">\n<thead><tr><th scope=\"col\" "
        "class=\"text\">Spectrum</th><th scope=\"col\" class=\"text\">Status</th><th "
        "scope=\"col\">Fit quality</th>";
    if (with_snr) html += "<th scope=\"col\">SNR</th>";
    html += "<th scope=\"col\" class=\"text\">Warnings</th><th scope=\"col\" "
            "class=\"text\">Reason</th></tr></thead>\n<tbody>\n";
    for (std::size_t i = 0; i < std::min(order.size(), longest); ++i) {
        const batch_spectrum &spectrum = batch.spectra[order[i]];
        html += "<tr data-number=\"" + std::to_string(order[i]) + "\">" +
                element("th", "scope=\"row\"", spectrum.name) + "<td class=\"text\">" +
                element("span", "class=\"badge " + escaped_markup(spectrum.level) + "\"",
                        badge_text(spectrum.status, spectrum.level)) +
                "</td><td>" + quality_number(spectrum.quality) + "</td>";
        if (with_snr) html += "<td>" + short_number(spectrum.snr) + "</td>";
        html += element("td", "class=\"wrap\"", spaced_words(spectrum.warnings)) +
                element("td", "class=\"wrap\"", spectrum.reason) + "</tr>\n";
    }
    html += "</tbody></table></div>\n";
    if (order.size() > longest)
        html += "<p class=\"muted\">The first " + std::to_string(longest) + " of " +
                std::to_string(order.size()) + "; quality.tsv has all.</p>\n";
    return html;
}

static std::string body_of(const batch_view &batch, const std::vector<std::size_t> &order,
                           const std::string &title) {
    std::map<std::pair<std::string, std::string>, std::size_t> counts;
    for (const batch_spectrum &spectrum : batch.spectra)
        ++counts[{spectrum.status, spectrum.level == "note" ? "none" : spectrum.level}];
    std::string html = "<main id=\"overview\">\n" + element("h1", "", title) +
                       "\n<p class=\"sub\">" + std::to_string(batch.spectra.size()) + " spectra";
    for (const auto &[which, count] : counts)
        html += " \u00b7 " +
                element("span", "class=\"badge " + escaped_markup(which.second) + "\"",
                        std::to_string(count) + " " + badge_text(which.first, which.second));
    html +=
        "</p>\n<noscript><p class=\"warnings\">Maps, time courses and curves need scripts; the "
        "tables results.tsv and quality.tsv hold all numbers.</p></noscript>\n"
        "<div id=\"controls\" class=\"tools\"></div>\n"
        "<div class=\"columns\"><div id=\"maps\"></div><div id=\"detail\"></div></div>\n" +
        list_below("Done before the fits", batch.notes) + list_below("Guessed", guesses_of(batch)) +
        worst_table(batch, order) + not_fitted_table(batch) +
        "<p class=\"muted\">Errors are Cram\u00e9r-Rao bounds of one standard deviation (1 SD); "
        "the program\u2019s own files hold two. Fit quality 1 means that the residual is "
        "noise. Badges are red where the numbers should not be used as they are, amber where they "
        "should be looked at first.</p>\n</main>\n";
    return html;
}

void write_overview(const batch_view &batch, const std::string &output, long long one_file_up_to,
                    bool force, std::vector<std::string> &written) {
    const bool one_file = static_cast<long long>(batch.spectra.size()) <= one_file_up_to;
    const std::vector<std::size_t> order = worst_first(batch);
    page_content page = chart_page();
    fs::path path = fs::absolute(batch.folder).lexically_normal();
    if (!path.has_filename()) path = path.parent_path();
    page.title = "Batch " + path.filename().string();
    page.style += overview_style();
    for (const std::string_view script :
         {overview_values_script(), overview_model_script(), overview_maps_script(),
          overview_course_script(), overview_spread_script(), overview_spectrum_script(),
          overview_script()})
        page.scripts.emplace_back(script);
    page.body = body_of(batch, order, page.title);
    ordered_json values = values_of(batch);
    output_batch files(batch.files_read, force);
    if (one_file) {
        const std::string name = (fs::path(output) / "overview.html").string();
        files.refuse_overwriting(name);
        ordered_json curves = ordered_json::array();
        for (std::size_t i = 0; i < batch.spectra.size(); ++i)
            curves.push_back(curves_of(batch, i));
        page.body += data_block("values", values) + data_block("curves", curves);
        files.add({name, html_page(page)});
        files.commit();
        written.push_back(name);
        return;
    }
    const fs::path beside = fs::path(output) / "overview";
    const std::string name = (beside / "index.html").string();
    files.refuse_overwriting(name);
    std::error_code error;
    fs::create_directories(beside, error);
    if (error) refuse_output(beside.string(), "cannot be made (" + error.message() + ")");
    const bool all_data = batch.spectra.size() <= all_data_up_to;
    for (std::size_t first = 0; first < batch.spectra.size(); first += curves_per_file) {
        ordered_json curves = ordered_json::array();
        const std::size_t stop = std::min(first + curves_per_file, batch.spectra.size());
        for (std::size_t i = first; i < stop; ++i)
            curves.push_back(all_data || batch.fit_of(i) ? curves_of(batch, i) : ordered_json());
        const std::string part = std::to_string(first / curves_per_file);
        const std::string file = (beside / ("curves_" + part + ".js")).string();
        files.add({file, "varokelCurves(" + part + "," + curves.dump() + ");\n"});
    }
    values["curvesPerFile"] = curves_per_file;
    page.loaded_scripts = {"curves_*.js"};
    page.body += data_block("values", values);
    files.add({name, html_page(page)});
    files.commit();
    written.push_back(name);
}

} // namespace tools
