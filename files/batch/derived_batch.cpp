// SPDX-License-Identifier: BSD-3-Clause
// derived_batch.cpp -- sums, ratios, pH of all fits of a batch
#include "files/batch/derived_batch.h"

#include "files/base/not_known.h"
#include "files/base/tool_error.h"
#include "files/batch/water_areas.h"
#include "files/results/amounts.h"

#include <algorithm>

namespace tools {

std::vector<std::string> expressions_of(const batch_plan &plan,
                                        const std::vector<expression_list> &lists) {
    const std::string manifest = plan.file("manifest.json");
    if (plan.has_amounts())
        for (const auto &each : plan.head.at("water").at("amounts"))
            check_derived_area(plan.entry_names, plan.folder,
                               each.at("name").get<std::string>() + "=" +
                                   each.at("expression").get<std::string>(),
                               manifest);
    std::vector<std::string> all;
    for (const expression_list &list : lists)
        for (const std::string &text : list.texts) {
            check_derived_area(plan.entry_names, plan.folder, text, list.file);
            const auto same = std::find_if(all.begin(), all.end(), [&](const std::string &other) {
                return derived_name(other) == derived_name(text);
            });
            if (same == all.end())
                all.push_back(text);
            else if (derived_expression(*same) != derived_expression(text))
                refuse_derived(list.file, "\"" + text + "\": " + derived_name(text) +
                                              " is derived already; expected another name before "
                                              "the \"=\"");
        }
    return all;
}

std::vector<derived_column> derive_batch(const batch_plan &plan, const plan_lines &lines,
                                         all_parts &parts,
                                         const std::vector<std::string> &expressions) {
    const std::vector<double> none(static_cast<std::size_t>(plan.spectra), not_known);
    std::vector<derived_column> columns;
    for (const std::string &text : expressions)
        columns.push_back({derived_name(text), derived_expression(text), "", none, none});
    const std::vector<water_area> water = read_water_areas(plan);
    if (plan.has_amounts())
        for (const auto &each : plan.head.at("water").at("amounts"))
            columns.push_back({each.at("name").get<std::string>(),
                               each.at("expression").get<std::string>() + by_water,
                               plan.head.at("water").at("unit").get<std::string>(), none, none});
    const batch_table table(plan);
    for (long long line = 0; line < plan.spectra && !columns.empty(); ++line) {
        const planned_spectrum spectrum = lines.read(line);
        const fit_record &record = parts.read(line);
        if (record.state != fit_state::fitted) continue;
        const run_result run = table.result_of(spectrum, record);
        const auto number = static_cast<std::size_t>(spectrum.number);
        for (std::size_t e = 0; e < expressions.size(); ++e) {
            const derived_area derived = derive_area(run, expressions[e]);
            columns[e].values[number] = derived.value;
            columns[e].errors[number] = derived.error_1sd;
        }
        if (water.empty() || !(water[number].area > 0.0)) continue;
        const std::vector<derived_area> amounts =
            amounts_of(run, plan.head.at("water"), water[number].area, water[number].error);
        for (std::size_t a = 0; a < amounts.size(); ++a) {
            columns[expressions.size() + a].values[number] = amounts[a].value;
            columns[expressions.size() + a].errors[number] = amounts[a].error_1sd;
        }
    }
    return columns;
}

std::string derived_table(const batch_plan &plan, const plan_lines &lines,
                          const std::vector<derived_column> &columns) {
    const std::vector<long long> line_of = lines_by_number(plan, lines);
    std::string text = derived_header(table_shape_of(plan));
    for (std::size_t n = 0; n < line_of.size(); ++n) {
        const planned_spectrum spectrum = lines.read(line_of[n]);
        for (const derived_column &column : columns) {
            derived_area derived;
            derived.name = column.name;
            derived.expression = column.expression;
            derived.value = column.values[n];
            derived.error_1sd = column.errors[n];
            derived.unit = column.unit;
            text += derived_row(spectrum.name, derived, places_of(plan, spectrum));
        }
    }
    return text;
}

} // namespace tools
