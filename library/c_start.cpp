// SPDX-License-Identifier: BSD-3-Clause
// c_start.cpp -- tables of peaks and start files behind the C interface
#include "library/varokel_start.h"

#include "engine/c_handles.h"
#include "engine/derived.h"
#include "engine/noise_window.h"
#include "files/base/tool_error.h"
#include "files/problem/start_problem.h"
#include "files/results/derived_area.h"
#include "files/spectra/spectrum_axis.h"
#include "files/start/make_start.h"
#include "files/start/read_start_file.h"

#include <cmath>
#include <memory>

using engine::guarded;
using engine::refuse;

struct varokel_table {
    explicit varokel_table(tools::peak_table table)
        : maker(std::move(table), {}, tools::fit_method::exact) {}
    tools::start_maker maker;
    std::vector<std::string> folders;
};

struct varokel_start {
    struct remark {
        varokel_remark kind;
        std::string text;
    };
    tools::start_result made;
    std::vector<std::string> folders;
    std::vector<remark> remarks;
    std::string text; // of the file, where it was asked for
    // of a table: what its rows derive, NAME = EXPRESSION, how many amounts it asks for, its axis
    struct row {
        std::string name, expression;
    };
    std::vector<row> derived;
    int amounts = 0;
    tools::spectrum_axis axis;
};

namespace {

// Runs a body that reads what somebody wrote; its message goes to the workspace.
template <class Body>
int reading(varokel_workspace *workspace, Body &&body) {
    if (workspace == nullptr) return VAROKEL_BAD_ARGUMENT;
    varokel_failure &failed = workspace->failed;
    return guarded(&failed, [&] {
        try {
            return body(failed);
        } catch (const tools::tool_error &error) {
            return refuse(failed, VAROKEL_BAD_INPUT, error.what());
        }
    });
}

// Empty text, or what is wrong with points that somebody gave.
std::string take(const double *pairs, int points, const char *what, tools::complex_signal &to) {
    to.resize(static_cast<std::size_t>(points));
    for (std::size_t i = 0; i < to.size(); ++i) {
        to[i] = {pairs[2 * i], pairs[2 * i + 1]};
        if (!std::isfinite(to[i].real()) || !std::isfinite(to[i].imag()))
            return "point " + std::to_string(i) + " of the " + what + " is not finite";
    }
    return "";
}

std::string name_or(const char *name, const char *other) {
    return name == nullptr ? other : name;
}

// What may be asked of a start file, however it came about.
std::unique_ptr<varokel_start> finished(tools::start_result made,
                                        std::vector<std::string> folders) {
    auto out = std::make_unique<varokel_start>();
    out->folders = std::move(folders);
    for (const std::string &text : made.guesses) out->remarks.push_back({VAROKEL_GUESS, text});
    for (const std::string &text : made.warnings) out->remarks.push_back({VAROKEL_WARNING, text});
    for (const std::string &text : made.notes) out->remarks.push_back({VAROKEL_NOTE, text});
    out->made = std::move(made);
    return out;
}

int add_folder(std::vector<std::string> &folders, const char *folder) {
    if (folder == nullptr) return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        folders.emplace_back(folder);
        return VAROKEL_OK;
    });
}

const tools::start_entry *entry_of(const varokel_start *start, int entry) {
    if (start == nullptr || entry < 0 || entry >= varokel_start_entries(start)) return nullptr;
    return &start->made.start.entries[static_cast<std::size_t>(entry)];
}

// The points that an axis of these start values has, whatever else it knows.
void take_points(varokel_start &of) {
    of.axis.points = of.made.start.points;
    of.axis.hz_per_point = of.made.start.hz_per_point;
}

