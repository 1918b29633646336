// SPDX-License-Identifier: BSD-3-Clause
// start_problem.cpp -- between start files and the problems of the engine
#include "files/problem/start_problem.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"
#include "files/start/pattern_file.h"

#include "engine/noise_window.h"

namespace tools {

namespace {

bool is_freed(const start_file &start, int group) {
    for (const start_step &step : start.steps)
        if (step.switches[static_cast<std::size_t>(group)] != 0) return true;
    return false;
}

// A parameter of entry k (from 0), its values in points.
engine::parameter parameter_of(const start_file &start, std::size_t k, int q, bool freed,
                               bool windows) {
    const start_entry &entry = start.entries[k];
    const start_parameter &own = entry.of(q);
    const double unit = points_of_unit(q, entry.type, start.hz_per_point);
    engine::parameter out;
    out.start = own.value * unit;
    if (windows && own.window) {
        if (is_edge(own.window->first)) out.lower = own.window->first * unit;
        if (is_edge(own.window->second)) out.upper = own.window->second * unit;
    }
    const int number = static_cast<int>(k) + 1;
    if (own.link == 0) {
        out.how = freed ? engine::link::free : engine::link::fixed;
    } else if (own.link != number) {
        out.how = engine::link::tied;
        out.source = own.link - 1;
        if (own.link < 0 || own.link > static_cast<int>(start.entries.size())) return out;
        const start_entry &other = start.entries[static_cast<std::size_t>(own.link - 1)];
        const double theirs = other.of(q).value * points_of_unit(q, other.type, start.hz_per_point);
        if (q == area_of)
            out.factor = out.start / theirs;
        else
            out.offset = out.start - theirs;
    }
    return out;
}

} // namespace

engine::fit_problem problem_of(const start_file &start, problem_data data, freedom free) {
    engine::fit_problem problem;
    problem.when = {start.points, start.hz_per_point, start.phi_1, start.ignored, 0};
    if (const start_step *const step = last_fitting_step(start.steps)) {
        problem.when.kept = step->points;
        for (const auto &[first, last] : step->intervals)
            problem.intervals.push_back({first, last});
        const int channel = step->switches[part];
        problem.part = channel == 2   ? engine::channel::both
                       : channel == 1 ? engine::channel::dispersion
                                      : engine::channel::absorption;
    }
    problem.spectrum = std::move(data.spectrum);
    problem.noise_sd = data.noise_sd;
    problem.patterns = std::move(data.patterns);
    problem.measured_lineshape = std::move(data.measured_lineshape);
    const bool strict = free == freedom::by_strategy;
    int pattern = 0;
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        const start_entry &from = start.entries[k];
        engine::entry &to = problem.entries.emplace_back();
        to.type = static_cast<engine::line_type>(from.type);
        to.takes_lineshape = from.takes_lineshape == 1;
        if (from.type == pattern_entry) to.pattern = pattern++;
        for (int q = 0; q < quantities; ++q)
            to.of[quantity_of(q)] =
                parameter_of(start, k, q, !strict || is_freed(start, q), strict);
    }
    if (start.fit_mode == 3)
        for (std::size_t i = 0; i + 1 < start.lineshape.size(); i += 2)
            problem.lineshape.emplace_back(start.lineshape[i], start.lineshape[i + 1]);
    problem.lineshape_free = strict && is_freed(start, fit_lineshape);
    return problem;
}

std::string why_not_exact(const start_file &start) {
    const start_step *const step = last_fitting_step(start.steps);
    if (step == nullptr) return "no step of the strategy fits anything";
    const auto classic = [](const std::string &what) {
        return what + "; the classic search does (--method classic)";
    };
    if (step->switches[part] > 2)
        return classic("the exact fit does not do magnitude and power spectra");
    if (step->switches[weighting] != 1)
        return classic("the exact fit does not do weighting " +
                       std::to_string(step->switches[weighting]));
    return "";
}

std::vector<complex_signal> patterns_of(const start_file &start,
                                        const std::vector<std::string> &folders) {
    std::vector<complex_signal> out;
    const engine::acquisition whole = {start.points, start.hz_per_point, start.phi_1, 0, 0};
    for (const start_entry &entry : start.entries) {
        if (entry.type != pattern_entry) continue;
        std::string found;
        for (const std::string &folder : folders) {
            const std::string file = in_folder(folder, entry.pattern_file);
            if (found.empty() && is_file(file)) found = file;
        }
        if (found.empty())
            throw tool_error(bad_input, "pattern file " + entry.pattern_file +
                                            " is not there; expected it in " + folders.front());
        out.push_back(read_pattern(found, whole));
    }
    return out;
}

double noise_sd_of(const start_file &start, const complex_signal &spectrum) {
    if (start.noise_stop <= start.noise_first) return 1.0;
    return engine::noise_of_stretch(spectrum, start.noise_first, start.noise_stop).sd_re;
}

std::vector<engine::values_of_entry> values_in_points(const start_file &start) {
    std::vector<engine::values_of_entry> out;
    for (const start_entry &entry : start.entries)
        out.push_back(values_in_points(entry, start.hz_per_point));
    return out;
}

start_file with_values(const start_file &start,
                       std::span<const engine::values_of_entry> values_in_points,
                       std::span<const std::complex<double>> lineshape) {
    start_file out = start;
    for (std::size_t k = 0; k < out.entries.size(); ++k) {
        start_entry &entry = out.entries[k];
        for (int q = 0; q < quantities; ++q)
            if (is_used(q, entry.type))
                entry.of(q).value = values_in_points[k][static_cast<std::size_t>(quantity_of(q))] /
                                    points_of_unit(q, entry.type, start.hz_per_point);
    }
    for (std::size_t j = 0; j < lineshape.size() && 2 * j + 1 < out.lineshape.size(); ++j) {
        out.lineshape[2 * j] = lineshape[j].real();
        out.lineshape[2 * j + 1] = lineshape[j].imag();
    }
    return out;
}

} // namespace tools
