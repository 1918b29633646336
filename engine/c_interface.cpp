// SPDX-License-Identifier: BSD-3-Clause
// c_interface.cpp -- workspaces, options and fits of the C interface
#include "engine/c_handles.h"
#include "engine/derived.h"

#include <cmath>
#include <limits>
#include <span>

using engine::guarded;
using engine::refuse;
using engine::unit_of;

const char *varokel_version(void) {
    return VAROKEL_VERSION;
}

const char *varokel_status_text(int status) {
    switch (status) {
    case VAROKEL_OK:
        return "success";
    case VAROKEL_BAD_ARGUMENT:
        return "an argument is a null pointer, an index that is not there, or a size that does not "
               "fit";
    case VAROKEL_BAD_PROBLEM:
        return "the problem cannot be fitted";
    case VAROKEL_BAD_EXPRESSION:
        return "the expression cannot be evaluated";
    case VAROKEL_NO_MEMORY:
        return "there is not enough memory";
    case VAROKEL_STOPPED:
        return "the progress function stopped the fit";
    case VAROKEL_BAD_INPUT:
        return "a table, a start file, or what they name cannot be taken";
    case VAROKEL_FAILED:
        return "an error inside the library";
    default:
        return "no status of this library";
    }
}

const char *varokel_verdict_name(int verdict) {
    if (verdict < VAROKEL_NOT_FINISHED || verdict > VAROKEL_OPTIMUM) return nullptr;
    return engine::name_of(static_cast<engine::finding>(verdict));
}
static_assert(VAROKEL_OPTIMUM == static_cast<int>(engine::finding::optimum));
static_assert(VAROKEL_QUANTITIES == static_cast<int>(engine::quantities));
static_assert(VAROKEL_PATTERN == static_cast<int>(engine::line_type::pattern));
static_assert(VAROKEL_BOTH == static_cast<int>(engine::channel::both));

int varokel_workspace_create(varokel_workspace **workspace) {
    return engine::create(workspace);
}

void varokel_workspace_destroy(varokel_workspace *workspace) {
    delete workspace;
}

const char *varokel_workspace_message(const varokel_workspace *workspace) {
    return workspace == nullptr ? "" : workspace->failed.message.c_str();
}

int varokel_workspace_failed_entry(const varokel_workspace *workspace) {
    return workspace == nullptr ? -1 : workspace->failed.entry;
}

int varokel_options_create(varokel_options **options) {
    return engine::create(options);
}

void varokel_options_destroy(varokel_options *options) {
    delete options;
}

int varokel_options_set_starts(varokel_options *options, int starts, int most_starts) {
    if (options == nullptr || starts < 0 || most_starts < 0) return VAROKEL_BAD_ARGUMENT;
    options->of.starts = starts;
    options->of.most_starts = most_starts;
    return VAROKEL_OK;
}

int varokel_options_set_most_linearizations(varokel_options *options, int most) {
    if (options == nullptr || most < 1 || most > 1000000) return VAROKEL_BAD_ARGUMENT;
    options->of.search.most_linearizations = most;
    return VAROKEL_OK;
}

int varokel_options_set_expected_decrease(varokel_options *options, double decrease) {
    if (options == nullptr || !(decrease >= 0.0)) return VAROKEL_BAD_ARGUMENT;
    options->of.search.expected_decrease = decrease;
    return VAROKEL_OK;
}

int varokel_options_set_progress(varokel_options *options, varokel_progress progress, void *with) {
    if (options == nullptr) return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        if (progress == nullptr)
            options->of.watch = nullptr;
        else
            options->of.watch = [progress, with](const engine::search_progress &now) {
                return progress(with, now.searches, now.linearizations, now.sum_of_squares) == 0;
            };
        return VAROKEL_OK;
    });
}

int varokel_options_add_start(varokel_options *options, const char *name, const double *values,
                              size_t count) {
    if (options == nullptr || values == nullptr || count % VAROKEL_QUANTITIES != 0)
        return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        engine::extra_start added;
        added.name = name == nullptr ? "added" : name;
        added.values.resize(count / VAROKEL_QUANTITIES);
        for (std::size_t i = 0; i < count; ++i)
            added.values[i / VAROKEL_QUANTITIES][i % VAROKEL_QUANTITIES] = values[i];
        options->starts.push_back(std::move(added));
        return VAROKEL_OK;
    });
}

// The options in the units of the engine; empty text, or what is wrong with them.
static std::string take_options(const varokel_options &given, const varokel_problem &problem,
                                engine::fit_options &taken) {
    taken = given.of;
    for (engine::extra_start added : given.starts) {
        if (added.values.size() != problem.of.entries.size())
            return "the start \"" + added.name + "\" has values of " +
                   std::to_string(added.values.size()) + " entries, not " +
                   std::to_string(problem.of.entries.size());
        for (engine::values_of_entry &v : added.values)
            for (const engine::quantity q : engine::every_quantity) {
                double &value = v[q];
                value /= unit_of(q, problem.of.when.hz_per_point);
                if (!std::isfinite(value))
                    return "the start \"" + added.name + "\" has a value that is not finite";
            }
        taken.extra.push_back(std::move(added));
    }
    return "";
}

