// SPDX-License-Identifier: BSD-3-Clause
#include "files/batch/batch_table.h"

#include "files/base/not_known.h"
#include "files/results/equivalent_signs.h"
#include "files/results/results_table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace tools {

static constexpr double most_percent = 999.0;

const char *map_name(map_quantity quantity) {
    static const char *const names[] = {"area",         "area_error_1sd", "area_error_percent_1sd",
                                        "frequency",    "shift",          "gauss_fwhm",
                                        "lorentz_fwhm", "phase",          "quality",
                                        "noise_sd",     "iterations"};
    return names[static_cast<int>(quantity)];
}

const char *map_unit(map_quantity quantity) {
    static const char *const units[] = {"[signal]", "[signal]",  "[%]", "[Hz]",     "[ppm]", "[Hz]",
                                        "[Hz]",     "[degrees]", "[1]", "[signal]", "[1]"};
    return units[static_cast<int>(quantity)];
}

static std::string printed(const char *format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return std::strtod(text, nullptr) == 0.0 && text[0] == '-' ? text + 1 : text;
}

std::string table_text(double value) {
    return std::isfinite(value) ? printed("%.9g", value) : "n/a";
}

static std::string one_cell(const std::string &text) {
    std::string out;
    for (const char c : text) out += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    return out.empty() ? "n/a" : out;
}

batch_table::batch_table(const batch_plan &plan)
    : plan_(plan), hz_per_point_(plan.scale.hz_per_point.value_or(plan.start.hz_per_point)),
      carrier_hz_(static_cast<double>(plan.points / 2) * hz_per_point_) {
    int number = 0;
    for (const start_step &step : plan.start.steps) {
        ++number;
        if (!fits_something(step)) continue;
        common_.step = {step.algorithm == 1, number, step.switches[iterations]};
        intervals_.assign(step.intervals.begin(), step.intervals.end());
    }
    common_.points = plan.scale.points;
    common_.measured = plan.scale.measured;
    common_.error_factor = plan.scale.error_factor();
    const auto add_guesses = [&](const nlohmann::ordered_json &list) {
        for (const auto &guess : list) common_.guesses.push_back(guess.dump());
    };
    add_guesses(plan.head.value("guessed", nlohmann::ordered_json::array()));
    add_guesses(plan.head.value("source", nlohmann::ordered_json::object())
                    .value("guessed", nlohmann::ordered_json::array()));
    if (!plan.scale.mhz || !plan.scale.ppm_at_carrier)
        common_.no_ppm = finding_meaning(finding_kind::no_ppm);
}

batch_table::shown batch_table::parameter(const fit_record &record, std::size_t entry,
                                          int quantity) const {
    const start_entry &own = plan_.start.entries[entry];
    if (record.state != fit_state::fitted || !is_used(quantity, own.type))
        return {not_known, not_known};
    const std::size_t at = 5 * entry + static_cast<std::size_t>(quantity);
    const double factor = width_unit(quantity, own.type, hz_per_point_);
    bool any = false;
    for (const double error : record.errors) any = any || error != 0.0;
    const bool fixed =
        own.parameters[static_cast<std::size_t>(quantity)].link == static_cast<int>(entry) + 1;
    return {record.values[at] * factor,
            any && !fixed ? record.errors[at] * factor * plan_.scale.error_factor() : not_known};
}

std::vector<bool> batch_table::turned(const fit_record &record) const {
    std::vector<signed_entry> signs;
    for (std::size_t k = 0; k < plan_.start.entries.size(); ++k) {
        const auto &own = plan_.start.entries[k].parameters;
        signs.push_back({own[area_of].link, own[phase_of].link, record.values[5 * k + area_of],
                         own[area_of].value});
    }
    return entries_to_turn(signs);
}

fit_record batch_table::with_signs(fit_record record) const {
    const std::vector<bool> turn = turned(record);
    for (std::size_t k = 0; k < turn.size(); ++k) {
        if (!turn[k]) continue;
        record.values[5 * k + area_of] *= -1.0;
        record.values[5 * k + phase_of] += 180.0;
    }
    return record;
}

