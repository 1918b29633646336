// SPDX-License-Identifier: BSD-3-Clause
// exact_fitter.cpp -- the engine's fit of a spectrum of a batch, as its record
#include "varokel-batch/exact_fitter.h"

#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"

#include "engine/noise_window.h"
#include "varokel-batch/start_choice.h"

#include <algorithm>
#include <cmath>

namespace tools {

// Values and errors (two standard deviations) in the units of the result files.
static void take_values(const start_file &start, const engine::optimum &found, fit_record &record) {
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        for (int q = 0; q < quantities; ++q) {
            const double unit = points_of_unit(q, start.entries[k].type, start.hz_per_point);
            record.values.push_back(found.values[k][static_cast<std::size_t>(q)] / unit);
            record.errors.push_back(
                2.0 *
                found.covariance.error(static_cast<int>(k), static_cast<engine::quantity>(q)) /
                unit);
            if (start.entries[k].parameters[static_cast<std::size_t>(q)].link == 0)
                ++record.free_parameters;
        }
    }
    record.correlations =
        packed_correlations(start, [&](std::size_t k, int q, std::size_t l, int r) {
            return found.covariance.of(static_cast<int>(k), static_cast<engine::quantity>(q),
                                       static_cast<int>(l), static_cast<engine::quantity>(r));
        });
}

static exact_facts exact_facts_of(const exact_find &fit) {
    exact_facts facts;
    facts.method = fit.record.method == "both" ? fit_method::both : fit_method::exact;
    facts.verdict = fit.found.judged.what;
    facts.starts = static_cast<std::int32_t>(fit.found.starts.size());
    facts.expected_decrease = fit.record.expected_decrease;
    facts.search_distance = fit.record.search_distance.value_or(not_known);
    facts.reasons = fit.record.reasons;
    return facts;
}

// Quality before and after in both channels, whatever was fitted; heights over the noise.
void exact_fitter::measure_curves(const engine::fit_problem &problem, const engine::model &of,
                                  const engine::minimum &at, fit_record &record,
                                  std::string &curve) {
    const double noise = problem.noise_sd;
    workspace_.prepare(of);
    const double sum = workspace_.chi_square(of, at.x);
    const double points = static_cast<double>(of.rows()) / 2.0;
    record.figures[0] = std::sqrt(sum / (2.0 * points));
    record.figures[4] = sum * noise * noise;
    if (measure_.width > 0) {
        const double before = workspace_.chi_square(of, of.given());
        record.quality_before = std::sqrt(before / (2.0 * static_cast<double>(measure_.width)));
    }
    const complex_signal model = workspace_.spectrum(of, at.x);
    record.snr = 0.0;
    for (const auto &[first, last] : measure_.intervals)
        record.snr = std::max(record.snr, highest_point(model, first, last) / noise);
    if (plan_.keep > 0) curve = signal_bytes(model);
    const long long n = measure_.points;
    for (int k = 0; k < static_cast<int>(problem.entries.size()); ++k)
        record.entry_snr.push_back(highest_point(workspace_.spectrum(of, at.x, k), 0, n - 1) /
                                   noise);
}

harvest exact_fitter::fit(long long line, const std::string &spectrum, const start_file &start,
                          const std::optional<start_file> &search) {
    harvest found;
    fit_record &record = found.record;
    const auto failed = [&](const std::string &reason) {
        found.record = record_without_fit(line, fit_state::failed, reason, start.entries.size());
        return found;
    };
    record.figures.fill(not_known);
    problem_data data;
    data.spectrum = signal_of_bytes(spectrum);
    record.figures[1] = data.noise_sd = noise_sd_of(start, data.spectrum);
    if (start.noise_stop > start.noise_first)
        record.figures[2] =
            engine::noise_of_stretch(data.spectrum, start.noise_first, start.noise_stop).sd_im;
    data.patterns = patterns_;
    engine::fit_problem problem = problem_of(start, std::move(data), freedom::by_strategy);
    try {
        const engine::result<engine::model> of = engine::model::make(problem);
        if (!of) return failed(refusal_text(start, of.why()));
        exact_options options;
        options.search = search;
        const exact_find fit = find_exactly(start, problem, *of, workspace_, options);
        record.line = line;
        record.state = fit_state::fitted;
        record.iterations = fit.found.linearizations;
        record.weighting = 1;
        take_values(start, fit.found, record);
        for (const double value : record.values)
            if (!std::isfinite(value)) return failed("its results are no finite numbers");
        record.exact = exact_facts_of(fit);
        if (of->part() == engine::channel::both) {
            measure_curves(problem, *of, fit.found.found, record, found.fit);
        } else {
            problem.part = engine::channel::both;
            const engine::result<engine::model> whole = engine::model::make(problem);
            if (!whole) return failed(refusal_text(start, whole.why()));
            measure_curves(problem, *whole, fit.found.found, record, found.fit);
        }
    } catch (const tool_error &error) {
        return failed(error.what());
    }
    return found;
}

} // namespace tools
