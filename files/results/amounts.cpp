// SPDX-License-Identifier: BSD-3-Clause
// amounts.cpp -- amounts of substance by the water of the same voxel
#include "files/results/amounts.h"

#include "files/base/tool_error.h"

#include "kernel/elementary.h"

#include <cmath>

namespace tools {

// 1000 g over the molar mass of water, 18.01528 g/mol [mmol/kg].
static constexpr double water_of_a_kilogram = 1e6 / 18.01528;
static constexpr double protons_of_water = 2.0;

double relaxation_left(std::optional<double> t1, std::optional<double> t2,
                       std::optional<double> echo_time, std::optional<double> repetition_time) {
    double left = 1.0;
    if (t2 && echo_time) left *= kernel::exp(-*echo_time / *t2);
    if (t1 && repetition_time) left *= 1.0 - kernel::exp(-*repetition_time / *t1);
    return left;
}

// A factor that cannot be had although its time is given is no 1.
static void refuse_missing(const std::string &whose, std::optional<double> t1,
                           std::optional<double> t2, std::optional<double> echo_time,
                           std::optional<double> repetition_time, const std::string &file) {
    if (t2 && !echo_time)
        refuse_input(file, "T2 of " + whose +
                               " needs the echo time, which no file says; expected a row \"te: 30 "
                               "ms\" or --echo-time SECONDS");
    if (t1 && !repetition_time)
        refuse_input(file, "T1 of " + whose +
                               " needs the repetition time, which no file says; expected a row "
                               "\"tr: 2 s\" or --repetition-time SECONDS");
}

// Times that leave a signal which rounds to nothing, and numbers beyond what can be held, say
// nothing about an amount.
static void refuse_none_left(const std::string &whose, double left, const std::string &file) {
    if (left > 0.0) return;
    refuse_input(file, "by the times, protons, content and scale given, the signal of " + whose +
                           " is no number above 0; expected relaxation times not much below the "
                           "echo time, nor far above the repetition time");
}

static std::string missing_times(const std::string &whose, bool has_t1, bool has_t2) {
    if (has_t1 && has_t2) return "";
    const std::string what = has_t1 ? "T2" : has_t2 ? "T1" : "T1 and T2";
    return "no " + what + " of " + whose + " given: its signal is taken as not weakened by " +
           (has_t1   ? "T2"
            : has_t2 ? "saturation"
                     : "relaxation");
}

namespace {

struct water_sum {
    double signal = 0.0, place = 0.0; // sum f w R, and f where metabolites are
    std::string unit;
};

water_sum sum_of(const std::vector<water_compartment> &water, const water_measurement &measured) {
    water_sum out;
    out.unit = water.empty() || !water.front().content ? "mmol/kg water"
               : water.front().per_litre               ? "mmol/L"
                                                       : "mmol/kg wet weight";
    if (water.empty()) return {1.0, 1.0, out.unit};
    for (const water_compartment &each : water) {
        const double fraction = each.fraction.value_or(1.0);
        out.signal +=
            fraction * each.content.value_or(1.0) *
            relaxation_left(each.t1, each.t2, measured.echo_time, measured.repetition_time);
        if (each.has_metabolites) out.place += fraction;
    }
    return out;
}

ordered_json time_item(std::optional<double> time) {
    return time ? ordered_json(*time) : ordered_json();
}

ordered_json compartments_item(const std::vector<water_compartment> &water) {
    auto list = ordered_json::array();
    for (const water_compartment &each : water)
        list.push_back({{"name", each.name},
                        {"fraction", each.fraction.value_or(1.0)},
                        {"content", time_item(each.content)},
                        {"t1_s", time_item(each.t1)},
                        {"t2_s", time_item(each.t2)},
                        {"metabolites", each.has_metabolites}});
    return list;
}

} // namespace

ordered_json amounts_item(const amount_rows &rows, const water_measurement &water,
                          const std::vector<std::string> &assumed, const std::string &table_file) {
    std::vector<std::string> said = assumed;
    const auto say = [&](const std::string &text) {
        if (!text.empty()) said.push_back(text);
    };
    if (rows.water.empty()) say(missing_times("water", false, false));
    bool any_t1 = false;
    for (const water_compartment &each : rows.water) {
        refuse_missing("water in " + each.name, each.t1, each.t2, water.echo_time,
                       water.repetition_time, table_file);
        say(missing_times("water in " + each.name, each.t1.has_value(), each.t2.has_value()));
        any_t1 = any_t1 || each.t1;
    }
    const water_sum sum = sum_of(rows.water, water);
    refuse_none_left("water", sum.signal, table_file);
    if (rows.water.empty() || !rows.water.front().content)
        say("no content of water given: amounts are per kg of water");
    ordered_json item;
    item["area"] = water.area;
    item["area_error_1sd"] = water.area_error;
    item["scale"] = water.scale;
    item["unit"] = sum.unit;
    item["echo_time_s"] = time_item(rows.echo_time);
    item["repetition_time_s"] = time_item(rows.repetition_time);
    item["water_echo_time_s"] = time_item(water.echo_time);
    item["water_repetition_time_s"] = time_item(water.repetition_time);
    item["compartments"] = compartments_item(rows.water);
    item["amounts"] = ordered_json::array();
    for (const amount_row &row : rows.amounts) {
        refuse_missing(row.name, row.t1, row.t2, rows.echo_time, rows.repetition_time, table_file);
        say(missing_times(row.name, row.t1.has_value(), row.t2.has_value()));
        any_t1 = any_t1 || row.t1;
        const double left = relaxation_left(row.t1, row.t2, rows.echo_time, rows.repetition_time);
        const double per_area = water_of_a_kilogram * protons_of_water / row.protons * sum.signal /
                                (left * sum.place * water.area * water.scale);
        refuse_none_left(row.name, per_area > 0.0 && std::isfinite(per_area) ? left : 0.0,
                         table_file);
        item["amounts"].push_back({{"name", row.name},
                                   {"expression", row.expression},
                                   {"protons", row.protons},
                                   {"t1_s", time_item(row.t1)},
                                   {"t2_s", time_item(row.t2)},
                                   {"relaxation_left", left},
                                   {"per_area", per_area}});
    }
    if (any_t1) say("saturation is that of excitation by 90 degrees");
    item["assumed"] = said;
    return item;
}

static void refuse_item(const run_result &run, const json_error &error) {
    refuse_input(run.name + ".json",
                 std::string("item water_reference is not as varokel-fit writes it (") +
                     error.what() + ")");
}

std::vector<derived_area> amounts_of(const run_result &run) {
    const auto found = run.sidecar.find("water_reference");
    if (found == run.sidecar.end()) return {};
    double area = 0.0, error_1sd = 0.0;
    try {
        area = found->at("area").get<double>();
        error_1sd = found->at("area_error_1sd").get<double>();
    } catch (const json_error &error) {
        refuse_item(run, error);
    }
    return amounts_of(run, *found, area, error_1sd);
}

std::vector<derived_area> derived_of(const run_result &run,
                                     const std::vector<std::string> &expressions) {
    std::vector<derived_area> all;
    if (!run.fitted) return all;
    for (const std::string &text : expressions) all.push_back(derive_area(run, text));
    for (const derived_area &amount : amounts_of(run)) all.push_back(amount);
    return all;
}

std::vector<derived_area> amounts_of(const run_result &run, const ordered_json &item, double area,
                                     double area_error) {
    std::vector<derived_area> amounts;
    const double relative = area_error / area;
    try {
        const double of_item = item.at("area").get<double>() / area;
        for (const auto &each : item.at("amounts")) {
            const double per_area = each.at("per_area").get<double>() * of_item;
            derived_area amount = derive_area(run,
                                              each.at("name").get<std::string>() + "=" +
                                                  each.at("expression").get<std::string>(),
                                              run.name + ".json");
            amount.value *= per_area;
            amount.error_1sd = std::hypot(amount.error_1sd * per_area, amount.value * relative);
            amount.expression += by_water;
            amount.unit = item.at("unit").get<std::string>();
            amounts.push_back(amount);
        }
    } catch (const json_error &error) {
        refuse_item(run, error);
    }
    return amounts;
}

} // namespace tools