double batch_table::ppm(std::size_t entry, double hz) const {
    const bool is_shift = plan_.start.entries[entry].type == pattern_entry;
    const double sense = plan_.scale.ppm_rises_with_points ? 1.0 : -1.0;
    const double from_carrier = is_shift ? hz : hz - carrier_hz_;
    return sense * from_carrier / plan_.scale.mhz.value_or(not_known) +
           (is_shift ? 0.0 : plan_.scale.ppm_at_carrier.value_or(not_known));
}

static double percent_of(double value, double error_2sd) {
    if (!std::isfinite(value) || !std::isfinite(error_2sd) || error_2sd < 0.0) return not_known;
    if (value == 0.0) return error_2sd == 0.0 ? not_known : most_percent;
    return std::min(most_percent, 100.0 * 0.5 * error_2sd / std::fabs(value));
}

std::string batch_table::link(const fit_record &record, std::size_t entry, int quantity) const {
    const start_entry &own = plan_.start.entries[entry];
    if (!is_used(quantity, own.type)) return "unused";
    const int link = own.parameters[static_cast<std::size_t>(quantity)].link;
    if (link == 0) return "free";
    if (link == static_cast<int>(entry) + 1) return "fixed";
    const auto source = static_cast<std::size_t>(link - 1);
    const std::string name = one_cell(plan_.entry_names[source]);
    const double value = parameter(record, entry, quantity).value;
    const double other = parameter(record, source, quantity).value;
    if (!std::isfinite(value) || !std::isfinite(other)) return name;
    if (quantity == area_of) {
        if (other == 0.0) return name;
        const std::string ratio = printed("%.6g", value / other);
        return ratio == "1" ? name : name + " * " + ratio;
    }
    // both are of single precision
    const double distance = value - other;
    const double unit = 1e-6 * std::max(std::fabs(value), std::fabs(other));
    if (std::fabs(distance) <= unit) return name;
    return name + (distance < 0.0 ? " - " : " + ") + printed("%.6g", std::fabs(distance));
}

std::string batch_table::signs_text(const fit_record &record) const {
    if (record.state != fit_state::fitted) return "";
    std::string names;
    const std::vector<bool> turn = turned(record);
    for (std::size_t k = 0; k < turn.size(); ++k)
        if (turn[k]) names += (names.empty() ? "" : ", ") + plan_.entry_names[k];
    return names.empty()
               ? ""
               : "shown with areas of the other sign and phases turned by 180 degrees: " + names;
}

fit_judgement batch_table::judgement(const fit_record &as_fitted) const {
    const fit_record record =
        as_fitted.state == fit_state::fitted ? with_signs(as_fitted) : as_fitted;
    fit_facts facts = common_;
    facts.fitted = record.state == fit_state::fitted;
    facts.why_not = record.reason;
    facts.iterations = record.iterations;
    facts.gradients = record.gradients;
    facts.quality = record.figures[0];
    facts.noise_re = record.figures[1];
    facts.noise_im = record.figures[2];
    for (std::size_t at = 0; facts.fitted && at < record.reason.size();) {
        const std::size_t end = std::min(record.reason.find(remark_end, at), record.reason.size());
        const std::string text = record.reason.substr(at, end - at);
        if (text == finding_meaning(finding_kind::degenerate))
            facts.singular = true;
        else
            facts.remarks.push_back(text);
        at = end + std::strlen(remark_end);
    }
    for (const double error : record.errors) facts.has_errors = facts.has_errors || error != 0.0;
    for (std::size_t k = 0; facts.fitted && k < plan_.entry_names.size(); ++k) {
        judged_entry entry;
        const std::string place = "#" + std::to_string(k + 1);
        const std::string &name = plan_.entry_names[k];
        entry.name = name == place ? name : name + " (" + place + ")";
        const int type = plan_.start.entries[k].type;
        for (int q = 0; q < quantities; ++q) {
            if (!is_used(q, type)) continue;
            const std::size_t at = 5 * k + static_cast<std::size_t>(q);
            entry.finite = entry.finite && std::isfinite(record.values[at]);
            if (plan_.start.entries[k].parameters[static_cast<std::size_t>(q)].link == 0)
                entry.bounded = entry.bounded && std::isfinite(record.errors[at]);
        }
        const shown area = parameter(record, k, area_of);
        entry.free_area = plan_.start.entries[k].parameters[area_of].link == 0;
        entry.area = area.value;
        entry.area_percent = percent_of(area.value, area.error_2sd);
        entry.lorentz_width = parameter(record, k, lorentz_of).value;
        if (type != pattern_entry)
            entry.inside =
                is_inside(intervals_, parameter(record, k, frequency_of).value / hz_per_point_);
        facts.entries.push_back(std::move(entry));
    }
    return judge(facts);
}