// An expression of a fit of these start values, frequencies as they are shown. what: before the
// message for one that is none.
int evaluate_as_shown(const varokel_start &start, const std::string &expression,
                      const std::string &what, const varokel_fit &fit, varokel_failure &failed,
                      double *value, double *error) {
    if (fit.found.values.size() != start.made.start.entries.size())
        return refuse(failed, VAROKEL_BAD_ARGUMENT, "a fit of other start values");
    const auto unit = [&](int q) {
        return engine::unit_of(q, fit.hz_per_point) *
               (q == engine::frequency ? start.axis.shown_hertz() : 1.0);
    };
    std::vector<engine::values_of_entry> values = fit.found.values;
    for (std::size_t k = 0; k < values.size(); ++k) {
        const bool is_shift = start.made.start.entries[k].type == tools::pattern_entry;
        for (std::size_t q = 0; q < values[k].size(); ++q)
            values[k][q] =
                q == engine::frequency
                    ? start.axis.shown_frequency(values[k][q] * fit.hz_per_point, is_shift)
                    : values[k][q] * unit(static_cast<int>(q));
    }
    const engine::result<engine::derived_value> f =
        engine::evaluate(expression, {fit.names, "the fit"}, values);
    if (!f) return refuse(failed, VAROKEL_BAD_EXPRESSION, what + f.why().reason);
    if (value != nullptr) *value = f->value;
    if (error != nullptr)
        *error = engine::error_of(*f, [&](int k, engine::quantity q, int l, engine::quantity r) {
            return fit.found.covariance.of(k, q, l, r) * unit(q) * unit(r);
        });
    return VAROKEL_OK;
}

} // namespace

int varokel_table_read(const char *text, const char *name, varokel_workspace *workspace,
                       varokel_table **table) {
    return reading(workspace, [&](varokel_failure &failed) {
        if (text == nullptr || table == nullptr)
            return refuse(failed, VAROKEL_BAD_ARGUMENT, "text or table is a null pointer");
        *table = new varokel_table(tools::parse_peak_table(text, name_or(name, "table of peaks")));
        return int{VAROKEL_OK};
    });
}

void varokel_table_destroy(varokel_table *table) {
    delete table;
}

int varokel_table_add_folder(varokel_table *table, const char *folder) {
    if (table == nullptr) return VAROKEL_BAD_ARGUMENT;
    const int status = add_folder(table->folders, folder);
    if (status != VAROKEL_OK) return status;
    return guarded(nullptr, [&] {
        table->maker.look_for_patterns_in(table->folders);
        return VAROKEL_OK;
    });
}

int varokel_table_start(varokel_table *table, const char *sidecar, const double *spectrum,
                        int points, varokel_workspace *workspace, varokel_start **start) {
    return reading(workspace, [&](varokel_failure &failed) {
        if (table == nullptr || sidecar == nullptr || spectrum == nullptr || start == nullptr)
            return refuse(failed, VAROKEL_BAD_ARGUMENT,
                          "table, sidecar, spectrum or start is a null pointer");
        const tools::metadata known = tools::metadata::of_text(sidecar, "sidecar");
        tools::spectrum_facts facts = tools::facts_of_sidecar(known);
        if (points != facts.points)
            return refuse(failed, VAROKEL_BAD_ARGUMENT,
                          "a spectrum of " + std::to_string(points) + " points; the sidecar has " +
                              std::to_string(facts.points));
        tools::complex_signal taken;
        const std::string fault = take(spectrum, points, "spectrum", taken);
        if (!fault.empty()) return refuse(failed, VAROKEL_BAD_INPUT, fault);
        const tools::peak_table &of = table->maker.table();
        const auto axis =
            tools::set_axis_by_reference(of, tools::axis_of_sidecar(known), taken, facts);
        std::string guessed;
        if (!of.noise && !facts.noise) {
            const engine::noise_window found = engine::noise_stretch(taken);
            facts.noise = {static_cast<int>(found.first), static_cast<int>(found.stop)};
            guessed = "noise points " + std::to_string(found.first) + " to " +
                      std::to_string(found.stop - 1);
        }
        tools::start_result made = table->maker.make(taken, facts);
        if (!guessed.empty()) made.guesses.insert(made.guesses.begin(), guessed);
        if (axis) {
            made.notes.push_back(axis->text);
            made.warnings.insert(made.warnings.begin(), axis->warnings.begin(),
                                 axis->warnings.end());
        }
        auto out = finished(std::move(made), table->folders);
        for (const std::string &row : of.derived)
            out->derived.push_back({tools::derived_name(row), tools::derived_expression(row)});
        out->amounts = static_cast<int>(of.amounts.amounts.size());
        out->axis = tools::axis_of_sidecar(known);
        out->axis.ppm_at_carrier = facts.ppm_at_carrier;
        *start = out.release();
        return int{VAROKEL_OK};
    });
}

