// SPDX-License-Identifier: BSD-3-Clause
// table_calls.cpp -- the spectrum, the table of peaks and what it says about the spectrum
#include "web/binding/current_model.h"
#include "web/binding/module_calls.h"

#include "files/base/tool_error.h"
#include "files/problem/start_problem.h"
#include "files/results/derived_area.h"
#include "files/spectra/signal_file.h"
#include "files/start/show_start.h"
#include "files/start/table_edit.h"

#include <cmath>
#include <filesystem>

namespace web {

using tools::start_parameter;

current_model &current() {
    static current_model one;
    return one;
}

ordered_json open_spectrum(const ordered_json &asked) {
    current_model &now = current();
    const std::string folder = asked.at("folder").get<std::string>(),
                      name = asked.at("name").get<std::string>();
    const std::filesystem::path path = std::filesystem::path(folder) / name;
    const tools::metadata sidecar(path.string() + ".json");
    const tools::spectrum_facts facts = tools::facts_of_sidecar(sidecar);
    tools::complex_signal spectrum = tools::read_points(path.string() + ".bin", 0, facts.points);
    now.folder = folder;
    now.name = name;
    now.facts = facts;
    now.spectrum = std::move(spectrum);
    now.axis.emplace(facts, name + ".json");
    now.model.reset();
    now.table.reset();
    now.eye.reset();
    now.drawn = {};
    const tools::table_axis &axis = *now.axis;
    std::vector<double> hz, ppm;
    for (int i = 0; i < facts.points; ++i) {
        const double at = i * facts.hz_per_point;
        hz.push_back(axis.sense() * (at - axis.carrier_hz()));
        if (axis.knows_ppm()) ppm.push_back(axis.ppm_of(at));
    }
    ordered_json out = {{"points", facts.points},
                        {"hz_per_point", facts.hz_per_point},
                        {"hz", array_for_page("hz", std::move(hz))},
                        {"ppm", nullptr},
                        {"noise", nullptr},
                        {"sidecar", sidecar.items()}};
    if (!ppm.empty()) out["ppm"] = array_for_page("ppm", std::move(ppm));
    if (facts.noise) out["noise"] = {facts.noise->first, facts.noise->second};
    return out;
}

// ---- the table ----

static void make_model(current_model &now, const std::vector<std::string> &pattern_folders) {
    tools::problem_data data;
    data.spectrum = now.spectrum;
    data.noise_sd = now.noise_sd = tools::noise_sd_of(now.start.start, now.spectrum);
    if (!(data.noise_sd > 0.0)) data.noise_sd = now.noise_sd = 1.0; // noise-free: for looking only
    data.patterns = tools::patterns_of(now.start.start, pattern_folders);
    if (now.start.start.fit_mode == 2)
        data.measured_lineshape = tools::read_points(
            (std::filesystem::path(now.folder) / (now.name + ".bin.ref")).string(), 0,
            now.facts.points);
    engine::fit_problem problem =
        tools::problem_of(now.start.start, std::move(data), tools::freedom::by_links);
    for (engine::entry &entry : problem.entries)
        for (engine::parameter &own : entry.of)
            if (own.how == engine::link::fixed) own.how = engine::link::free;
    engine::result<engine::model> made = engine::model::make(problem);
    if (!made)
        throw tools::tool_error(
            tools::bad_input,
            std::string(table_name) + ": " +
                (made.why().entry >= 0
                     ? now.start.start.entries[static_cast<std::size_t>(made.why().entry)].name +
                           ": "
                     : "") +
                made.why().reason);
    now.model = std::move(*made);
    now.workspace.prepare(*now.model);
}

static const char *state_of(const start_parameter &own, std::size_t entry) {
    if (own.link == 0) return "free";
    return own.link == static_cast<int>(entry) + 1 ? "fixed" : "tied";
}

static ordered_json parameter_for_page(const current_model &now, std::size_t k, int q) {
    const tools::start_entry &entry = now.start.start.entries[k];
    const start_parameter &own = entry.of(q);
    const tools::table_cell &cell = now.table->rows[now.row_of[k]].of(q);
    const double to_points = tools::points_of_unit(q, entry.type, now.facts.hz_per_point);
    ordered_json out = {{"value", number_for_page(own.value)},
                        {"points", number_for_page(own.value * to_points)},
                        {"state", state_of(own, k)},
                        {"used", tools::is_used(q, entry.type)},
                        {"estimated", cell.kind == tools::cell_kind::estimate}};
    if (own.link > 0) out["source"] = own.link - 1;
    if (tools::is_width(q))
        out["hz"] =
            number_for_page(own.value * tools::width_unit(q, entry.type, now.facts.hz_per_point));
    if (q == tools::frequency_of) {
        const bool shift = entry.type == tools::pattern_entry;
        out["hz"] = number_for_page(now.axis->sense() *
                                    (shift ? own.value : own.value - now.axis->carrier_hz()));
        if (now.axis->knows_ppm() && !shift)
            out["ppm"] = number_for_page(now.axis->ppm_of(own.value));
    }
    const auto edge = [&](double value) {
        return std::fabs(value) < tools::no_edge ? ordered_json(value * to_points)
                                                 : ordered_json(nullptr);
    };
    if (own.window) out["window_points"] = {edge(own.window->first), edge(own.window->second)};
    return out;
}

static ordered_json entries_for_page(const current_model &now) {
    const std::vector<tools::cells_by_column> cells = tools::cells_of_table(now.text);
    ordered_json out = ordered_json::array();
    for (std::size_t k = 0; k < now.start.start.entries.size(); ++k) {
        const tools::start_entry &entry = now.start.start.entries[k];
        const std::size_t row = now.row_of[k];
        ordered_json text_of_row = ordered_json::object();
        for (const auto &[column, cell] : cells.at(row)) text_of_row[column] = cell;
        ordered_json one = {{"name", entry.name},
                            {"type", tools::type_name(entry.type)},
                            {"pattern", entry.type == tools::pattern_entry},
                            {"row", row},
                            {"line", now.table->rows[row].place.line},
                            {"cells", text_of_row},
                            {"of", ordered_json::object()}};
        for (int q = 0; q < tools::quantities; ++q)
            one["of"][tools::name_of(q)] = parameter_for_page(now, k, q);
        out.push_back(std::move(one));
    }
    return out;
}

// As varokel-fit does before its long work.
static void refuse_odd_expressions(const tools::peak_table &table) {
    std::vector<std::string> names;
    for (const tools::table_row &row : table.rows) names.push_back(row.name);
    for (const std::string &text : table.derived)
        tools::check_derived_area(names, table_name, text, table_name);
    for (const tools::amount_row &row : table.amounts.amounts)
        tools::check_derived_area(names, table_name, row.name + "=" + row.expression, table_name);
}

ordered_json set_table(const ordered_json &asked) {
    current_model &now = current();
    now.model.reset();
    now.drawn.components = nullptr;
    now.table.reset();
    now.text = asked.at("text").get<std::string>();
    const std::string folder = asked.at("patterns").get<std::string>();
    if (now.spectrum.empty()) throw std::runtime_error("no spectrum is open");
    tools::peak_table table = tools::parse_peak_table(now.text, table_name);
    now.row_of = tools::rows_of_entries(table);
    refuse_odd_expressions(table);
    tools::start_maker maker(table, {folder}, tools::fit_method::exact);
    now.start = maker.make(now.spectrum, now.facts);
    now.table = std::move(table);
    make_model(now, {folder});
    const tools::start_file &start = now.start.start;
    ordered_json out = {{"entries", entries_for_page(now)},
                        {"intervals", ordered_json::array()},
                        {"noise", {start.noise_first, start.noise_stop}},
                        {"noise_sd", number_for_page(now.noise_sd)},
                        {"guesses", now.start.guesses},
                        {"warnings", now.start.warnings},
                        {"notes", now.start.notes},
                        {"why_not_exact", tools::why_not_exact(start)},
                        {"derived", now.table->derived.size()},
                        {"amounts", now.table->amounts.amounts.size()}};
    for (const engine::interval &each : now.model->intervals())
        out["intervals"].push_back({each.first, each.last});
    if (asked.value("files", false)) {
        out["start_file"] = now.start.text();
        out["names"] = tools::names_text(start);
        out["explained"] = tools::explained(now.start, *now.axis);
    }
    return out;
}

// ---- changes of its text ----

static int quantity_named(const std::string &column) {
    for (int q = 0; q < tools::quantities; ++q)
        if (column == tools::name_of(q)) return q;
    throw std::runtime_error("no such column: " + column);
}

// points: of the parameter, as the model has it. Of the table that was set last.
static std::string number_for_cell(const ordered_json &asked) {
    const current_model &now = current();
    if (!now.table) throw std::runtime_error("the table has an error");
    const std::size_t row = asked.at("row").get<std::size_t>();
    const int q = quantity_named(asked.at("column").get<std::string>());
    const tools::table_row &own = now.table->rows.at(row);
    const double hz = now.facts.hz_per_point;
    double value = asked.at("points").get<double>() / tools::points_of_unit(q, own.type, hz);
    if (tools::is_width(q)) value *= tools::width_unit(q, own.type, hz);
    const std::vector<tools::cells_by_column> cells =
        tools::cells_of_table(asked.at("text").get<std::string>());
    const auto before = cells.at(row).find(tools::name_of(q));
    return tools::number_cell(
        *now.table, row, q, value, *now.axis, before == cells.at(row).end() ? "-" : before->second,
        asked.value("exact", false) ? tools::cell_digits::all : tools::cell_digits::by_hand);
}

ordered_json edit_table(const ordered_json &asked) {
    const std::string what = asked.at("edit").get<std::string>();
    const auto given = [&](const char *item) { return asked.at(item).get<std::string>(); };
    std::string text;
    if (what == "empty") {
        text = tools::empty_table(current().axis && current().axis->knows_ppm());
    } else if (what == "number") {
        text = tools::with_cell(given("text"), asked.at("row").get<std::size_t>(), given("column"),
                                number_for_cell(asked));
    } else if (what == "cell") {
        text = tools::with_cell(given("text"), asked.at("row").get<std::size_t>(), given("column"),
                                given("cell"));
    } else if (what == "row") {
        tools::cells_by_column cells;
        for (const auto &[column, cell] : asked.at("cells").items())
            cells[column] = cell.get<std::string>();
        text = tools::with_row(given("text"), cells);
    } else if (what == "without row") {
        text = tools::without_row(given("text"), asked.at("row").get<std::size_t>());
    } else if (what == "name") {
        text = tools::with_name(given("text"), asked.at("row").get<std::size_t>(), given("name"));
    } else if (what == "key") {
        text = tools::with_key(given("text"), given("key"), given("value"));
    } else {
        throw std::runtime_error("no such edit: " + what);
    }
    return {{"text", text}};
}

} // namespace web
