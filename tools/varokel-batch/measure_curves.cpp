// SPDX-License-Identifier: BSD-3-Clause
// measure_curves.cpp -- figures of a fit that its curves tell: signal to noise, quality before it
#include "varokel-batch/measure_curves.h"

#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"
#include "files/start/read_start_file.h"
#include "files/start/pattern_file.h"
#include "files/start/values_in_points.h"

#include "engine/curve.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tools {

curve_measure::curve_measure(const start_file &start)
    : entries(start.entries.size()), points(start.points) {
    if (start.steps.empty()) return;
    for (const auto &[begin, end] : start.steps.front().intervals) width += end - begin;
    if (const start_step *const last = last_fitting_step(start.steps)) kept = last->points;
    intervals = fitted_intervals(start.steps, points);
    has_lineshape = start.fit_mode != 1;
}

double highest_point(const complex_signal &signal, long long first, long long last) {
    double most = 0.0; // its square
    for (long long i = first; i <= last; ++i)
        most = std::max(most, std::norm(signal[static_cast<std::size_t>(i)]));
    return std::sqrt(most);
}

void measure_snr(const curve_measure &measure, const std::string &fit,
                 const std::string &components, fit_record &record) {
    const double noise = record.figures[1];
    record.snr = not_known;
    record.entry_snr.assign(measure.entries, not_known);
    if (fit.size() == static_cast<std::size_t>(8 * measure.points)) {
        const complex_signal model = signal_of_bytes(fit);
        double most = 0.0;
        for (const auto &[first, last] : measure.intervals)
            most = std::max(most, highest_point(model, first, last));
        record.snr = most / noise;
    }
    if (components.size() != static_cast<std::size_t>(8 * measure.points) * measure.entries) return;
    const complex_signal own = signal_of_bytes(components);
    for (std::size_t k = 0; k < measure.entries; ++k) {
        const long long begin = static_cast<long long>(k) * measure.points;
        record.entry_snr[k] = highest_point(own, begin, begin + measure.points - 1) / noise;
    }
}

complex_signal model_of_start(const curve_measure &measure, const start_file &start,
                              const std::string &patterns) {
    if (measure.has_lineshape) return {};
    const engine::acquisition when = {start.points, start.hz_per_point, start.phi_1, start.ignored,
                                      std::min(start.points, std::max(measure.kept, 2))};
    complex_signal sum(static_cast<std::size_t>(start.points));
    try {
        for (const start_entry &entry : start.entries) {
            const complex_signal pattern =
                entry.type == pattern_entry
                    ? read_pattern(patterns + "/" + entry.pattern_file, when)
                    : complex_signal();
            const complex_signal curve =
                engine::unit_curve(shape_in_points(entry, start.hz_per_point), when, pattern);
            const std::complex<double> factor =
                entry.parameters[area_of].value *
                std::polar(1.0, entry.parameters[phase_of].value * std::numbers::pi / 180.0);
            for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += factor * curve[i];
        }
    } catch (const tool_error &) { // the fit itself is good: the figure is left out
        return {};
    }
    return sum;
}

double quality_before_fit(const curve_measure &measure, const std::string &folder, double noise) {
    if (measure.width < 1 || !(noise > 0.0) || measure.has_lineshape) return not_known;
    complex_signal data, own;
    try {
        data = read_points(folder + "/spectrum.org", 0, measure.points);
        if (measure.common_model.empty())
            own = model_of_start(measure, read_start_file(folder + "/start.par"), folder);
    } catch (const tool_error &) {
        return not_known;
    }
    const complex_signal &model = measure.common_model.empty() ? own : measure.common_model;
    if (model.size() != data.size()) return not_known;
    std::vector<char> counts(data.size(), 0); // intervals may overlap
    for (const auto &[first, last] : measure.intervals)
        std::fill(counts.begin() + first, counts.begin() + last + 1, char{1});
    double chi = 0.0;
    for (std::size_t i = 0; i < data.size(); ++i)
        if (counts[i] != 0) chi += std::norm(data[i] - model[i]);
    return std::sqrt(chi / (2.0 * static_cast<double>(measure.width))) / noise;
}

} // namespace tools
