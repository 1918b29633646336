// SPDX-License-Identifier: BSD-3-Clause
// judge_run.cpp -- the judgement of a run, from what its files say
#include "files/results/judge_run.h"

#include "files/results/number_text.h"
#include <algorithm>
#include <cmath>
#include <string>

namespace tools {

static std::string shown_name(const fitted_entry &entry) {
    const std::string number = "#" + std::to_string(entry.number);
    return entry.name == number ? number : entry.name + " (" + number + ")";
}

static judged_entry facts_of(const run_result &run, const fitted_entry &entry) {
    judged_entry facts;
    facts.name = shown_name(entry);
    for (int q = 0; q < quantities; ++q) {
        const fitted_parameter &p = entry.of(q);
        if (p.state == parameter_state::unused) continue;
        if (run.axis.hz_per_point) facts.finite = facts.finite && std::isfinite(p.value);
        if (run.has_errors && p.state == parameter_state::free)
            facts.bounded = facts.bounded && std::isfinite(p.error_2sd);
    }
    facts.free_area = entry.area.state == parameter_state::free;
    facts.area = entry.area.value;
    facts.area_percent = entry.area.percent_1sd();
    facts.lorentz_width = entry.lorentz_width.value;
    if (entry.type == pattern_entry || !run.control.read) return facts;
    facts.inside = is_inside(run.intervals(), entry.frequency.value / run.control.hz_per_point);
    return facts;
}

static std::optional<last_step> last_step_of(const run_result &run) {
    const start_step *const last = last_fitting_step(run.control.steps);
    if (last == nullptr) return std::nullopt;
    return last_step{last->algorithm == 1, static_cast<int>(last - run.control.steps.data()) + 1,
                     last->switches[iterations]};
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

static finding_level level_of(finding_kind kind, double quality) {
    if (kind == finding_kind::degenerate || kind == finding_kind::noise_wrong)
        return finding_level::red;
    if (kind == finding_kind::misfit && quality > red_quality) return finding_level::red;
    return finding_level::amber;
}

// The verdict of the exact fit, in its own words.
static std::optional<fit_verdict> verdict_of(const run_result &run) {
    if (!run.optimum) return std::nullopt;
    std::vector<std::string> names;
    for (const fitted_entry &entry : run.entries) names.push_back(entry.name);
    fit_verdict verdict;
    bool moved = false;
    for (const optimum_record::cause &cause : run.optimum->reasons) {
        const std::optional<finding_kind> kind = finding_of_text(cause.what);
        finding said = {kind.value_or(finding_kind::remark),
                        kind ? level_of(*kind, run.quality) : finding_level::amber,
                        cause_text(cause, names),
                        {}};
        for (const int entry : cause.entries)
            if (entry >= 1) said.entries.push_back(static_cast<std::size_t>(entry - 1));
        moved = moved || kind == finding_kind::moved;
        verdict.reasons.push_back(std::move(said));
    }
    const std::optional<double> distance = run.optimum->search_distance;
    if (distance && !(*distance <= far_search) && !moved)
        verdict.reasons.push_back({finding_kind::moved,
                                   finding_level::note,
                                   "the search ended " + short_number(*distance) +
                                       " bounds from the optimum, whose values are given",
                                   {}});
    if (run.optimum->begin_time)
        verdict.reasons.push_back({finding_kind::remark,
                                   finding_level::amber,
                                   begin_time_text(*run.optimum->begin_time),
                                   {}});
    if (run.optimum->verdict == "not_finished" &&
        std::none_of(verdict.reasons.begin(), verdict.reasons.end(),
                     [](const finding &each) { return each.kind == finding_kind::not_finished; }))
        verdict.reasons.push_back({finding_kind::not_finished,
                                   finding_level::amber,
                                   "the exact fit stopped at its limit of evaluations",
                                   {}});
    return verdict;
}

static fit_facts facts_of(const run_result &run) {
    fit_facts facts;
    facts.fitted = run.fitted;
    facts.why_not = run.why_not;
    facts.step = last_step_of(run);
    facts.verdict = verdict_of(run);
    facts.iterations = run.iterations;
    if (!run.log_steps.empty()) facts.gradients = run.log_steps.back().gradients;
    facts.noise_re = run.noise_re;
    facts.noise_im = run.noise_im;
    facts.quality = run.quality;
    facts.has_errors = run.has_errors;
    facts.singular = run.singular;
    for (const fitted_entry &entry : run.entries) facts.entries.push_back(facts_of(run, entry));
    facts.correlated = correlations_of(run);
    facts.files = run.warnings;
    facts.remarks = run.log_remarks;
    facts.remarks.insert(facts.remarks.end(), run.start_warnings.begin(), run.start_warnings.end());
    facts.guesses = guesses_of_sidecar(run.sidecar);
    facts.guesses.insert(facts.guesses.end(), run.start_guesses.begin(), run.start_guesses.end());
    facts.points = run.axis.points;
    facts.measured = run.axis.measured;
    facts.error_factor = run.axis.error_factor();
    if (!run.axis.mhz || !run.axis.ppm_at_carrier)
        facts.no_ppm =
            "no ppm: spectrometer_mhz and ppm_at_carrier are not in " + run.name + ".json";
    return facts;
}

void judge_run(run_result &run) {
    run.judgement = judge(facts_of(run));
    run.warnings.clear();
    for (const finding &each : run.judgement.findings) run.warnings.push_back(each.text);
}

} // namespace tools