struct column_text {
    const char *name, *unit, *description;
};

static const column_text results_columns[] = {
    {"status", "", "how the fit ended"},
    {"entry", "", "number of the entry in the control file, from 1; lines first, then patterns"},
    {"name", "", "name of the entry"},
    {"type", "", "type of the entry"},
    {"area", "signal", "amplitude of the FID at time 0"},
    {"area_error_1sd", "signal", "Cramer-Rao bound, one standard deviation"},
    {"area_error_2sd", "signal", "Cramer-Rao bound, two standard deviations"},
    {"area_error_percent_1sd", "%",
     "Cramer-Rao bound, one standard deviation, of the magnitude of the area, 999 at most"},
    {"area_link", "", "free, fixed, unused, or the entry that it follows with ratio or distance"},
    {"frequency_hz", "Hz", "from the left edge of the spectrum; the shift of a pattern"},
    {"frequency_error_1sd_hz", "Hz", "Cramer-Rao bound, one standard deviation"},
    {"frequency_error_2sd_hz", "Hz", "Cramer-Rao bound, two standard deviations"},
    {"frequency_link", "", "as area_link"},
    {"frequency_from_carrier_hz", "Hz", "from the carrier; the shift of a pattern"},
    {"shift_ppm", "ppm", "chemical shift; of a pattern, its displacement"},
    {"shift_error_1sd_ppm", "ppm", "Cramer-Rao bound, one standard deviation"},
    {"shift_error_2sd_ppm", "ppm", "Cramer-Rao bound, two standard deviations"},
    {"gauss_fwhm_hz", "Hz",
     "full width at half height of the Gaussian part, with 1.67 for 2 sqrt(ln 2)"},
    {"gauss_fwhm_error_1sd_hz", "Hz", "Cramer-Rao bound, one standard deviation"},
    {"gauss_fwhm_error_2sd_hz", "Hz", "Cramer-Rao bound, two standard deviations"},
    {"gauss_fwhm_link", "", "as area_link"},
    {"lorentz_fwhm_hz", "Hz", "full width at half height of the Lorentzian part"},
    {"lorentz_fwhm_error_1sd_hz", "Hz", "Cramer-Rao bound, one standard deviation"},
    {"lorentz_fwhm_error_2sd_hz", "Hz", "Cramer-Rao bound, two standard deviations"},
    {"lorentz_fwhm_link", "", "as area_link"},
    {"phase_degrees", "degrees", "zero-order phase"},
    {"phase_error_1sd_degrees", "degrees", "Cramer-Rao bound, one standard deviation"},
    {"phase_error_2sd_degrees", "degrees", "Cramer-Rao bound, two standard deviations"},
    {"phase_link", "", "as area_link"},
    {"snr", "1", "highest magnitude of the entry's own spectrum over the noise standard deviation"},
    {"warnings", "", entry_warnings_description},
};