int varokel_start_read(const char *text, const char *name, varokel_workspace *workspace,
                       varokel_start **start) {
    return reading(workspace, [&](varokel_failure &failed) {
        if (text == nullptr || start == nullptr)
            return refuse(failed, VAROKEL_BAD_ARGUMENT, "text or start is a null pointer");
        const std::string file = name_or(name, "start file");
        tools::start_result made;
        made.start = tools::parse_start_file(text, file);
        tools::refuse_what_fails(made.start, file, tools::fit_method::exact);
        auto out = finished(std::move(made), {});
        take_points(*out);
        *start = out.release();
        return int{VAROKEL_OK};
    });
}

void varokel_start_destroy(varokel_start *start) {
    delete start;
}

int varokel_start_add_folder(varokel_start *start, const char *folder) {
    return start == nullptr ? int{VAROKEL_BAD_ARGUMENT} : add_folder(start->folders, folder);
}

int varokel_start_points(const varokel_start *start) {
    return start == nullptr ? 0 : start->made.start.points;
}

double varokel_start_hz_per_point(const varokel_start *start) {
    return start == nullptr ? 0.0 : start->made.start.hz_per_point;
}

int varokel_start_noise_window(const varokel_start *start, int *first, int *last) {
    if (start == nullptr || first == nullptr || last == nullptr) return VAROKEL_BAD_ARGUMENT;
    const tools::start_file &of = start->made.start;
    if (of.noise_stop <= of.noise_first) return VAROKEL_BAD_INPUT;
    *first = of.noise_first;
    *last = of.noise_stop - 1;
    return VAROKEL_OK;
}

int varokel_start_entries(const varokel_start *start) {
    return start == nullptr ? 0 : static_cast<int>(start->made.start.entries.size());
}

int varokel_start_entry(const varokel_start *start, int entry, const char **name, int *line,
                        const char **pattern) {
    const tools::start_entry *const of = entry_of(start, entry);
    if (of == nullptr) return VAROKEL_BAD_ARGUMENT;
    if (name != nullptr) *name = of->name.c_str();
    if (line != nullptr) *line = of->type;
    if (pattern != nullptr) *pattern = of->pattern_file.c_str();
    return VAROKEL_OK;
}

int varokel_start_derived_rows(const varokel_start *start) {
    return start == nullptr ? 0 : static_cast<int>(start->derived.size());
}

int varokel_start_amount_rows(const varokel_start *start) {
    return start == nullptr ? 0 : start->amounts;
}

int varokel_start_derive(const varokel_start *start, int row, const varokel_fit *fit,
                         varokel_workspace *workspace, const char **name, const char **expression,
                         double *value, double *error) {
    if (start == nullptr || row < 0 || row >= varokel_start_derived_rows(start) || fit == nullptr)
        return VAROKEL_BAD_ARGUMENT;
    return reading(workspace, [&](varokel_failure &failed) {
        const varokel_start::row &of = start->derived[static_cast<std::size_t>(row)];
        if (name != nullptr) *name = of.name.c_str();
        if (expression != nullptr) *expression = of.expression.c_str();
        return evaluate_as_shown(*start, of.expression, of.name + " = " + of.expression + ", ",
                                 *fit, failed, value, error);
    });
}

int varokel_start_evaluate(const varokel_start *start, const char *expression,
                           const varokel_fit *fit, varokel_workspace *workspace, double *value,
                           double *error) {
    if (start == nullptr || expression == nullptr || fit == nullptr) return VAROKEL_BAD_ARGUMENT;
    return reading(workspace, [&](varokel_failure &failed) {
        return evaluate_as_shown(*start, expression, "", *fit, failed, value, error);
    });
}