int varokel_fit_find(const varokel_problem *problem, const varokel_options *options,
                     varokel_workspace *workspace, varokel_fit **fit) {
    if (workspace == nullptr) return VAROKEL_BAD_ARGUMENT;
    varokel_failure &failed = workspace->failed;
    return guarded(&failed, [&] {
        if (problem == nullptr || fit == nullptr)
            return refuse(failed, VAROKEL_BAD_ARGUMENT, "problem or fit is a null pointer");
        engine::fit_options taken;
        if (options != nullptr) {
            const std::string fault = take_options(*options, *problem, taken);
            if (!fault.empty()) return refuse(failed, VAROKEL_BAD_ARGUMENT, fault);
        }
        engine::result<engine::optimum> found =
            engine::find_optimum(problem->of, workspace->of, taken);
        if (!found)
            return refuse(failed, found.why().stopped ? VAROKEL_STOPPED : VAROKEL_BAD_PROBLEM,
                          found.why().reason, found.why().entry);
        engine::result<engine::model> of = engine::model::make(problem->of);
        if (!of) return refuse(failed, VAROKEL_BAD_PROBLEM, of.why().reason, of.why().entry);
        *fit = new varokel_fit{std::move(*of), std::move(*found), problem->names,
                               problem->of.when.hz_per_point};
        return int{VAROKEL_OK};
    });
}

void varokel_fit_destroy(varokel_fit *fit) {
    delete fit;
}

int varokel_fit_entries(const varokel_fit *fit) {
    return fit == nullptr ? 0 : static_cast<int>(fit->found.values.size());
}

int varokel_fit_points(const varokel_fit *fit) {
    return fit == nullptr ? 0 : fit->of.points();
}

// Fills a table of all parameters with value_of(entry, quantity) in the units of varokel.h.
template <class Value>
static int fill(const varokel_fit *fit, double *table, size_t count, Value &&value_of) {
    if (fit == nullptr || table == nullptr) return VAROKEL_BAD_ARGUMENT;
    const int entries = varokel_fit_entries(fit);
    if (count < static_cast<std::size_t>(entries) * VAROKEL_QUANTITIES) return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        for (int k = 0; k < entries; ++k)
            for (int q = 0; q < VAROKEL_QUANTITIES; ++q)
                *table++ =
                    value_of(k, static_cast<engine::quantity>(q)) * unit_of(q, fit->hz_per_point);
        return VAROKEL_OK;
    });
}

int varokel_fit_values(const varokel_fit *fit, double *values, size_t count) {
    return fill(fit, values, count, [&](int k, engine::quantity q) {
        return fit->found.values[static_cast<std::size_t>(k)][static_cast<std::size_t>(q)];
    });
}

int varokel_fit_errors(const varokel_fit *fit, double *errors, size_t count) {
    return fill(fit, errors, count,
                [&](int k, engine::quantity q) { return fit->found.covariance.error(k, q); });
}

int varokel_fit_covariance(const varokel_fit *fit, double *covariance, size_t count) {
    if (fit == nullptr || covariance == nullptr) return VAROKEL_BAD_ARGUMENT;
    const int m = varokel_fit_entries(fit) * VAROKEL_QUANTITIES;
    const std::size_t rows = static_cast<std::size_t>(m);
    if (count < rows * rows) return VAROKEL_BAD_ARGUMENT;
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < m; ++j) {
            const auto q = static_cast<engine::quantity>(i % VAROKEL_QUANTITIES);
            const auto r = static_cast<engine::quantity>(j % VAROKEL_QUANTITIES);
            const double of =
                fit->found.covariance.of(i / VAROKEL_QUANTITIES, q, j / VAROKEL_QUANTITIES, r);
            *covariance++ = of * unit_of(q, fit->hz_per_point) * unit_of(r, fit->hz_per_point);
        }
    return VAROKEL_OK;
}

int varokel_fit_lineshape_coefficients(const varokel_fit *fit) {
    return fit == nullptr ? 0 : static_cast<int>(fit->found.lineshape.size());
}

int varokel_fit_lineshape(const varokel_fit *fit, double *coefficients, size_t count) {
    if (fit == nullptr || (coefficients == nullptr && !fit->found.lineshape.empty()) ||
        count < 2 * fit->found.lineshape.size())
        return VAROKEL_BAD_ARGUMENT;
    engine::put(fit->found.lineshape, coefficients);
    return VAROKEL_OK;
}

int varokel_fit_verdict(const varokel_fit *fit) {
    return fit == nullptr ? -1 : static_cast<int>(fit->found.judged.what);
}

int varokel_fit_reasons(const varokel_fit *fit) {
    return fit == nullptr ? 0 : static_cast<int>(fit->found.judged.reasons.size());
}

