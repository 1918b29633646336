// SPDX-License-Identifier: BSD-3-Clause
// exact_fit.cpp -- the engine's fit of a start file
#include "files/problem/exact_fit.h"

#include "files/base/format_text.h"
#include "files/base/tool_error.h"

#include "kernel/line_width.h"

#include <algorithm>
#include <cmath>

namespace tools {

namespace {

// The farthest that a free parameter of the search's end is from the optimum, in bounds.
double distance(const engine::fit_problem &problem, const engine::optimum &found,
                const std::vector<engine::values_of_entry> &searched) {
    double farthest = 0.0;
    for (std::size_t k = 0; k < problem.entries.size(); ++k) {
        for (const engine::quantity of : engine::every_quantity) {
            if (problem.entries[k].of[of].how != engine::link::free) continue;
            const double bound = found.covariance.error(static_cast<int>(k), of);
            if (!(bound > 0.0) || !std::isfinite(bound)) continue;
            double theirs = searched[k][of];
            if (of == engine::gauss_width) theirs = std::fabs(theirs);
            const double off = theirs - found.values[k][of];
            farthest = std::max(farthest, std::fabs(off) / bound);
        }
    }
    return farthest;
}

// "Lorentz width 9.5 Hz of #2, area 0 of #3": what stands at the edge of its window.
std::string held_text(const engine::fit_problem &problem, const engine::optimum &found) {
    static const char *const names[] = {"area", "frequency", "Gauss width", "phase",
                                        "Lorentz width"};
    std::string text;
    for (std::size_t k = 0; k < problem.entries.size(); ++k)
        for (const engine::quantity q : engine::every_quantity) {
            if (!found.is_at_bound(static_cast<int>(k), q)) continue;
            const char *unit = q == engine::area ? "" : q == engine::phase ? " degrees" : " Hz";
            double value = found.values[k][q];
            if (q == engine::gauss_width) value *= kernel::gauss_fwhm_per_width;
            if (q == engine::frequency && problem.entries[k].pattern < 0)
                value -= static_cast<double>(problem.when.points / 2); // from the carrier
            if (*unit == ' ' && q != engine::phase) value *= problem.when.hz_per_point;
            text += format("%s%s %.6g%s of #%zu", text.empty() ? "" : ", ", names[q], value, unit,
                           k + 1);
        }
    return text;
}

optimum_record record_of(const engine::fit_problem &problem, const engine::optimum &found) {
    optimum_record out;
    out.method = "exact";
    out.verdict = engine::name_of(found.judged.what);
    out.noise_sd = problem.noise_sd;
    out.sum_of_squares = found.found.sum_of_squares;
    out.expected_decrease = found.found.expected_decrease;
    out.root_reduced_chi_square = found.quality;
    for (const engine::reason &from : found.judged.reasons) {
        optimum_record::cause &cause = out.reasons.emplace_back();
        cause = {engine::name_of(from.what), from.number, {}, from.text};
        for (const int entry : from.entries) cause.entries.push_back(entry + 1);
        if (from.what == engine::finding::at_bound) cause.text += ": " + held_text(problem, found);
    }
    for (const engine::start_report &from : found.starts)
        out.starts.push_back({from.name, from.sum_of_squares - found.found.sum_of_squares,
                              from.shift * problem.when.hz_per_point, from.same});
    out.linearizations = found.linearizations;
    out.evaluations = found.evaluations;
    out.values = found.values;
    out.lineshape = found.lineshape;
    out.held.resize(problem.entries.size());
    for (std::size_t k = 0; k < problem.entries.size(); ++k)
        for (const engine::quantity q : engine::every_quantity) {
            out.held[k][q] = found.is_at_bound(static_cast<int>(k), q);
            const engine::parameter &p = problem.entries[k].of[q];
            if (p.how == engine::link::fixed) continue;
            if (std::isfinite(p.lower) || std::isfinite(p.upper))
                out.windows.push_back({static_cast<int>(k) + 1, q, p.lower, p.upper});
        }
    return out;
}

} // namespace

std::string refusal_text(const start_file &start, const engine::failure &why) {
    return (why.entry >= 0 ? entry_label(start, static_cast<std::size_t>(why.entry)) + ": " : "") +
           why.reason;
}

exact_find find_exactly(const start_file &start, const engine::fit_problem &problem,
                        const engine::model &of, engine::model_workspace &workspace,
                        const exact_options &options) {
    engine::fit_options how;
    how.starts = options.starts;
    how.watch = options.watch;
    if (options.search) how.extra.push_back({"search", values_in_points(*options.search)});
    engine::result<engine::optimum> found = engine::find_optimum(of, workspace, how);
    if (!found) throw tool_error(bad_input, refusal_text(start, found.why()));
    optimum_record record = record_of(problem, *found);
    if (options.search) {
        record.method = "both";
        record.search_distance = distance(problem, *found, values_in_points(*options.search));
    }
    return {std::move(*found), std::move(record)};
}

exact_result fit_exactly(const start_file &start, problem_data data,
                         engine::model_workspace &workspace, const exact_options &options) {
    const std::string why_not = why_not_exact(start);
    if (!why_not.empty()) throw tool_error(bad_input, why_not);
    const engine::fit_problem problem = problem_of(start, std::move(data), freedom::by_strategy);
    const engine::result<engine::model> of = engine::model::make(problem);
    if (!of) throw tool_error(bad_input, refusal_text(start, of.why()));
    exact_find found = find_exactly(start, problem, *of, workspace, options);
    if (options.begin_time_unknown && start.phi_1 == 0.0)
        found.record.begin_time =
            suggest_begin_time(problem, found.found, workspace, options.watch);
    return {with_values(start, found.found.values, found.found.lineshape), std::move(found.record)};
}

std::string cause_text(const optimum_record::cause &cause, const std::vector<std::string> &names) {
    std::string text = cause.what + ": " + cause.text;
    std::string list;
    for (const int entry : cause.entries) {
        const auto at = static_cast<std::size_t>(entry - 1);
        list += (list.empty() ? "" : ", ") +
                (at < names.size() ? names[at] : "#" + std::to_string(entry));
    }
    if (!list.empty()) return text + " (" + list + ")";
    return text + format(" (%.3g)", cause.number);
}

} // namespace tools