static const column_text quality_columns[] = {
    {"status", "", "how the fit ended"},
    {"reason", "", "why there are no results, or what to know about them"},
    {"entries", "1", "lines and patterns of the model"},
    {"free_parameters", "1", "parameters that were fitted"},
    {"fit_quality", "1",
     "root mean square of the residual in the fitted points over the noise standard deviation"},
    {"fit_quality_before", "1", "the same with the start values, over the same points"},
    {"chi_square_before", "signal^2", "weighted sum of squares with the start values"},
    {"chi_square_after", "signal^2", "weighted sum of squares of the fit"},
    {"noise_sd_real", "signal", "standard deviation of the real part in the noise window"},
    {"noise_sd_imaginary", "signal",
     "standard deviation of the imaginary part in the noise window"},
    {"snr", "1",
     "highest magnitude of the model in the fitted points over the noise standard deviation"},
    {"last_step_iterations", "1", "iterations of the last step"},
    {"level", "", level_description},
    {"warnings", "", warnings_description},
};

template <class columns>
static std::string header(const batch_plan &plan, const columns &table) {
    std::string line = "spectrum";
    for (const plan_axis &axis : plan.axes) line += "\t" + axis.name;
    for (const column_text &column : table) line += "\t" + std::string(column.name);
    return line + "\n";
}

template <class columns>
static std::string dictionary(const batch_plan &plan, const columns &table) {
    nlohmann::ordered_json all;
    all["spectrum"]["Description"] = "name of the spectrum";
    for (const plan_axis &axis : plan.axes)
        all[axis.name]["Description"] = axis.spatial ? "voxel along " + axis.name + ", from 0"
                                                     : "place along " + axis.name + ", from 0";
    for (const column_text &column : table) {
        const std::string name = column.name;
        all[name]["Description"] = column.description;
        if (*column.unit != '\0') all[name]["Units"] = column.unit;
        describe_judgement(name, all[name]);
        if (name == "type")
            all[name]["Levels"] = {{"gaussian", "line of that shape"},
                                   {"lorentzian", "line of that shape"},
                                   {"voigt", "line of that shape"},
                                   {"pattern", "stored signal, shifted and broadened"}};
    }
    return all.dump(2) + "\n";
}

std::string batch_table::results_header() const {
    return header(plan_, results_columns);
}
std::string batch_table::quality_header() const {
    return header(plan_, quality_columns);
}
std::string batch_table::results_dictionary() const {
    return dictionary(plan_, results_columns);
}
std::string batch_table::quality_dictionary() const {
    return dictionary(plan_, quality_columns);
}

std::string batch_table::place(const planned_spectrum &spectrum) const {
    std::string cells = one_cell(spectrum.name);
    for (const long long at : spectrum.at) cells += "\t" + std::to_string(at);
    return cells;
}

std::string batch_table::results_rows(const planned_spectrum &spectrum,
                                      const fit_record &fitted) const {
    const fit_record record = with_signs(fitted);
    static const char *const types[] = {"unknown", "gaussian", "lorentzian", "voigt", "pattern"};
    std::string rows;
    const fit_judgement judged = judgement(record);
    const std::string ended = status_text(judged.status);
    for (std::size_t k = 0; k < plan_.entry_names.size(); ++k) {
        const int type = plan_.start.entries[k].type;
        rows += place(spectrum) + "\t" + ended + "\t" + std::to_string(k + 1) + "\t" +
                one_cell(plan_.entry_names[k]) + "\t" + types[type >= 1 && type <= 4 ? type : 0];
        const auto add = [&](double value) { rows += "\t" + table_text(value); };
        const auto add_errors = [&](double error_2sd) {
            add(0.5 * error_2sd);
            add(error_2sd);
        };
        const shown area = parameter(record, k, area_of);
        add(area.value);
        add_errors(area.error_2sd);
        add(percent_of(area.value, area.error_2sd));
        rows += "\t" + link(record, k, area_of);
        const shown frequency = parameter(record, k, frequency_of);
        const double mhz = plan_.scale.mhz.value_or(not_known);
        add(frequency.value);
        add_errors(frequency.error_2sd);
        rows += "\t" + link(record, k, frequency_of);
        add(type == pattern_entry ? frequency.value : frequency.value - carrier_hz_);
        add(ppm(k, frequency.value));
        add_errors(frequency.error_2sd / mhz);
        for (const int quantity : {gauss_of, lorentz_of, phase_of}) {
            const shown each = parameter(record, k, quantity);
            add(quantity == phase_of ? principal_phase(each.value) : each.value);
            add_errors(each.error_2sd);
            rows += "\t" + link(record, k, quantity);
        }
        add(record.entry_snr[k]);
        rows += "\t" + one_cell(judged.words_of(k)) + "\n";
    }
    return rows;
}