int varokel_fit_reason(const varokel_fit *fit, int reason, int *what, double *number,
                       const char **text, const int **entries, int *entry_count) {
    if (fit == nullptr || reason < 0 || reason >= varokel_fit_reasons(fit))
        return VAROKEL_BAD_ARGUMENT;
    const engine::reason &of = fit->found.judged.reasons[static_cast<std::size_t>(reason)];
    if (what != nullptr) *what = static_cast<int>(of.what);
    if (number != nullptr) *number = of.number;
    if (text != nullptr) *text = of.text.c_str();
    if (entries != nullptr) *entries = of.entries.data();
    if (entry_count != nullptr) *entry_count = static_cast<int>(of.entries.size());
    return VAROKEL_OK;
}

int varokel_fit_starts(const varokel_fit *fit) {
    return fit == nullptr ? 0 : static_cast<int>(fit->found.starts.size());
}

int varokel_fit_start(const varokel_fit *fit, int start, const char **name, double *sum_of_squares,
                      double *shift_hz, int *same) {
    if (fit == nullptr || start < 0 || start >= varokel_fit_starts(fit))
        return VAROKEL_BAD_ARGUMENT;
    const engine::start_report &of = fit->found.starts[static_cast<std::size_t>(start)];
    if (name != nullptr) *name = of.name.c_str();
    if (sum_of_squares != nullptr) *sum_of_squares = of.sum_of_squares;
    if (shift_hz != nullptr) *shift_hz = of.shift * fit->hz_per_point;
    if (same != nullptr) *same = of.same ? 1 : 0;
    return VAROKEL_OK;
}

static constexpr double none = std::numeric_limits<double>::quiet_NaN();

double varokel_fit_sum_of_squares(const varokel_fit *fit) {
    return fit == nullptr ? none : fit->found.found.sum_of_squares;
}

double varokel_fit_expected_decrease(const varokel_fit *fit) {
    return fit == nullptr ? none : fit->found.found.expected_decrease;
}

double varokel_fit_quality(const varokel_fit *fit) {
    return fit == nullptr ? none : fit->found.quality;
}

int varokel_fit_linearizations(const varokel_fit *fit) {
    return fit == nullptr ? 0 : fit->found.linearizations;
}

int varokel_fit_evaluations(const varokel_fit *fit) {
    return fit == nullptr ? 0 : fit->found.evaluations;
}

// The model of one entry or all, for the columns x.
static int put_spectrum(const engine::model &of, std::span<const double> x,
                        varokel_workspace &workspace, int entry, double *spectrum, size_t count) {
    if (spectrum == nullptr || count < 2 * static_cast<std::size_t>(of.points()))
        return refuse(workspace.failed, VAROKEL_BAD_ARGUMENT, "no room for the spectrum");
    if (entry < VAROKEL_ALL_ENTRIES || entry >= of.map().entries())
        return refuse(workspace.failed, VAROKEL_BAD_ARGUMENT,
                      "there is no entry " + std::to_string(entry));
    workspace.of.prepare(of);
    engine::put(workspace.of.spectrum(of, x, entry), spectrum);
    return VAROKEL_OK;
}

int varokel_fit_spectrum(const varokel_fit *fit, varokel_workspace *workspace, int entry,
                         double *spectrum, size_t count) {
    if (fit == nullptr || workspace == nullptr) return VAROKEL_BAD_ARGUMENT;
    return guarded(&workspace->failed, [&] {
        return put_spectrum(fit->of, fit->found.found.x, *workspace, entry, spectrum, count);
    });
}

int varokel_problem_spectrum(const varokel_problem *problem, varokel_workspace *workspace,
                             int entry, double *spectrum, size_t count) {
    if (problem == nullptr || workspace == nullptr) return VAROKEL_BAD_ARGUMENT;
    return guarded(&workspace->failed, [&] {
        engine::fit_problem filled = problem->of;
        filled.spectrum.resize(static_cast<std::size_t>(filled.when.points));
        if (!(filled.noise_sd > 0.0)) filled.noise_sd = 1.0;
        const engine::result<engine::model> of = engine::model::make(filled);
        if (!of)
            return refuse(workspace->failed, VAROKEL_BAD_PROBLEM, of.why().reason, of.why().entry);
        return put_spectrum(*of, of->starts(), *workspace, entry, spectrum, count);
    });
}

int varokel_fit_derive(const varokel_fit *fit, varokel_workspace *workspace, const char *expression,
                       double *value, double *error) {
    if (fit == nullptr || workspace == nullptr || expression == nullptr)
        return VAROKEL_BAD_ARGUMENT;
    return guarded(&workspace->failed, [&] {
        const auto unit = [&](engine::quantity q) { return unit_of(q, fit->hz_per_point); };
        std::vector<engine::values_of_entry> values = fit->found.values;
        for (engine::values_of_entry &v : values)
            for (const engine::quantity q : engine::every_quantity) v[q] *= unit(q);
        const engine::result<engine::derived_value> f =
            engine::evaluate(expression, {fit->names, "the fit"}, values);
        if (!f) return refuse(workspace->failed, VAROKEL_BAD_EXPRESSION, f.why().reason);
        if (value != nullptr) *value = f->value;
        if (error != nullptr)
            *error =
                engine::error_of(*f, [&](int k, engine::quantity q, int l, engine::quantity r) {
                    return fit->found.covariance.of(k, q, l, r) * unit(q) * unit(r);
                });
        return int{VAROKEL_OK};
    });
}
