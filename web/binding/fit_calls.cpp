// SPDX-License-Identifier: BSD-3-Clause
// fit_calls.cpp -- the exact fit of a spectrum and what is left of it, as varokel-fit has them
#include "web/binding/module_calls.h"

#include "files/base/tool_error.h"
#include "files/pages/report_curves.h"
#include "files/pages/report_page.h"
#include "files/problem/fit_folder.h"
#include "files/results/amounts.h"
#include "files/results/derived_area.h"
#include "files/results/judge_run.h"
#include "files/results/number_text.h"
#include "files/results/results_table.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

namespace web {

namespace fs = std::filesystem;

static std::string bytes_of(const fs::path &file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream all;
    all << stream.rdbuf();
    return all.str();
}

// A value with its error as every page and program shows them.
static std::string shown(double value, double sd) {
    const tools::value_with_error text = tools::with_error(value, sd);
    return text.error == "n/a" ? text.value : text.value + " \u00b1 " + text.error;
}

static ordered_json parameter_for_page(const tools::run_result &run,
                                       const tools::fitted_parameter &own, bool is_area) {
    return {{"value", number_for_page(own.value)},
            {"error", number_for_page(own.error_1sd())},
            {"percent", number_for_page(own.percent_1sd())},
            {"shown", shown(own.value, own.error_1sd())},
            {"how", tools::link_text(run, own, is_area)},
            {"used", own.state != tools::parameter_state::unused},
            {"free", own.state == tools::parameter_state::free}};
}

static ordered_json entries_for_page(const tools::run_result &run) {
    ordered_json out = ordered_json::array();
    for (const tools::fitted_entry &entry : run.entries) {
        ordered_json one = {
            {"name", entry.name},
            {"type", tools::type_text(entry.type)},
            {"ppm", number_for_page(entry.ppm)},
            {"ppm_error", number_for_page(0.5 * entry.ppm_2sd)},
            {"hz", number_for_page(entry.hz_from_carrier)},
            {"position", std::isfinite(entry.ppm)
                             ? shown(entry.ppm, 0.5 * entry.ppm_2sd)
                             : shown(entry.hz_from_carrier, entry.frequency.error_1sd())},
            {"snr", number_for_page(entry.snr)}};
        for (int q = 0; q < engine::quantities; ++q)
            one[tools::name_of(q)] = parameter_for_page(run, entry.of(q), q == 0);
        out.push_back(std::move(one));
    }
    return out;
}

// Pairs of free parameters by how much they hang on one another; what follows another by a link is
// not known apart from it, and left out.
static ordered_json correlation_matrix(const tools::run_result &run) {
    static constexpr double least = 0.7; // a pair that is less is not told
    struct parameter {
        std::size_t entry;
        engine::quantity of;
        double variance;
    };
    ordered_json out = ordered_json::array();
    if (!run.control.has_covariance) return out;
    const auto covariance = [&](const parameter &a, const parameter &b) {
        return run.control.covariance_of(a.entry, a.of, b.entry, b.of);
    };
    std::vector<parameter> free;
    for (std::size_t k = 0; k < run.entries.size(); ++k)
        for (int q = 0; q < engine::quantities; ++q) {
            if (run.entries[k].of(q).state != tools::parameter_state::free) continue;
            parameter own = {k, static_cast<engine::quantity>(q), 0.0};
            own.variance = covariance(own, own);
            if (own.variance > 0.0 && std::isfinite(own.variance)) free.push_back(own);
        }
    for (std::size_t i = 0; i < free.size(); ++i)
        for (std::size_t j = i + 1; j < free.size(); ++j) {
            const double value =
                covariance(free[i], free[j]) / std::sqrt(free[i].variance * free[j].variance);
            if (!(std::fabs(value) >= least)) continue;
            out.push_back({{"entries", {free[i].entry, free[j].entry}},
                           {"of", {tools::name_of(free[i].of), tools::name_of(free[j].of)}},
                           {"value", value}});
        }
    return out;
}

static ordered_json judgement_for_page(const tools::run_result &run) {
    const tools::fit_judgement &judged = run.judgement;
    ordered_json out = {{"status", tools::status_text(judged.status)},
                        {"level", tools::level_text(judged.level())},
                        {"reason", judged.reason},
                        {"findings", ordered_json::array()}};
    for (const tools::finding &each : judged.findings)
        out["findings"].push_back({{"kind", tools::finding_text(each.kind)},
                                   {"level", tools::level_text(each.level)},
                                   {"text", each.text},
                                   {"entries", each.entries}});
    return out;
}

static ordered_json optimum_for_page(const tools::optimum_record &record,
                                     const std::vector<std::string> &names) {
    ordered_json out = {{"verdict", record.verdict},
                        {"noise_sd", number_for_page(record.noise_sd)},
                        {"sum_of_squares", number_for_page(record.sum_of_squares)},
                        {"expected_decrease", number_for_page(record.expected_decrease)},
                        {"linearizations", record.linearizations},
                        {"evaluations", record.evaluations},
                        {"reasons", ordered_json::array()},
                        {"starts", ordered_json::array()},
                        {"values", ordered_json::array()}};
    for (const tools::optimum_record::cause &cause : record.reasons)
        out["reasons"].push_back(tools::cause_text(cause, names));
    for (const tools::optimum_record::begin &start : record.starts)
        out["starts"].push_back({{"name", start.name},
                                 {"above", number_for_page(start.above)},
                                 {"shift_hz", number_for_page(start.shift_hz)},
                                 {"same", start.same}});
    for (const engine::values_of_entry &values : record.values) out["values"].push_back(values);
    return out;
}

static ordered_json derived_for_page(const tools::run_result &run,
                                     const std::vector<std::string> &rows) {
    ordered_json out = ordered_json::array();
    for (const tools::derived_area &each : tools::derived_of(run, rows))
        out.push_back({{"name", each.name},
                       {"expression", each.expression},
                       {"value", number_for_page(each.value)},
                       {"error", number_for_page(each.error_1sd)},
                       {"shown", shown(each.value, each.error_1sd)},
                       {"percent", tools::percent_number(each.percent_1sd())},
                       {"unit", each.unit},
                       {"row", tools::derived_row(run.name, each)}});
    return out;
}

static tools::result_options reading() {
    tools::result_options options;
    options.hashes = false; // of copies in the module's storage nobody can check them
    return options;
}

ordered_json fit_spectrum(const ordered_json &asked) {
    const tools::folder_of_fit of = {asked.at("folder").get<std::string>(),
                                     asked.at("name").get<std::string>()};
    const std::string peaks = asked.at("peaks").get<std::string>();
    const tools::peak_table table = tools::read_peak_table(peaks);
    tools::start_maker maker(table, {fs::path(peaks).parent_path().string()},
                             tools::fit_method::exact);
    const tools::start_result made = tools::prepare_fit(of, maker, peaks);
    tools::exact_options options;
    options.starts = asked.value("starts", 0);
    // to be stopped, the page ends the worker
    options.watch = [](const engine::search_progress &now) {
        say_progress(now.searches, now.linearizations);
        return true;
    };
    static engine::model_workspace workspace;
    tools::finish_fit(of, made.start, options, workspace);
    const tools::run_result run = tools::read_run(of.folder, of.name, reading());
    std::vector<std::string> names;
    for (const tools::start_entry &entry : made.start.entries) names.push_back(entry.name);
    ordered_json out = {{"fitted", run.fitted},
                        {"why_not", run.why_not},
                        {"quality", number_for_page(run.quality)},
                        {"quality_before", number_for_page(run.quality_before)},
                        {"snr", number_for_page(run.snr)},
                        {"free_parameters", run.free_parameters},
                        {"judgement", judgement_for_page(run)},
                        {"notes", run.notes},
                        {"guesses", made.guesses},
                        {"warnings", made.warnings},
                        {"entries", entries_for_page(run)},
                        {"correlations", correlation_matrix(run)},
                        {"derived", derived_for_page(run, table.derived)},
                        {"results", tools::results_rows(run)},
                        {"quality_row", tools::quality_row(run)}};
    if (run.optimum) out["optimum"] = optimum_for_page(*run.optimum, names);
    for (const char *const file : {"start.par", "result.par", "optimum.json", "names.txt"})
        out["files"][file] = bytes_of(fs::path(of.folder) / file);
    return out;
}

ordered_json table_heads(const ordered_json &) {
    return {{"results", tools::results_header()},
            {"quality", tools::quality_header()},
            {"derived", tools::derived_header()}};
}

ordered_json report_fits(const ordered_json &asked) {
    const std::vector<std::string> names = asked.at("names").get<std::vector<std::string>>();
    const std::string folder = asked.at("folder").get<std::string>();
    const bool with_page = asked.value("page", true);
    std::vector<std::string> derived;
    if (const std::string peaks = asked.value("peaks", ""); !peaks.empty())
        derived = tools::read_peak_table(peaks).derived;
    std::optional<tools::report_page> page;
    if (with_page) page.emplace(names.size());
    ordered_json out = {{"results", tools::results_header()}, {"quality", tools::quality_header()}};
    std::string results = tools::results_header(), quality = tools::quality_header();
    for (const std::string &name : names) {
        const std::string own = names.size() == 1 ? folder : (fs::path(folder) / name).string();
        tools::reported_run reported;
        try {
            reported.run = tools::read_run(own, name, reading());
        } catch (const tools::tool_error &unreadable) {
            reported.run.folder = own;
            reported.run.name = name;
            reported.run.why_not = unreadable.what();
            tools::judge_run(reported.run);
        }
        reported.run.provenance.push_back({"fitted by", "varokel.html " VAROKEL_VERSION});
        if (with_page) {
            reported.derived = tools::derived_of(reported.run, derived);
            page->add(reported);
        }
        results += tools::results_rows(reported.run);
        quality += tools::quality_row(reported.run);
        if (with_page && names.size() == 1 && reported.run.fitted)
            out["picture"] = tools::report_picture(reported.run);
    }
    out["results"] = results;
    out["quality"] = quality;
    if (with_page) out["report"] = page->text();
    return out;
}

} // namespace web