int varokel_start_set_axis(varokel_start *start, const char *sidecar,
                           varokel_workspace *workspace) {
    if (start == nullptr || sidecar == nullptr) return VAROKEL_BAD_ARGUMENT;
    return reading(workspace, [&](varokel_failure &) {
        start->axis = tools::axis_of_sidecar(tools::metadata::of_text(sidecar, "sidecar"));
        take_points(*start);
        return int{VAROKEL_OK};
    });
}

int varokel_start_set_name(varokel_start *start, int entry, const char *name) {
    if (entry_of(start, entry) == nullptr || name == nullptr) return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        start->made.start.entries[static_cast<std::size_t>(entry)].name = name;
        return VAROKEL_OK;
    });
}

int varokel_start_remarks(const varokel_start *start) {
    return start == nullptr ? 0 : static_cast<int>(start->remarks.size());
}

int varokel_start_remark(const varokel_start *start, int remark, int *kind, const char **text) {
    if (start == nullptr || remark < 0 || remark >= varokel_start_remarks(start))
        return VAROKEL_BAD_ARGUMENT;
    const varokel_start::remark &of = start->remarks[static_cast<std::size_t>(remark)];
    if (kind != nullptr) *kind = of.kind;
    if (text != nullptr) *text = of.text.c_str();
    return VAROKEL_OK;
}

const char *varokel_start_text(varokel_start *start) {
    if (start == nullptr) return "";
    const int status = guarded(nullptr, [&] {
        start->text = start->made.text();
        return VAROKEL_OK;
    });
    return status == VAROKEL_OK ? start->text.c_str() : "";
}

int varokel_start_problem(const varokel_start *start, const double *spectrum, int points,
                          double noise_sd, const double *reference, varokel_workspace *workspace,
                          varokel_problem **problem) {
    return reading(workspace, [&](varokel_failure &failed) {
        if (start == nullptr || spectrum == nullptr || problem == nullptr)
            return refuse(failed, VAROKEL_BAD_ARGUMENT,
                          "start, spectrum or problem is a null pointer");
        const tools::start_file &of = start->made.start;
        if (points != of.points)
            return refuse(failed, VAROKEL_BAD_ARGUMENT,
                          "a spectrum of " + std::to_string(points) +
                              " points; the start values are for " + std::to_string(of.points));
        if (!(noise_sd > 0.0) || !std::isfinite(noise_sd))
            return refuse(failed, VAROKEL_BAD_ARGUMENT,
                          "the noise standard deviation is no positive number");
        std::string fault = tools::why_not_exact(of);
        if (fault.empty() && of.fit_mode == 2 && reference == nullptr)
            fault = "fit mode 2 needs the decay of a reference line";
        if (fault.empty() && of.patterns > 0 && start->folders.empty())
            fault = "no folder was named where its pattern files stand";
        tools::problem_data data;
        if (fault.empty()) fault = take(spectrum, points, "spectrum", data.spectrum);
        if (fault.empty() && of.fit_mode == 2)
            fault = take(reference, points, "reference", data.measured_lineshape);
        if (!fault.empty()) return refuse(failed, VAROKEL_BAD_INPUT, fault);
        data.noise_sd = noise_sd;
        data.patterns = tools::patterns_of(of, start->folders);
        auto made = std::make_unique<varokel_problem>();
        made->of = tools::problem_of(of, std::move(data), tools::freedom::by_strategy);
        for (const tools::start_entry &entry : of.entries) made->names.push_back(entry.name);
        *problem = made.release();
        return int{VAROKEL_OK};
    });
}

int varokel_error_factor(const char *sidecar, varokel_workspace *workspace, double *factor) {
    return reading(workspace, [&](varokel_failure &failed) {
        if (sidecar == nullptr || factor == nullptr)
            return refuse(failed, VAROKEL_BAD_ARGUMENT, "sidecar or factor is a null pointer");
        *factor =
            tools::axis_of_sidecar(tools::metadata::of_text(sidecar, "sidecar")).error_factor();
        return int{VAROKEL_OK};
    });
}
