// SPDX-License-Identifier: BSD-3-Clause
// judge_run.cpp -- what a reader of a run should know before its numbers
#include "files/results/judge_run.h"

#include "files/results/number_text.h"

#include <algorithm>
#include <cmath>

namespace tools {

static std::string joined(const std::string &list, const std::string &text) {
    return list + (list.empty() ? "" : ", ") + text;
}

static std::string shown_name(const fitted_entry &entry) {
    const std::string number = "#" + std::to_string(entry.number);
    return entry.name == number ? number : entry.name + " (" + number + ")";
}

// ---- how it ended ----

// All results of parameters that the entry's type has.
static bool is_finite(const run_result &run, const fitted_entry &entry) {
    if (!run.axis.hz_per_point) return true;
    for (int q = 0; q < quantities; ++q)
        if (entry.of(q).state != parameter_state::unused && !std::isfinite(entry.of(q).value))
            return false;
    return true;
}

static bool ended_at_limit(const run_result &run, int limit) {
    // A step may end at its tolerance in the last iteration that it has. The log tells: it has a
    // line for each gradient, and only a step that goes on needs another one.
    const int gradients = run.log_steps.empty() ? 0 : run.log_steps.back().gradients;
    if (gradients >= limit) return gradients > limit;
    return run.iterations >= limit;
}

static void judge_end(const run_result &run, fit_judgement &judged) {
    std::string lost;
    for (const fitted_entry &entry : run.entries)
        if (!is_finite(run, entry)) lost = joined(lost, shown_name(entry));
    const start_step *const last = last_fitting_step(run.control.steps);
    const std::string step =
        last == nullptr ? "" : std::to_string(last - run.control.steps.data() + 1);
    if (!run.fitted || !lost.empty()) {
        judged.status = fit_status::not_fitted;
        judged.reason =
            run.fitted ? "not a finite number among the results of " + lost : run.why_not;
    } else if (run.noise_re > 0.0 && !std::isfinite(run.quality)) {
        judged.status = fit_status::not_fitted;
        judged.reason = "the residual of the fit is not a finite number";
    } else if (run.optimum) {
        judged.status = fit_status::converged;
        for (const finding &reason : judged.findings)
            if (reason.kind == finding_kind::not_finished) {
                judged.status = fit_status::at_limit;
                judged.reason = reason.text;
            }
    } else if (last == nullptr) {
        judged.status = fit_status::fitted;
        judged.reason = "no compact.par of this fit to tell how the last step should end";
    } else if (last->algorithm == 1) {
        judged.status = fit_status::at_limit;
        judged.reason = "the last step (" + step +
                        ") is a random search, which has no end of its own: a gradient step after "
                        "it brings the fit to its minimum";
    } else if (ended_at_limit(run, last->switches[iterations])) {
        judged.status = fit_status::at_limit;
        judged.reason = "the last step (" + step + ") stopped at its limit of " +
                        std::to_string(last->switches[iterations]) +
                        " iterations, not at the tolerance: the fit may not be at its end";
    } else {
        judged.status = fit_status::converged;
    }
}

// ---- what was found ----

static finding_level level_of(finding_kind kind, double quality) {
    if (kind == finding_kind::degenerate || kind == finding_kind::noise_wrong)
        return finding_level::red;
    if (kind == finding_kind::misfit && quality > red_quality) return finding_level::red;
    return finding_level::amber;
}

// The verdict of the exact fit, in its own words.
static std::vector<finding> reasons_of(const run_result &run) {
    std::vector<std::string> names;
    for (const fitted_entry &entry : run.entries) names.push_back(entry.name);
    std::vector<finding> reasons;
    bool moved = false;
    for (const optimum_record::cause &cause : run.optimum->reasons) {
        const std::optional<finding_kind> kind = finding_of_text(cause.what);
        finding said = {kind.value_or(finding_kind::remark),
                        kind ? level_of(*kind, run.quality) : finding_level::amber,
                        cause_text(cause, names)};
        for (const int entry : cause.entries)
            if (entry >= 1) said.entries.push_back(static_cast<std::size_t>(entry - 1));
        moved = moved || kind == finding_kind::moved;
        reasons.push_back(std::move(said));
    }
    const std::optional<double> distance = run.optimum->search_distance;
    if (distance && !(*distance <= far_search) && !moved)
        reasons.push_back({finding_kind::moved, finding_level::note,
                           "the search ended " + short_number(*distance) +
                               " bounds from the optimum, whose values are given"});
    if (run.optimum->begin_time)
        reasons.push_back({finding_kind::remark, finding_level::amber,
                           begin_time_text(*run.optimum->begin_time)});
    if (run.optimum->verdict == "not_finished" &&
        std::none_of(reasons.begin(), reasons.end(),
                     [](const finding &each) { return each.kind == finding_kind::not_finished; }))
        reasons.push_back({finding_kind::not_finished, finding_level::amber,
                           "the exact fit stopped at its limit of evaluations"});
    return reasons;
}

std::vector<correlated_pair> correlations_of(const run_result &run) {
    std::vector<correlated_pair> pairs;
    if (!run.has_covariance()) return pairs;
    const std::size_t n = run.entries.size();
    const auto c = [&](std::size_t k, std::size_t l) {
        return run.control.covariance_of(k, area_of, l, area_of);
    };
    const auto is_free = [&](std::size_t k) {
        return run.entries[k].area.state == parameter_state::free;
    };
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (is_free(i) && is_free(j))
                pairs.push_back({j, i, c(i, j) / std::sqrt(c(i, i) * c(j, j))});
    return pairs;
}

std::vector<std::string> guesses_of_sidecar(const ordered_json &sidecar) {
    std::vector<std::string> said;
    const ordered_json guessed = sidecar.value("guessed", ordered_json::array());
    if (!guessed.is_array()) return said;
    for (const ordered_json &guess : guessed) {
        if (!guess.is_object() || !guess.contains("item") || !guess["item"].is_string()) continue;
        const ordered_json value = guess.value("value", ordered_json());
        const ordered_json reason = guess.value("reason", ordered_json(""));
        said.push_back("guessed at import: " + guess["item"].get<std::string>() + " = " +
                       (value.is_string() ? value.get<std::string>() : value.dump()) +
                       (reason.is_string() && !reason.get<std::string>().empty()
                            ? " (" + reason.get<std::string>() + ")"
                            : ""));
    }
    return said;
}

class finding_list {
  public:
    finding_list(const run_result &run, fit_judgement &judged) : run_(run), judged_(judged) {}
    void add(finding_kind kind, finding_level level, const std::string &text,
             std::vector<std::size_t> entries = {}) {
        if (run_.optimum && is_of_verdict(kind)) return; // said by who knows better
        judged_.findings.push_back({kind, level, text, std::move(entries)});
    }
    // Entries for which something holds, named behind the meaning.
    template <class condition>
    void add_entries(finding_kind kind, finding_level level, const condition &holds) {
        std::string names;
        std::vector<std::size_t> found;
        for (std::size_t k = 0; k < run_.entries.size(); ++k)
            if (holds(run_.entries[k])) {
                names = joined(names, shown_name(run_.entries[k]));
                found.push_back(k);
            }
        if (!found.empty())
            add(kind, level, std::string(finding_meaning(kind)) + ": " + names, std::move(found));
    }

