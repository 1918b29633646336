// SPDX-License-Identifier: BSD-3-Clause
// batch_table.cpp -- records of fits as rows of tables, and as values of maps
#include "files/batch/batch_table.h"

#include "files/batch/plan_head.h"
#include "files/results/judge_run.h"
#include "files/results/number_text.h"
#include "files/results/fitted_entries.h"
#include "files/results/run_files.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <set>
#include <string_view>

namespace tools {

#define OF_ENTRY(expression) [](const fit_record &, const fitted_entry &e) { return expression; }
#define OF_FIT(expression)                                                                         \
    [](const fit_record &r, const fitted_entry &) { return static_cast<double>(expression); }

// Those of an entry first.
static constexpr map_quantity maps[] = {
    {"area", "[signal]", OF_ENTRY(e.area.value)},
    {"area_error_1sd", "[signal]", OF_ENTRY(e.area.error_1sd())},
    {"area_error_percent_1sd", "[%]", OF_ENTRY(e.area.percent_1sd())},
    {"frequency", "[Hz]", OF_ENTRY(e.frequency.value)},
    {"shift", "[ppm]", OF_ENTRY(e.ppm)},
    {"gauss_fwhm", "[Hz]", OF_ENTRY(e.gauss_width.value)},
    {"lorentz_fwhm", "[Hz]", OF_ENTRY(e.lorentz_width.value)},
    {"phase", "[degrees]", OF_ENTRY(e.phase.value)},
    {"quality", "[1]", OF_FIT(r.figures[0])},
    {"noise_sd", "[signal]", OF_FIT(r.figures[1])},
    {"iterations", "[1]", OF_FIT(r.iterations)}};
static constexpr std::size_t maps_of_entry = 8;

#undef OF_ENTRY
#undef OF_FIT

std::span<const map_quantity> every_map() {
    return maps;
}

static std::vector<std::string> texts_of(const ordered_json &list) {
    std::vector<std::string> texts;
    for (const auto &each : list)
        texts.push_back(each.is_string() ? each.get<std::string>() : each.dump());
    return texts;
}

// What the judgement asks of a control file: the steps and whether there is one.
static rebuilt_model control_of(const start_file &start, double hz_per_point) {
    rebuilt_model control;
    control.read = true;
    control.hz_per_point = hz_per_point;
    control.steps = start.steps;
    return control;
}

table_shape table_shape_of(const batch_plan &plan) {
    table_shape shape;
    for (const plan_axis &axis : plan.axes) {
        shape.places.push_back(
            {axis.name, (axis.spatial ? "voxel along " : "place along ") + axis.name + ", from 0"});
        if (!axis.seconds.empty())
            shape.places.push_back(
                {axis.name + "_seconds", "time of that place along " + axis.name + " [s]"});
    }
    return shape;
}

std::vector<std::string> places_of(const batch_plan &plan, const planned_spectrum &spectrum) {
    std::vector<std::string> places;
    for (std::size_t a = 0; a < plan.axes.size(); ++a) {
        places.push_back(std::to_string(spectrum.at[a]));
        if (!plan.axes[a].seconds.empty())
            places.push_back(
                table_number(plan.axes[a].seconds[static_cast<std::size_t>(spectrum.at[a])]));
    }
    return places;
}

batch_table::batch_table(const batch_plan &plan) : plan_(plan) {
    common_.axis = plan.scale;
    common_.axis.points = plan.points;
    if (!common_.axis.hz_per_point) common_.axis.hz_per_point = plan.start.hz_per_point;
    common_.control = control_of(plan.start, *common_.axis.hz_per_point);
    const auto nothing = ordered_json::array();
    common_.start_guesses = texts_of(plan.head.value("guessed", nothing));
    const auto source = plan.head.value("source", ordered_json::object());
    common_.sidecar = {{"guessed", ordered_json(source.value("guessed", nothing))}};
    for (const start_entry &entry : plan.start.entries) {
        linked_entry &row = rows_.emplace_back();
        row.type = entry.type;
        for (std::size_t q = 0; q < row.link.size(); ++q) row.link[q] = entry.parameters[q].link;
        start_areas_.push_back(entry.parameters[area_of].value);
    }
    const table_shape shape = table_shape_of(plan);
    for (const std::string &header : {results_header(shape), quality_header(shape)}) {
        std::set<std::string> columns;
        for (const std::string &column : split(header.substr(0, header.find('\n')), '\t'))
            if (!columns.insert(column).second)
                refuse_manifest(plan.file("manifest.json"),
                                "has an axis that is called as a column of its tables is: " +
                                    column);
    }
}

std::vector<fitted_entry> batch_table::entries_of(const fit_record &record,
                                                  std::vector<bool> &turned) const {
    std::vector<parameter_row> values(rows_.size()), errors(rows_.size());
    for (std::size_t k = 0; k < rows_.size(); ++k) {
        std::copy_n(&record.values[5 * k], 5, values[k].begin());
        std::copy_n(&record.errors[5 * k], 5, errors[k].begin());
    }
    std::vector<fitted_entry> entries = shown_entries(rows_, values, errors, common_.axis);
    place_entries(entries, common_.axis, plan_.points);
    turned = choose_signs(entries, start_areas_);
    return entries;
}

std::vector<fitted_entry> batch_table::entries_of(const fit_record &record) const {
    std::vector<bool> turned;
    return entries_of(record, turned);
}

// What a fitted record remarks.
static void take_remarks(const fit_record &record, run_result &run) {
    for (std::size_t at = 0; at < record.reason.size();) {
        const std::size_t end = std::min(record.reason.find(remark_end, at), record.reason.size());
        const std::string text = record.reason.substr(at, end - at);
        if (text == finding_meaning(finding_kind::degenerate))
            run.singular = true;
        else
            run.log_remarks.push_back(text);
        at = end + std::strlen(remark_end);
    }
}

static optimum_record optimum_of(const exact_facts &facts) {
    optimum_record optimum;
    optimum.method = name_of(facts.method);
    optimum.verdict = engine::name_of(facts.verdict);
    optimum.expected_decrease = facts.expected_decrease;
    if (facts.method == fit_method::both && std::isfinite(facts.search_distance))
        optimum.search_distance = facts.search_distance;
    optimum.reasons = facts.reasons;
    optimum.starts.resize(static_cast<std::size_t>(facts.starts));
    return optimum;
}

// The covariance of the fit as a single run of it has it: widened and turned like its values.
static void take_covariance(const start_file &start, const fit_record &record,
                            const std::vector<bool> &turned, run_result &run) {
    if (record.correlations.empty() && record_shape_of(start).correlations > 0) return;
    run.control.entries.resize(start.entries.size());
    run.control.covariance =
        covariance_of_all(start, record.values, record.errors, record.correlations);
    const double wider = run.axis.error_factor() * run.axis.error_factor();
    for (double &covariance : run.control.covariance) covariance *= wider;
    turn_covariance(run.control, turned);
}

run_result batch_table::result_of(const planned_spectrum &spectrum,
                                  const fit_record &record) const {
    run_result run = common_;
    run.name = spectrum.name;
    run.fitted = record.state == fit_state::fitted;
    std::vector<bool> turned;
    run.entries = entries_of(record, turned);
    std::string names;
    for (std::size_t k = 0; k < rows_.size(); ++k) {
        run.entries[k].name = plan_.entry_names[k];
        run.entries[k].snr = record.entry_snr[k];
        if (run.fitted && turned[k]) names += (names.empty() ? "" : ", ") + plan_.entry_names[k];
    }
    if (!names.empty())
        run.remark =
            "shown with areas of the other sign and phases turned by 180 degrees: " + names;
    if (run.fitted) take_remarks(record, run);
    for (const std::string &text : run.log_remarks)
        if (text.starts_with(no_exact_fit) || text.starts_with(no_search) ||
            text.starts_with(no_other_start))
            run.remark += (run.remark.empty() ? "" : "; ") + text;
    if (!run.fitted) run.why_not = record.reason;
    for (const double error : record.errors) run.has_errors = run.has_errors || error != 0.0;
    if (run.fitted) take_covariance(plan_.start, record, turned, run);
    run.quality = record.figures[0];
    run.noise_re = record.figures[1];
    run.noise_im = record.figures[2];
    run.chi_before = record.figures[3];
    run.chi_after = record.figures[4];
    run.quality_before = record.quality_before;
    run.snr = record.snr;
    run.iterations = record.iterations;
    run.free_parameters = record.free_parameters;
    if (record.gradients > 0) run.log_steps.push_back({record.gradients, 0.0});
    if (record.exact) run.optimum = optimum_of(*record.exact);
    judge_run(run);
    return run;
}

batch_rows batch_table::rows_of(const planned_spectrum &spectrum, const fit_record &record) const {
    run_result run = result_of(spectrum, record);
    const std::vector<std::string> places = places_of(plan_, spectrum);
    return {results_rows(run, places), quality_row(run, places), std::move(run.judgement)};
}

std::vector<map_quantity> batch_table::entry_maps(std::size_t entry) const {
    const int type = plan_.start.entries[entry].type;
    std::vector<map_quantity> own;
    for (const map_quantity &each : every_map().first(maps_of_entry)) {
        const std::string_view name = each.name;
        if ((name != "shift" || plan_.scale.knows_ppm()) &&
            (name != "gauss_fwhm" || is_used(gauss_of, type)) &&
            (name != "lorentz_fwhm" || is_used(lorentz_of, type)))
            own.push_back(each);
    }
    return own;
}

std::vector<map_quantity> batch_table::fit_maps() const {
    return {std::begin(maps) + maps_of_entry, std::end(maps)};
}

} // namespace tools
