// SPDX-License-Identifier: BSD-3-Clause
// curve_calls.cpp -- data, model, components and residual as they are drawn
#include "web/binding/current_model.h"
#include "web/binding/module_calls.h"

#include "engine/model.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace web {

static tools::view_settings settings_of(const ordered_json &asked, double hz_per_point) {
    tools::view_settings out;
    const std::string part = asked.value("part", "real");
    out.part = part == "imaginary"   ? tools::seen_part::imaginary
               : part == "magnitude" ? tools::seen_part::magnitude
                                     : tools::seen_part::real;
    out.phase_0 = asked.value("phase_0", 0.0);
    out.phase_1 = asked.value("phase_1", 0.0);
    out.broadened = asked.value("broadened_hz", 0.0) / hz_per_point;
    return out;
}

static std::vector<double> columns_for(const current_model &now, const ordered_json &asked) {
    const engine::model &model = *now.model;
    std::vector<double> x = model.given();
    const auto at = asked.find("values");
    if (at == asked.end() || at->is_null()) return x;
    std::vector<engine::values_of_entry> values;
    for (const ordered_json &row : *at) {
        engine::values_of_entry &own = values.emplace_back();
        for (std::size_t q = 0; q < own.size(); ++q) own[q] = row.at(q).get<double>();
    }
    if (values.size() != static_cast<std::size_t>(model.map().entries()))
        throw std::runtime_error("values of another number of entries");
    const std::vector<double> columns = model.map().columns_of(values);
    std::copy(columns.begin(), columns.end(), x.begin());
    return x;
}

static bool same(const engine::values_of_entry &a, const engine::values_of_entry &b) {
    return std::memcmp(a.data(), b.data(), sizeof a) == 0; // "not a number" is equal to itself
}

// A component is of its own entry's values alone.
static void draw_components(current_model &now, const std::vector<double> &x) {
    const engine::model &model = *now.model;
    const int entries = model.map().entries();
    current_model::picture &drawn = now.drawn;
    const bool all =
        drawn.components.is_null() || drawn.components.size() != static_cast<std::size_t>(entries);
    if (all) {
        drawn.components = ordered_json::array();
        drawn.values.assign(static_cast<std::size_t>(entries), {});
    }
    for (int k = 0; k < entries; ++k) {
        const engine::values_of_entry own = model.map().values(k, x);
        engine::values_of_entry &before = drawn.values[static_cast<std::size_t>(k)];
        if (!all && same(own, before)) continue;
        ordered_json array = array_for_page("component " + std::to_string(k),
                                            now.eye->of(now.workspace.spectrum(model, x, k)));
        if (all)
            drawn.components.push_back(std::move(array));
        else
            drawn.components[static_cast<std::size_t>(k)] = std::move(array);
        before = own;
    }
}

ordered_json show_curves(const ordered_json &asked) {
    current_model &now = current();
    if (now.spectrum.empty()) throw std::runtime_error("no spectrum is open");
    const tools::view_settings settings = settings_of(asked, now.facts.hz_per_point);
    if (!now.eye || !(settings == now.view)) {
        now.view = settings;
        now.eye = std::make_unique<tools::signal_view>(now.facts.points, settings);
        now.drawn = {};
    }
    if (now.drawn.data.is_null())
        now.drawn.data = array_for_page("data", now.eye->of(now.spectrum));
    ordered_json out = {{"data", now.drawn.data}};
    if (!now.model) return out;
    const engine::model &model = *now.model;
    const std::vector<double> x = columns_for(now, asked);
    const engine::complex_signal sum = now.workspace.spectrum(model, x);
    engine::complex_signal left(sum.size());
    for (std::size_t i = 0; i < sum.size(); ++i) left[i] = now.spectrum[i] - sum[i];
    out["model"] = array_for_page("model", now.eye->of(sum));
    out["residual"] = array_for_page("residual", now.eye->of(left));
    const double squares = now.workspace.chi_square(model, x);
    out["quality"] = number_for_page(std::sqrt(squares / model.rows())); // as fit_quality
    draw_components(now, x);
    out["components"] = now.drawn.components;
    // where every parameter stands now, tied ones too
    out["values"] = ordered_json::array();
    for (int k = 0; k < model.map().entries(); ++k) {
        ordered_json row = ordered_json::array();
        for (const double value : model.map().values(k, x)) row.push_back(number_for_page(value));
        out["values"].push_back(std::move(row));
    }
    return out;
}

} // namespace web