  private:
    static bool is_of_verdict(finding_kind kind) {
        static constexpr finding_kind own[] = {
            finding_kind::not_finished, finding_kind::several_minima, finding_kind::moved,
            finding_kind::misfit,       finding_kind::noise_wrong,    finding_kind::at_bound,
            finding_kind::degenerate};
        return std::find(std::begin(own), std::end(own), kind) != std::end(own);
    }
    const run_result &run_;
    fit_judgement &judged_;
};

static void judge_noise(const run_result &run, finding_list &found) {
    if (!(run.noise_re > 0.0)) {
        found.add(finding_kind::noise_unknown, finding_level::red,
                  finding_meaning(finding_kind::noise_unknown));
        return;
    }
    const double ratio = run.noise_im / run.noise_re;
    if (!(ratio > 0.8 && ratio < 1.25))
        found.add(finding_kind::noise_unlike, finding_level::amber,
                  "the noise of the real and of the imaginary part differ by a factor of " +
                      short_number(ratio > 1.0 ? ratio : 1.0 / ratio) +
                      ": is there signal in the noise window, or a filtered channel? The error "
                      "bounds take the real one");
    if (run.quality > amber_quality)
        found.add(finding_kind::misfit,
                  run.quality > red_quality ? finding_level::red : finding_level::amber,
                  "the residual is " + quality_number(run.quality) +
                      " times the noise: the model leaves signal over, and the error bounds, "
                      "which know of noise only, are too small");
    if (run.quality < least_quality)
        found.add(finding_kind::noise_wrong, finding_level::red,
                  "the residual is smaller than the noise (" + quality_number(run.quality) +
                      " of it): the noise window holds signal, or there are too many parameters");
}

static bool is_bounded(const fitted_entry &entry) {
    for (int q = 0; q < quantities; ++q)
        if (entry.of(q).state == parameter_state::free && !std::isfinite(entry.of(q).error_2sd))
            return false;
    return true;
}

// Whether a line's frequency lies in a fitted interval, with half a point around.
static bool is_inside(const run_result &run, const fitted_entry &entry) {
    if (entry.type == pattern_entry || !run.control.read) return true;
    const double point = entry.frequency.value / run.control.hz_per_point;
    const auto intervals = run.intervals();
    return std::any_of(intervals.begin(), intervals.end(), [&](const auto &interval) {
        return point >= static_cast<double>(interval.first) - 0.5 &&
               point <= static_cast<double>(interval.second) + 0.5;
    });
}

static void judge_entries(const run_result &run, finding_list &found) {
    if (!run.has_errors)
        found.add(finding_kind::no_bounds, finding_level::amber,
                  run.noise_re == 0.0
                      ? "no error bounds: the points of the noise window are all alike, which "
                        "makes the noise 0; choose a window of measured points"
                      : "no error bounds: they were not asked for (clcerr 0), or there is no noise "
                        "window");
    else
        found.add_entries(finding_kind::no_bounds, finding_level::red,
                          [](const fitted_entry &e) { return !is_bounded(e); });
    found.add_entries(finding_kind::weak_area, finding_level::amber,
                      [](const fitted_entry &e) { return e.area.percent_1sd() > red_percent; });
    found.add_entries(finding_kind::negative_area, finding_level::amber,
                      [](const fitted_entry &e) { return e.area.value < 0.0; });
    found.add_entries(finding_kind::negative_width, finding_level::red,
                      [](const fitted_entry &e) { return e.lorentz_width.value < 0.0; });
    found.add_entries(finding_kind::outside, finding_level::red,
                      [&](const fitted_entry &e) { return !is_inside(run, e); });
}

static void judge_correlations(const run_result &run, finding_list &found) {
    if (run.singular)
        found.add(finding_kind::degenerate, finding_level::red,
                  finding_meaning(finding_kind::degenerate));
    std::string list;
    std::vector<std::size_t> entries;
    for (const correlated_pair &pair : correlations_of(run)) {
        if (!(std::fabs(pair.coefficient) > high_correlation)) continue;
        list = joined(list, shown_name(run.entries[pair.first]) + " and " +
                                shown_name(run.entries[pair.second]) + " (" +
                                short_number(pair.coefficient) + ")");
        for (const std::size_t k : {pair.first, pair.second})
            if (std::find(entries.begin(), entries.end(), k) == entries.end()) entries.push_back(k);
    }
    if (!list.empty())
        found.add(finding_kind::correlated, finding_level::note,
                  std::string(finding_meaning(finding_kind::correlated)) + ": " + list, entries);
}

static void judge_origin(const run_result &run, finding_list &found) {
    for (const auto &remarks : {run.log_remarks, run.start_warnings})
        for (const std::string &text : remarks)
            found.add(finding_kind::remark, finding_level::amber, text);
    // one point of 4096 is no news
    if (const std::string factor = short_number(run.axis.error_factor()); factor != "1")
        found.add(finding_kind::filled, finding_level::note,
                  std::to_string(run.axis.measured) + " of " + std::to_string(run.axis.points) +
                      " points were measured, the others are zeros: error bounds here are " +
                      factor +
                      " times those of the fit, which takes the noise of all points as "
                      "independent");
    for (const auto &guesses : {guesses_of_sidecar(run.sidecar), run.start_guesses})
        for (const std::string &text : guesses)
            found.add(finding_kind::guessed, finding_level::note, text);
    if (!run.axis.mhz || !run.axis.ppm_at_carrier)
        found.add(finding_kind::no_ppm, finding_level::note,
                  "no ppm: spectrometer_mhz and ppm_at_carrier are not in " + run.name + ".json");
}

static fit_judgement judged_run(const run_result &run) {
    fit_judgement judged;
    if (run.fitted && run.optimum) judged.findings = reasons_of(run);
    judge_end(run, judged);
    if (!run.fitted) return judged;
    finding_list found(run, judged);
    std::size_t free_areas = 0, unknown_areas = 0;
    for (const fitted_entry &entry : run.entries) {
        if (entry.area.state != parameter_state::free) continue;
        ++free_areas;
        unknown_areas += entry.area.percent_1sd() > 100.0;
    }
    if (2 * unknown_areas > free_areas)
        found.add(finding_kind::undetermined, finding_level::red,
                  finding_meaning(finding_kind::undetermined));
    for (const std::string &text : run.warnings)
        found.add(finding_kind::files, finding_level::amber, text);
    if (!judged.reason.empty())
        found.add(
            judged.status == fit_status::fitted ? finding_kind::files : finding_kind::not_finished,
            judged.status == fit_status::not_fitted ? finding_level::red : finding_level::amber,
            judged.reason);
    judge_noise(run, found);
    judge_entries(run, found);
    judge_correlations(run, found);
    judge_origin(run, found);
    return judged;
}

void judge_run(run_result &run) {
    run.judgement = judged_run(run);
    run.warnings.clear();
    for (const finding &each : run.judgement.findings) run.warnings.push_back(each.text);
}

} // namespace tools
