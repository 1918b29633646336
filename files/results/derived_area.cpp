// SPDX-License-Identifier: BSD-3-Clause
#include "files/results/derived_area.h"

#include "files/base/tool_error.h"

#include "engine/derived.h"

#include <cmath>
#include <limits>
#include <vector>

namespace tools {

double derived_area::percent_1sd() const {
    fitted_parameter like;
    like.value = value;
    like.error_2sd = 2.0 * error_1sd;
    return like.percent_1sd();
}

// Takes text apart into name and expression, and evaluates that.
static engine::derived_value value_of(const engine::expression_names &names,
                                      std::span<const engine::values_of_entry> values,
                                      const std::string &text, derived_area &named) {
    const std::size_t equals = text.find('=');
    named.expression = equals == std::string::npos ? text : text.substr(equals + 1);
    named.name = equals == std::string::npos ? text : text.substr(0, equals);
    while (!named.name.empty() && named.name.back() == ' ') named.name.pop_back();
    if (named.name.empty())
        throw tool_error(wrong_usage, "--derive \"" + text + "\": no name before the \"=\"");
    const engine::result<engine::derived_value> f =
        engine::evaluate(named.expression, names, values);
    if (!f)
        throw tool_error(wrong_usage, "--derive \"" + named.expression + "\", " + f.why().reason +
                                          "; an expression is like GPE+GPC or "
                                          "PCr/(gATP1+gATP2)");
    // A run keeps the covariance of its areas only.
    for (const engine::values_of_entry &by : f->by)
        for (int q = 0; q < engine::quantities; ++q)
            if (q != engine::area && by[static_cast<std::size_t>(q)] != 0.0)
                throw tool_error(wrong_usage, "--derive \"" + named.expression +
                                                  "\": only areas can be derived from here");
    return *f;
}

void check_derived_area(const std::vector<std::string> &names, const std::string &place,
                        const std::string &text) {
    std::vector<engine::values_of_entry> values(names.size());
    for (engine::values_of_entry &v : values) v[engine::area] = 1.0;
    derived_area ignored;
    value_of({names, place}, values, text, ignored);
}

derived_area derive_area(const run_result &run, const std::string &text) {
    engine::expression_names names;
    names.place = run.name;
    std::vector<engine::values_of_entry> values;
    for (const fitted_entry &entry : run.entries) {
        names.entries.push_back(entry.name);
        values.emplace_back()[engine::area] = entry.area.value;
    }
    derived_area result;
    const engine::derived_value f = value_of(names, values, text, result);
    result.value = f.value;
    result.error_1sd = std::numeric_limits<double>::quiet_NaN();
    if (!run.covariance_agrees) return result;
    const std::size_t n = run.entries.size();
    const double error = engine::error_of(f, [&](int k, engine::quantity, int l, engine::quantity) {
        return run.control
            .area_covariance[n * static_cast<std::size_t>(k) + static_cast<std::size_t>(l)];
    });
    if (std::isfinite(error)) result.error_1sd = error;
    return result;
}

} // namespace tools
