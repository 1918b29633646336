// SPDX-License-Identifier: BSD-3-Clause
#include "files/results/judge_run.h"

#include "files/results/number_text.h"

#include <cmath>
#include <string>

namespace tools {

static std::string named(const fitted_entry &entry) {
    const std::string number = "#" + std::to_string(entry.number);
    return entry.name == number ? number : entry.name + " (" + number + ")";
}

const char *status_text(fit_status status) {
    static const char *const texts[] = {"converged", "at_limit", "fitted", "not_fitted"};
    return texts[static_cast<int>(status)];
}

const char *status_meaning(fit_status status) {
    static const char *const texts[] = {
        "the last step ended at its tolerance",
        "the last step ended at its number of iterations, or was a random search",
        "there are results, but nothing that tells how the last step ended",
        "there are no results, or they are not finite numbers"};
    return texts[static_cast<int>(status)];
}

fit_judgement judge_status(const run_result &run) {
    if (!run.fitted) return {fit_status::not_fitted, run.why_not};
    if (run.optimum) {
        if (run.optimum->verdict != "not_finished") return {fit_status::converged, ""};
        return {fit_status::at_limit, "the exact fit stopped at its limit of evaluations"};
    }
    const rebuilt_step *last = nullptr;
    int number = 0, last_number = 0;
    for (const rebuilt_step &step : run.control.steps) {
        ++number;
        if (!step.fits_something()) continue;
        last = &step;
        last_number = number;
    }
    if (last != nullptr && last->method == 1)
        return {fit_status::at_limit, "the last step (" + std::to_string(last_number) +
                                          ") is a random search, which has no end of its own: a "
                                          "gradient step after it brings the fit to its minimum"};
    if (last == nullptr)
        return {fit_status::fitted,
                "no compact.par of this fit to tell how the last step should end"};
    const int limit = last->row[8];
    bool at_limit = run.iterations >= limit;
    // A step may end at its tolerance in the last iteration that it has. The log tells: it has a
    // line for each gradient, and only a step that goes on needs another one.
    if (!run.log_steps.empty() && run.log_steps.back().gradients >= limit)
        at_limit = run.log_steps.back().gradients > limit;
    if (at_limit)
        return {fit_status::at_limit,
                "the last step (" + std::to_string(last_number) + ") stopped at its limit of " +
                    std::to_string(limit) +
                    " iterations, not at the tolerance: the fit may not be at its end"};
    return {fit_status::converged, ""};
}

static void judge_convergence(run_result &run) {
    const fit_judgement judgement = judge_status(run);
    if (!judgement.reason.empty()) run.warnings.push_back(judgement.reason);
}

// The verdict of the exact fit, in its own words.
static void judge_optimum(run_result &run) {
    if (!run.optimum) return;
    std::vector<std::string> names;
    for (const fitted_entry &entry : run.entries) names.push_back(entry.name);
    for (const optimum_record::cause &cause : run.optimum->reasons)
        run.warnings.push_back(cause_text(cause, names));
    if (run.optimum->search_distance && !(*run.optimum->search_distance <= far_search))
        run.warnings.push_back("the search ended " + short_number(*run.optimum->search_distance) +
                               " bounds from the optimum, whose values are given");
}

static void judge_noise(run_result &run) {
    if (!(run.noise_re > 0.0)) {
        run.warnings.push_back(
            "the noise is 0 or not known: quality and error bounds mean nothing");
        return;
    }
    const double ratio = run.noise_im / run.noise_re;
    if (!(ratio > 0.8 && ratio < 1.25))
        run.warnings.push_back("the noise of the real and of the imaginary part differ by a factor "
                               "of " +
                               short_number(ratio > 1.0 ? ratio : 1.0 / ratio) +
                               ": is there signal in the noise window, or a filtered channel? The "
                               "error bounds take the real one");
    if (run.optimum) return; // the verdict has a word on the quality
    if (run.quality > 1.5)
        run.warnings.push_back("the residual is " + short_number(run.quality) +
                               " times the noise: the model leaves signal over, and the error "
                               "bounds, which know of noise only, are too small");
    if (run.quality < 0.7)
        run.warnings.push_back("the residual is smaller than the noise (" +
                               short_number(run.quality) +
                               " of it): the noise window holds signal, or there are too many "
                               "parameters");
}

static void judge_entries(run_result &run) {
    std::string red, negative, narrow, outside;
    std::size_t free_areas = 0, unknown_areas = 0;
    const auto add = [](std::string &list, const fitted_entry &entry) {
        list += (list.empty() ? "" : ", ") + named(entry);
    };
    for (const fitted_entry &entry : run.entries) {
        if (entry.area.percent_1sd() > red_percent) add(red, entry);
        if (entry.area.state == parameter_state::free) {
            ++free_areas;
            unknown_areas += entry.area.percent_1sd() > 100.0;
        }
        if (entry.area.value < 0.0) add(negative, entry);
        if (entry.lorentz_width.value < 0.0) add(narrow, entry);
        if (entry.type == 4 || !run.control.read) continue;
        bool inside = false;
        const double point = entry.frequency.value / run.control.hz_per_point;
        for (const auto &[first, last] : run.intervals())
            inside = inside || (point >= static_cast<double>(first) - 0.5 &&
                                point <= static_cast<double>(last) + 0.5);
        if (!inside) add(outside, entry);
    }
    const auto warn = [&](const std::string &list, const std::string &text) {
        if (!list.empty()) run.warnings.push_back(text + ": " + list);
    };
    if (2 * unknown_areas > free_areas && free_areas > 0)
        run.warnings.insert(run.warnings.begin(),
                            "most areas are smaller than their errors: these data do not "
                            "determine this model, whatever the fit's end");
    warn(red, "area known to no better than 50 % (one standard deviation)");
    warn(negative, "negative area");
    warn(narrow, "negative Lorentzian width: the line grows in time");
    warn(outside, "frequency outside the fitted intervals");
    if (!run.has_errors)
        run.warnings.push_back(
            "no error bounds: they were not asked for (clcerr 0), or there is no "
            "noise window");
}

// Areas that the data can hardly tell apart.
static void judge_correlations(run_result &run) {
    if (!run.covariance_agrees) return;
    const std::size_t n = run.entries.size();
    const auto free_area = [&](std::size_t k) {
        return run.entries[k].area.state == parameter_state::free;
    };
    std::string list;
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (!free_area(i) || !free_area(j)) continue;
            const std::vector<double> &c = run.control.area_covariance;
            const double r = c[n * i + j] / std::sqrt(c[n * i + i] * c[n * j + j]);
            if (!(std::fabs(r) > 0.9)) continue;
            list += (list.empty() ? "" : ", ") + named(run.entries[j]) + " and " +
                    named(run.entries[i]) + " (" + short_number(r) + ")";
        }
    }
    if (!list.empty())
        run.warnings.push_back("areas with a correlation above 0.9, whose sum is better known than "
                               "each: " +
                               list);
}

