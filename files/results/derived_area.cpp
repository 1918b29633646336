// SPDX-License-Identifier: BSD-3-Clause
// derived_area.cpp -- sums, ratios, pH: what follows from the values of a fit, with its error
// bounds
#include "files/results/derived_area.h"

#include "files/base/ordered_json.h"
#include "files/base/plain_text.h"
#include "files/base/tool_error.h"
#include "files/results/number_text.h"
#include "files/start/amount_rows.h"

#include "engine/derived.h"
#include "kernel/line_width.h"

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

void refuse_derived(const std::string &file, const std::string &what) {
    if (file.empty()) throw tool_error(wrong_usage, "--derive " + what);
    refuse_input(file, "what is to be derived, " + what);
}

// Takes text apart into name and expression, and evaluates that.
static engine::derived_value value_of(const engine::expression_names &names,
                                      std::span<const engine::values_of_entry> values,
                                      const std::string &text, const std::string &file,
                                      derived_area &named) {
    named.expression = derived_expression(text);
    named.name = derived_name(text);
    if (named.name.empty()) refuse_derived(file, "\"" + text + "\": no name before the \"=\"");
    const engine::result<engine::derived_value> f =
        engine::evaluate(named.expression, names, values);
    if (!f)
        refuse_derived(file, "\"" + named.expression + "\", " + f.why().reason +
                                 "; an expression is like GPE+GPC or PCr/(gATP1+gATP2)");
    return *f;
}

void check_derived_area(const std::vector<std::string> &names, const std::string &place,
                        const std::string &text, const std::string &file) {
    std::vector<engine::values_of_entry> values(names.size());
    for (engine::values_of_entry &v : values) v[engine::area] = 1.0;
    derived_area ignored;
    value_of({names, place}, values, text, file, ignored);
}

// Shown units in one unit of the engine: ppm (Hz where the axis has none) and Hz for points.
static double shown_unit(const run_result &run, int q) {
    const double hz = run.control.hz_per_point;
    if (q == engine::frequency) return hz * run.axis.shown_hertz();
    if (q == engine::gauss_width) return hz * kernel::gauss_fwhm_per_width;
    return q == engine::lorentz_width ? hz : 1.0;
}

derived_area derive_area(const run_result &run, const std::string &text, const std::string &file) {
    engine::expression_names names;
    names.place = run.name;
    std::vector<engine::values_of_entry> values;
    for (const fitted_entry &entry : run.entries) {
        names.entries.push_back(entry.name);
        engine::values_of_entry &own = values.emplace_back();
        own[engine::area] = entry.area.value;
        own[engine::frequency] = run.axis.knows_ppm() ? entry.ppm : entry.hz_from_carrier;
        own[engine::gauss_width] = entry.gauss_width.value;
        own[engine::phase] = entry.phase.value;
        own[engine::lorentz_width] = entry.lorentz_width.value;
    }
    derived_area result;
    const engine::derived_value f = value_of(names, values, text, file, result);
    result.value = f.value;
    result.error_1sd = std::numeric_limits<double>::quiet_NaN();
    if (!run.has_covariance()) return result;
    const double error =
        engine::error_of(f, [&](int k, engine::quantity q, int l, engine::quantity r) {
            return shown_unit(run, q) * shown_unit(run, r) *
                   run.control.covariance_of(static_cast<std::size_t>(k), q,
                                             static_cast<std::size_t>(l), r);
        });
    if (std::isfinite(error)) result.error_1sd = error;
    return result;
}

std::string derived_header(const table_shape &shape) {
    std::string line = "spectrum";
    for (const table_shape::column &place : shape.places) line += "\t" + place.name;
    return line + "\tname\texpression\tvalue\terror_1sd\terror_2sd\terror_percent_1sd\tunit\n";
}

std::string derived_row(const std::string &spectrum, const derived_area &derived,
                        const std::vector<std::string> &places) {
    std::string line = text_cell(spectrum);
    for (const std::string &place : places) line += "\t" + place;
    return line + "\t" + text_cell(derived.name) + "\t" + text_cell(derived.expression) + "\t" +
           table_number(derived.value) + "\t" + table_number(derived.error_1sd) + "\t" +
           table_number(2.0 * derived.error_1sd) + "\t" + table_number(derived.percent_1sd()) +
           "\t" + text_cell(derived.unit) + "\n";
}

std::string derived_dictionary(const table_shape &shape) {
    ordered_json all;
    all["spectrum"]["Description"] = "name of the spectrum";
    for (const table_shape::column &place : shape.places)
        all[place.name]["Description"] = place.description;
    all["name"]["Description"] = "name of the derived value";
    all["expression"]["Description"] = "what it is in terms of the entries";
    all["value"]["Description"] =
        "in the units of the areas [signal] or of their ratio, ppm, Hz, degrees, pH";
    all["error_1sd"]["Description"] =
        "one standard deviation, from the covariance of all parameters, to first order; 0 where "
        "all that the value hangs on is fixed or at the edge of its window";
    all["error_2sd"]["Description"] = "two standard deviations";
    all["error_percent_1sd"] = {
        {"Description",
         "one standard deviation, of the magnitude of the value, 999 at most; n/a without error"},
        {"Units", "%"}};
    all["unit"]["Description"] = "of an amount by a water reference; else n/a";
    return all.dump(2) + "\n";
}

} // namespace tools
