// SPDX-License-Identifier: BSD-3-Clause
// results_table.cpp -- every column of results.tsv and quality.tsv: name, unit, meaning and cell
#include "files/results/results_table.h"

#include "files/base/ordered_json.h"
#include "files/base/plain_text.h"
#include "files/results/number_text.h"

#include <cmath>
#include <vector>

namespace tools {

namespace {

typedef std::string (*entry_cell)(const run_result &run, const fitted_entry &entry);
typedef std::string (*spectrum_cell)(const run_result &run);

struct entry_column {
    const char *name, *unit, *description;
    entry_cell cell;
};

struct spectrum_column {
    const char *name, *unit, *description;
    spectrum_cell cell;
};

#define VALUE(expression)                                                                          \
    [](const run_result &, const fitted_entry &e) { return table_number(expression); }
#define LINK(parameter, is_area)                                                                   \
    [](const run_result &run, const fitted_entry &e) {                                             \
        return text_cell(link_text(run, parameter, is_area));                                      \
    }

constexpr const char *one_sd = "Cramer-Rao bound, one standard deviation";
constexpr const char *two_sd = "Cramer-Rao bound, two standard deviations";
constexpr const char *link_description =
    "free, fixed, unused, or the entry that it follows with ratio or distance";

const entry_column entry_columns[] = {
    {"spectrum", "", "name of the spectrum",
     [](const run_result &run, const fitted_entry &) { return text_cell(run.name); }},
    {"status", "", "how the fit ended",
     [](const run_result &run, const fitted_entry &) {
         return std::string(status_text(run.judgement.status));
     }},
    {"entry", "", "number of the entry in the control file, from 1; lines first, then patterns",
     [](const run_result &, const fitted_entry &e) { return std::to_string(e.number); }},
    {"name", "", "name of the entry",
     [](const run_result &, const fitted_entry &e) { return text_cell(e.name); }},
    {"type", "", "type of the entry",
     [](const run_result &, const fitted_entry &e) { return std::string(type_text(e.type)); }},
    {"area", "signal", "amplitude of the FID at time 0", VALUE(e.area.value)},
    {"area_error_1sd", "signal", one_sd, VALUE(e.area.error_1sd())},
    {"area_error_2sd", "signal", two_sd, VALUE(e.area.error_2sd)},
    {"area_error_percent_1sd", "%",
     "Cramer-Rao bound, one standard deviation, of the magnitude of the area, 999 at most",
     VALUE(e.area.percent_1sd())},
    {"area_link", "", link_description, LINK(e.area, true)},
    {"frequency_hz", "Hz", "from the left edge of the spectrum; the shift of a pattern",
     VALUE(e.frequency.value)},
    {"frequency_error_1sd_hz", "Hz", one_sd, VALUE(e.frequency.error_1sd())},
    {"frequency_error_2sd_hz", "Hz", two_sd, VALUE(e.frequency.error_2sd)},
    {"frequency_link", "", link_description, LINK(e.frequency, false)},
    {"frequency_from_carrier_hz", "Hz", "from the carrier; the shift of a pattern",
     VALUE(e.hz_from_carrier)},
    {"shift_ppm", "ppm", "chemical shift; of a pattern, its displacement", VALUE(e.ppm)},
    {"shift_error_1sd_ppm", "ppm", one_sd, VALUE(0.5 * e.ppm_2sd)},
    {"shift_error_2sd_ppm", "ppm", two_sd, VALUE(e.ppm_2sd)},
    {"gauss_fwhm_hz", "Hz",
     "full width at half height of the Gaussian part, with 1.67 for 2 sqrt(ln 2)",
     VALUE(e.gauss_width.value)},
    {"gauss_fwhm_error_1sd_hz", "Hz", one_sd, VALUE(e.gauss_width.error_1sd())},
    {"gauss_fwhm_error_2sd_hz", "Hz", two_sd, VALUE(e.gauss_width.error_2sd)},
    {"gauss_fwhm_link", "", link_description, LINK(e.gauss_width, false)},
    {"lorentz_fwhm_hz", "Hz", "full width at half height of the Lorentzian part",
     VALUE(e.lorentz_width.value)},
    {"lorentz_fwhm_error_1sd_hz", "Hz", one_sd, VALUE(e.lorentz_width.error_1sd())},
    {"lorentz_fwhm_error_2sd_hz", "Hz", two_sd, VALUE(e.lorentz_width.error_2sd)},
    {"lorentz_fwhm_link", "", link_description, LINK(e.lorentz_width, false)},
    {"phase_degrees", "degrees", "zero-order phase", VALUE(e.phase.value)},
    {"phase_error_1sd_degrees", "degrees", one_sd, VALUE(e.phase.error_1sd())},
    {"phase_error_2sd_degrees", "degrees", two_sd, VALUE(e.phase.error_2sd)},
    {"phase_link", "", link_description, LINK(e.phase, false)},
    {"snr", "1", "highest magnitude of the entry's own spectrum over the noise standard deviation",
     VALUE(e.snr)},
    {"warnings", "", "words of the warnings that name this entry; n/a without any",
     [](const run_result &run, const fitted_entry &e) {
         return text_cell(run.judgement.words_of(static_cast<std::size_t>(e.number - 1)));
     }},
};

#undef VALUE
#undef LINK

#define FITTED(text)                                                                               \
    [](const run_result &run) { return run.fitted ? std::string(text) : std::string("n/a"); }

#define FIGURE(expression) [](const run_result &run) { return table_number(expression); }

#define OPTIMUM(member)                                                                            \
    [](const run_result &run) {                                                                    \
        return table_number(run.optimum ? run.optimum->member : not_known);                        \
    }

const spectrum_column spectrum_columns[] = {
    {"spectrum", "", "name of the spectrum",
     [](const run_result &run) { return text_cell(run.name); }},
    {"status", "", "how the fit ended",
     [](const run_result &run) { return std::string(status_text(run.judgement.status)); }},
    {"reason", "", "why there are no results, why it counts as at_limit, or what else to know",
     [](const run_result &run) {
         const std::string &why = run.judgement.reason;
         return text_cell(why + (why.empty() || run.remark.empty() ? "" : "; ") + run.remark);
     }},
    {"entries", "1", "lines and patterns of the model", FITTED(std::to_string(run.entries.size()))},
    {"free_parameters", "1", "parameters that were fitted",
     FITTED(std::to_string(run.free_parameters))},
    {"fit_quality", "1",
     "root mean square of the residual in the fitted points over the noise standard deviation",
     FIGURE(run.quality)},
    {"fit_quality_before", "1", "the same with the start values", FIGURE(run.quality_before)},
    {"chi_square_before", "signal^2", "weighted sum of squares with the start values",
     FIGURE(run.chi_before)},
    {"chi_square_after", "signal^2", "weighted sum of squares of the fit", FIGURE(run.chi_after)},
    {"noise_sd_real", "signal", "standard deviation of the real part in the noise window",
     FIGURE(run.noise_re)},
    {"noise_sd_imaginary", "signal", "standard deviation of the imaginary part in the noise window",
     FIGURE(run.noise_im)},
    {"snr", "1", "highest magnitude of the model in the fitted points over noise_sd_real",
     FIGURE(run.snr)},
    {"last_step_iterations", "1", "iterations of the last step",
     FITTED(std::to_string(run.iterations))},
    {"method", "",
     "exact: the optimum by the engine; both: the fitter's search first; classic: the search alone",
     FITTED(run.optimum ? run.optimum->method : "classic")},
    {"verdict", "", "what may be said of the exact fit",
     [](const run_result &run) {
         return run.optimum ? text_cell(run.optimum->verdict) : std::string("n/a");
     }},
    {"expected_decrease", "noise^2", "of the sum of squares that is still to be had",
     OPTIMUM(expected_decrease)},
    {"search_distance", "bounds",
     "farthest that a parameter was from the optimum where the search ended",
     OPTIMUM(search_distance.value_or(not_known))},
    {"starts", "1", "starts that were tried",
     [](const run_result &run) {
         return run.optimum ? std::to_string(run.optimum->starts.size()) : std::string("n/a");
     }},
    {"reasons", "", "of the verdict, with their entries",
     [](const run_result &run) {
         std::vector<std::string> names;
         for (const fitted_entry &entry : run.entries) names.push_back(entry.name);
         std::string text;
         if (run.optimum)
             for (const optimum_record::cause &cause : run.optimum->reasons)
                 text += (text.empty() ? "" : "; ") + cause_text(cause, names);
         return text_cell(text);
     }},
    {"level", "", "the gravest of the warnings: red, amber, note, none",
     [](const run_result &run) { return std::string(level_text(run.judgement.level())); }},
    {"warnings", "", "what a reader should know, as words with commas between; n/a without any",
     [](const run_result &run) { return text_cell(run.judgement.words()); }},
};

#undef FITTED
#undef FIGURE
#undef OPTIMUM

template <class columns>
std::string header_of(const columns &table, const table_shape &shape) {
    std::string line;
    for (const auto &column : table) {
        line += (line.empty() ? "" : "\t") + std::string(column.name);
        if (&column == &table[0])
            for (const table_shape::column &place : shape.places) line += "\t" + place.name;
    }
    return line + "\n";
}

// The words of a column that has a few only, with their meaning.
void add_levels(const std::string &column, ordered_json &item) {
    if (column == "status")
        for (const fit_status status : {fit_status::converged, fit_status::at_limit,
                                        fit_status::fitted, fit_status::not_fitted})
            item["Levels"][status_text(status)] = status_meaning(status);
    if (column == "level")
        item["Levels"] = {{"red", "do not use the numbers as they are"},
                          {"amber", "look before you use them"},
                          {"note", "where the numbers come from"},
                          {"none", "nothing to say"}};
    if (column == "warnings")
        for (const finding_kind kind : all_findings())
            item["Levels"][finding_text(kind)] = finding_meaning(kind);
    if (column == "type")
        for (int type = 1; type <= 4; ++type)
            item["Levels"][type_text(type)] =
                type == 4 ? "stored signal, shifted and broadened" : "line of that shape";
}

template <class columns>
std::string dictionary_of(const columns &table, const table_shape &shape) {
    ordered_json all;
    for (const auto &column : table) {
        ordered_json &item = all[column.name];
        item["Description"] = column.description;
        if (*column.unit != '\0') item["Units"] = column.unit;
        add_levels(column.name, item);
        if (&column == &table[0])
            for (const table_shape::column &place : shape.places)
                all[place.name]["Description"] = place.description;
    }
    return all.dump(2) + "\n";
}

void add_cells(std::string &line, const std::vector<std::string> &cells) {
    for (const std::string &cell : cells) line += "\t" + cell;
}

} // namespace

std::string results_header(const table_shape &shape) {
    return header_of(entry_columns, shape);
}

std::string quality_header(const table_shape &shape) {
    return header_of(spectrum_columns, shape);
}

std::string results_rows(const run_result &run, const std::vector<std::string> &places) {
    if (run.entries.empty()) {
        std::string line = text_cell(run.name);
        add_cells(line, places);
        line += "\t" + std::string(status_text(fit_status::not_fitted));
        for (std::size_t c = 2; c < std::size(entry_columns); ++c) line += "\tn/a";
        return line + "\n";
    }
    std::string rows;
    for (const fitted_entry &entry : run.entries) {
        rows += entry_columns[0].cell(run, entry);
        add_cells(rows, places);
        for (std::size_t c = 1; c < std::size(entry_columns); ++c)
            rows += "\t" + entry_columns[c].cell(run, entry);
        rows += "\n";
    }
    return rows;
}

std::string quality_row(const run_result &run, const std::vector<std::string> &places) {
    std::string line = spectrum_columns[0].cell(run);
    add_cells(line, places);
    for (std::size_t c = 1; c < std::size(spectrum_columns); ++c)
        line += "\t" + spectrum_columns[c].cell(run);
    return line + "\n";
}

std::string results_dictionary(const table_shape &shape) {
    return dictionary_of(entry_columns, shape);
}

std::string quality_dictionary(const table_shape &shape) {
    return dictionary_of(spectrum_columns, shape);
}

std::string link_text(const run_result &run, const fitted_parameter &parameter, bool is_area) {
    switch (parameter.state) {
    case parameter_state::free:
        return "free";
    case parameter_state::fixed:
        return "fixed";
    case parameter_state::unused:
        return "unused";
    case parameter_state::linked:
        break;
    }
    const std::string &other = run.entries[static_cast<std::size_t>(parameter.source - 1)].name;
    const double constant = parameter.link_constant;
    if (!std::isfinite(constant)) return other;
    if (is_area) {
        const std::string ratio = short_link_number(constant);
        return ratio == "1" ? other : other + " * " + ratio;
    }
    const std::string distance = difference_number(std::fabs(constant), parameter.value);
    if (distance == "0") return other;
    return other + (constant < 0.0 ? " - " : " + ") + distance;
}

const char *type_text(int type) {
    static const char *const names[] = {"gaussian", "lorentzian", "voigt", "pattern"};
    return type >= 1 && type <= 4 ? names[type - 1] : "unknown";
}

} // namespace tools
