// SPDX-License-Identifier: BSD-3-Clause
// judgement.cpp -- what a reader of a fit should know before its numbers
#include "files/results/judgement.h"

#include "files/results/number_text.h"

#include <algorithm>
#include <cmath>

namespace tools {

static std::string joined(const std::string &list, const std::string &text) {
    return list + (list.empty() ? "" : ", ") + text;
}

// ---- how it ended ----

static bool ended_at_limit(const fit_facts &facts, int limit) {
    // A step may end at its tolerance in the last iteration that it has. The log tells: it has a
    // line for each gradient, and only a step that goes on needs another one.
    if (facts.gradients >= limit) return facts.gradients > limit;
    return facts.iterations >= limit;
}

static void judge_end(const fit_facts &facts, fit_judgement &judged) {
    std::string lost;
    for (const judged_entry &entry : facts.entries)
        if (!entry.finite) lost = joined(lost, entry.name);
    if (!facts.fitted || !lost.empty()) {
        judged.status = fit_status::not_fitted;
        judged.reason =
            facts.fitted ? "not a finite number among the results of " + lost : facts.why_not;
    } else if (facts.noise_re > 0.0 && !std::isfinite(facts.quality)) {
        judged.status = fit_status::not_fitted;
        judged.reason = "the residual of the fit is not a finite number";
    } else if (facts.verdict) {
        judged.status = fit_status::converged;
        for (const finding &reason : facts.verdict->reasons)
            if (reason.kind == finding_kind::not_finished) {
                judged.status = fit_status::at_limit;
                judged.reason = reason.text;
            }
    } else if (!facts.step) {
        judged.status = fit_status::fitted;
        judged.reason = "no compact.par of this fit to tell how the last step should end";
    } else if (facts.step->random) {
        judged.status = fit_status::at_limit;
        judged.reason = "the last step (" + std::to_string(facts.step->number) +
                        ") is a random search, which has no end of its own: a gradient step after "
                        "it brings the fit to its minimum";
    } else if (ended_at_limit(facts, facts.step->limit)) {
        judged.status = fit_status::at_limit;
        judged.reason = "the last step (" + std::to_string(facts.step->number) +
                        ") stopped at its limit of " + std::to_string(facts.step->limit) +
                        " iterations, not at the tolerance: the fit may not be at its end";
    } else {
        judged.status = fit_status::converged;
    }
}

// ---- what was found ----

class finding_list {
  public:
    finding_list(const fit_facts &facts, fit_judgement &judged) : facts_(facts), judged_(judged) {}
    void add(finding_kind kind, finding_level level, const std::string &text,
             std::vector<std::size_t> entries = {}) {
        if (facts_.verdict && is_of_verdict(kind)) return; // said by who knows better
        judged_.findings.push_back({kind, level, text, std::move(entries)});
    }
    // Entries for which something holds, named behind the meaning.
    template <class condition>
    void add_entries(finding_kind kind, finding_level level, const condition &holds) {
        std::string names;
        std::vector<std::size_t> found;
        for (std::size_t k = 0; k < facts_.entries.size(); ++k)
            if (holds(facts_.entries[k])) {
                names = joined(names, facts_.entries[k].name);
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
    const fit_facts &facts_;
    fit_judgement &judged_;
};

static void judge_noise(const fit_facts &facts, finding_list &found) {
    if (!(facts.noise_re > 0.0)) {
        found.add(finding_kind::noise_unknown, finding_level::red,
                  finding_meaning(finding_kind::noise_unknown));
        return;
    }
    const double ratio = facts.noise_im / facts.noise_re;
    if (!(ratio > 0.8 && ratio < 1.25))
        found.add(finding_kind::noise_unlike, finding_level::amber,
                  "the noise of the real and of the imaginary part differ by a factor of " +
                      short_number(ratio > 1.0 ? ratio : 1.0 / ratio) +
                      ": is there signal in the noise window, or a filtered channel? The error "
                      "bounds take the real one");
    if (facts.quality > amber_quality)
        found.add(finding_kind::misfit,
                  facts.quality > red_quality ? finding_level::red : finding_level::amber,
                  "the residual is " + short_number(facts.quality) +
                      " times the noise: the model leaves signal over, and the error bounds, "
                      "which know of noise only, are too small");
    if (facts.quality < least_quality)
        found.add(finding_kind::noise_wrong, finding_level::red,
                  "the residual is smaller than the noise (" + short_number(facts.quality) +
                      " of it): the noise window holds signal, or there are too many parameters");
}

static void judge_entries(const fit_facts &facts, finding_list &found) {
    if (!facts.has_errors)
        found.add(finding_kind::no_bounds, finding_level::amber,
                  facts.noise_re == 0.0
                      ? "no error bounds: the points of the noise window are all alike, which "
                        "makes the noise 0; choose a window of measured points"
                      : "no error bounds: they were not asked for (clcerr 0), or there is no noise "
                        "window");
    else
        found.add_entries(finding_kind::no_bounds, finding_level::red,
                          [](const judged_entry &e) { return !e.bounded; });
    found.add_entries(finding_kind::weak_area, finding_level::amber,
                      [](const judged_entry &e) { return e.area_percent > red_percent; });
    found.add_entries(finding_kind::negative_area, finding_level::amber,
                      [](const judged_entry &e) { return e.area < 0.0; });
    found.add_entries(finding_kind::negative_width, finding_level::red,
                      [](const judged_entry &e) { return e.lorentz_width < 0.0; });
    found.add_entries(finding_kind::outside, finding_level::red,
                      [](const judged_entry &e) { return !e.inside; });
}

static void judge_correlations(const fit_facts &facts, finding_list &found) {
    if (facts.singular)
        found.add(finding_kind::degenerate, finding_level::red,
                  finding_meaning(finding_kind::degenerate));
    std::string list;
    std::vector<std::size_t> entries;
    for (const correlated_pair &pair : facts.correlated) {
        if (!(std::fabs(pair.coefficient) > high_correlation)) continue;
        list = joined(list, facts.entries[pair.first].name + " and " +
                                facts.entries[pair.second].name + " (" +
                                short_number(pair.coefficient) + ")");
        for (const std::size_t k : {pair.first, pair.second})
            if (std::find(entries.begin(), entries.end(), k) == entries.end()) entries.push_back(k);
    }
    if (!list.empty())
        found.add(finding_kind::correlated, finding_level::note,
                  std::string(finding_meaning(finding_kind::correlated)) + ": " + list, entries);
}

static void judge_origin(const fit_facts &facts, finding_list &found) {
    for (const std::string &text : facts.remarks)
        found.add(finding_kind::remark, finding_level::amber, text);
    if (facts.error_factor > 1.0)
        found.add(finding_kind::filled, finding_level::note,
                  std::to_string(facts.measured) + " of " + std::to_string(facts.points) +
                      " points were measured, the others are zeros: error bounds here are " +
                      short_number(facts.error_factor) +
                      " times those of the fit, which takes the noise of all points as "
                      "independent");
    for (const std::string &text : facts.guesses)
        found.add(finding_kind::guessed, finding_level::note, text);
    if (!facts.no_ppm.empty()) found.add(finding_kind::no_ppm, finding_level::note, facts.no_ppm);
}

fit_judgement judge(const fit_facts &facts) {
    fit_judgement judged;
    judge_end(facts, judged);
    if (!facts.fitted) return judged;
    finding_list found(facts, judged);
    if (facts.verdict) judged.findings = facts.verdict->reasons;
    std::size_t free_areas = 0, unknown_areas = 0;
    for (const judged_entry &entry : facts.entries) {
        if (!entry.free_area) continue;
        ++free_areas;
        unknown_areas += entry.area_percent > 100.0;
    }
    if (2 * unknown_areas > free_areas)
        found.add(finding_kind::undetermined, finding_level::red,
                  finding_meaning(finding_kind::undetermined));
    for (const std::string &text : facts.files)
        found.add(finding_kind::files, finding_level::amber, text);
    if (!judged.reason.empty())
        found.add(
            judged.status == fit_status::fitted ? finding_kind::files : finding_kind::not_finished,
            judged.status == fit_status::not_fitted ? finding_level::red : finding_level::amber,
            judged.reason);
    judge_noise(facts, found);
    judge_entries(facts, found);
    judge_correlations(facts, found);
    judge_origin(facts, found);
    return judged;
}

bool is_inside(const std::vector<std::pair<long long, long long>> &intervals, double point) {
    return std::any_of(intervals.begin(), intervals.end(), [&](const auto &interval) {
        return point >= static_cast<double>(interval.first) - 0.5 &&
               point <= static_cast<double>(interval.second) + 0.5;
    });
}

// ---- how it is shown ----

finding_level fit_judgement::level() const {
    finding_level highest =
        status == fit_status::not_fitted ? finding_level::red : finding_level::none;
    for (const finding &each : findings) highest = std::max(highest, each.level);
    return highest;
}

static void add_word(std::string &list, finding_kind kind) {
    const std::string word = finding_text(kind);
    if (("," + list + ",").find("," + word + ",") == std::string::npos)
        list += (list.empty() ? "" : ",") + word;
}

std::string fit_judgement::words() const {
    std::string list;
    for (const finding &each : findings) add_word(list, each.kind);
    return list;
}

std::string fit_judgement::words_of(std::size_t entry) const {
    std::string list;
    for (const finding &each : findings)
        if (std::find(each.entries.begin(), each.entries.end(), entry) != each.entries.end())
            add_word(list, each.kind);
    return list;
}

} // namespace tools