std::string batch_table::quality_row(const planned_spectrum &spectrum,
                                     const fit_record &record) const {
    const bool fitted = record.state == fit_state::fitted;
    const auto count = [&](long long value) {
        return "\t" + (fitted ? std::to_string(value) : std::string("n/a"));
    };
    const fit_judgement judged = judgement(record);
    const std::string signs = signs_text(record);
    std::string row =
        place(spectrum) + "\t" + status_text(judged.status) + "\t" +
        one_cell(judged.reason + (judged.reason.empty() || signs.empty() ? "" : "; ") + signs);
    row += count(static_cast<long long>(plan_.entry_names.size()));
    row += count(record.free_parameters);
    for (const double figure :
         {record.figures[0], record.quality_before, record.figures[3], record.figures[4],
          record.figures[1], record.figures[2], record.snr})
        row += "\t" + table_text(figure);
    return row + count(record.iterations) + "\t" + level_text(judged.level()) + "\t" +
           one_cell(judged.words()) + "\n";
}

std::vector<map_quantity> batch_table::entry_maps(std::size_t entry) const {
    const int type = plan_.start.entries[entry].type;
    std::vector<map_quantity> maps = {map_quantity::area, map_quantity::area_error,
                                      map_quantity::area_percent, map_quantity::frequency};
    if (plan_.scale.mhz && plan_.scale.ppm_at_carrier) maps.push_back(map_quantity::frequency_ppm);
    if (is_used(gauss_of, type)) maps.push_back(map_quantity::gauss_width);
    if (is_used(lorentz_of, type)) maps.push_back(map_quantity::lorentz_width);
    maps.push_back(map_quantity::phase);
    return maps;
}

std::vector<map_quantity> batch_table::fit_maps() const {
    return {map_quantity::quality, map_quantity::noise, map_quantity::iterations};
}

double batch_table::value_of(map_quantity quantity, const fit_record &record,
                             std::size_t entry) const {
    const bool turn = (quantity == map_quantity::area || quantity == map_quantity::phase) &&
                      turned(record)[entry];
    shown area = parameter(record, entry, area_of);
    if (turn) area.value = -area.value;
    switch (quantity) {
    case map_quantity::area:
        return area.value;
    case map_quantity::area_error:
        return 0.5 * area.error_2sd;
    case map_quantity::area_percent:
        return percent_of(area.value, area.error_2sd);
    case map_quantity::frequency:
        return parameter(record, entry, frequency_of).value;
    case map_quantity::frequency_ppm:
        return ppm(entry, parameter(record, entry, frequency_of).value);
    case map_quantity::gauss_width:
        return parameter(record, entry, gauss_of).value;
    case map_quantity::lorentz_width:
        return parameter(record, entry, lorentz_of).value;
    case map_quantity::phase:
        return principal_phase(parameter(record, entry, phase_of).value + (turn ? 180.0 : 0.0));
    case map_quantity::quality:
        return record.figures[0];
    case map_quantity::noise:
        return record.figures[1];
    case map_quantity::iterations:
        return record.iterations;
    }
    return not_known;
}

} // namespace tools