static void pass_on(run_result &run) {
    for (const std::string &text : run.log_remarks) run.warnings.push_back(text);
    const nlohmann::json guessed = run.sidecar.value("guessed", nlohmann::json::array());
    if (!guessed.is_array()) return;
    for (const nlohmann::json &guess : guessed) {
        if (!guess.is_object() || !guess.contains("item") || !guess["item"].is_string()) continue;
        const nlohmann::json value = guess.value("value", nlohmann::json());
        const nlohmann::json reason = guess.value("reason", nlohmann::json(""));
        run.warnings.push_back("guessed at import: " + guess["item"].get<std::string>() + " = " +
                               (value.is_string() ? value.get<std::string>() : value.dump()) +
                               (reason.is_string() && !reason.get<std::string>().empty()
                                    ? " (" + reason.get<std::string>() + ")"
                                    : ""));
    }
}

void judge_run(run_result &run) {
    judge_convergence(run);
    judge_optimum(run);
    judge_noise(run);
    judge_entries(run);
    judge_correlations(run);
    pass_on(run);
    if (!run.axis.mhz || !run.axis.ppm_at_carrier)
        run.warnings.push_back("no ppm: spectrometer_mhz and ppm_at_carrier are not in " +
                               run.name + ".json");
}

} // namespace tools
