// SPDX-License-Identifier: BSD-3-Clause
// show_start.cpp -- start values for a reader: the resolved model, and its names
#include "files/start/show_start.h"

#include "files/base/format_text.h"
#include "files/spectra/search_limits.h"
#include "files/start/strategy_words.h"

#include <algorithm>

namespace tools {

static std::string name_or_number(const start_file &start, std::size_t k) {
    const std::string &name = start.entries[k].name;
    return name.empty() ? "#" + std::to_string(k + 1) : name;
}

static std::string shown_value(int q, const start_entry &entry, double value,
                               const start_file &start, const table_axis &axis) {
    const double hz = start.hz_per_point;
    if (q == area_of) return format("%.6g", value);
    if (q == phase_of) return format("%.4g degrees", value);
    if (is_width(q)) {
        const double width = value * width_unit(q, entry.type, hz);
        return format("%.5g Hz = %.4g points", width, width / hz);
    }
    if (entry.type == pattern_entry)
        return format("shift of %.5g Hz = %.4g points", value, value / hz);
    std::string text = format("%.2f Hz from the carrier = %.2f Hz from the left = point %.2f",
                              axis.sense() * (value - axis.carrier_hz()), value, value / hz);
    if (axis.knows_ppm()) text = format("%.4f ppm = ", axis.ppm_of(value)) + text;
    return text;
}

static std::string state_of(int q, std::size_t k, const start_file &start, const table_axis &axis) {
    const start_entry &entry = start.entries[k];
    const start_parameter &own = entry.of(q);
    if (own.link == static_cast<int>(k) + 1) return "fixed";
    if (own.link != 0) {
        const auto l = static_cast<std::size_t>(own.link - 1);
        const double source = start.entries[l].of(q).value;
        const std::string whom = "tied to " + name_or_number(start, l);
        if (q == area_of) return whom + format(", %.6g times its area", own.value / source);
        double apart = own.value - source;
        if (entry.type == pattern_entry && start.entries[l].type != pattern_entry &&
            q == frequency_of)
            return whom + ", moves with it";
        if (apart == 0.0) return whom;
        if (q == phase_of) return whom + format(", %+.5g degrees", apart);
        if (q != frequency_of) apart *= width_unit(q, entry.type, start.hz_per_point);
        return whom + format(", %+.5g Hz", q == frequency_of ? axis.sense() * apart : apart);
    }
    std::string text = "free";
    if (own.range && !own.window && start.ranges != 2 && start.ranges != 0) {
        const double unit = width_unit(q, entry.type, start.hz_per_point);
        text += format(", searched from %.6g to %.6g%s", own.range->first * unit,
                       own.range->second * unit,
                       q == frequency_of ? " Hz from the left"
                       : is_width(q)     ? " Hz"
                                         : "");
    }
    return text;
}

// ", held from 10 to 20 Hz", or above or below an edge.
static std::string window_text(int q, const start_entry &entry, double hz, const table_axis &axis) {
    const auto &window = entry.of(q).window;
    if (!window) return "";
    double low = window->first, high = window->second;
    const char *unit = q == phase_of ? " degrees" : "";
    if (is_width(q)) {
        low *= width_unit(q, entry.type, hz);
        high *= width_unit(q, entry.type, hz);
        unit = " Hz";
    } else if (q == frequency_of && entry.type == pattern_entry) {
        unit = " Hz along the points";
    } else if (q == frequency_of) {
        const auto shown = [&](double value) {
            return axis.knows_ppm() ? axis.ppm_of(value)
                                    : axis.sense() * (value - axis.carrier_hz());
        };
        unit = axis.knows_ppm() ? " ppm" : " Hz from the carrier";
        const double a = shown(low), b = shown(high);
        low = std::min(a, b);
        high = std::max(a, b);
    }
    if (!is_edge(high)) return format(", held above %.6g%s", low, unit);
    if (!is_edge(low)) return format(", held below %.6g%s", high, unit);
    return format(", held from %.6g to %.6g%s", low, high, unit);
}

static std::string shown_state(int q, std::size_t k, const start_file &start,
                               const table_axis &axis) {
    return state_of(q, k, start, axis) + window_text(q, start.entries[k], start.hz_per_point, axis);
}

// How many parameters are free, of each kind.
static std::string free_text(const start_file &start) {
    static const char *const plural[] = {"areas", "frequencies", "gauss widths", "phases",
                                         "lorentz widths"};
    int sum = 0;
    std::string kinds;
    for (std::size_t q = 0; q < quantities; ++q) {
        const auto free = static_cast<int>(
            std::count_if(start.entries.begin(), start.entries.end(),
                          [q](const start_entry &entry) { return entry.parameters[q].link == 0; }));
        sum += free;
        if (free > 0) kinds += (kinds.empty() ? "" : ", ") + std::to_string(free) + " " + plural[q];
    }
    return format("%d lines, %d patterns: %d free parameters (%s)\n", start.lines, start.patterns,
                  sum, kinds.c_str());
}

static std::string entry_text(const start_file &start, std::size_t k, const table_axis &axis) {
    const start_entry &entry = start.entries[k];
    std::string text = format("\n%d  ", static_cast<int>(k) + 1) + name_or_number(start, k) + ", " +
                       type_name(entry.type) +
                       (entry.pattern_file.empty() ? "" : " " + entry.pattern_file) +
                       (entry.takes_lineshape == 1 ? ", takes the fitted lineshape" : "") + "\n";
    for (const int q : {area_of, frequency_of, gauss_of, lorentz_of, phase_of}) {
        if (!is_used(q, entry.type)) continue;
        const start_parameter &own = entry.of(q);
        text += format("   %-10s ", name_of(q)) + shown_value(q, entry, own.value, start, axis) +
                "; " + shown_state(q, k, start, axis) + "\n";
    }
    return text;
}

static std::string explained_step(const start_file &start, std::size_t s, const table_axis &axis) {
    const start_step &step = start.steps[s];
    const double hz = start.hz_per_point;
    std::string text =
        format("step %d: %s, %s; up to %d iterations, %s, %d points of time, weighting %d",
               static_cast<int>(s) + 1, step.algorithm == 1 ? "random search" : "gradients",
               switches_text(step).c_str(), step.switches[iterations],
               part_name(step.switches[part]).c_str(), step.points, step.switches[weighting]);
    for (const auto &[first, last] : step.intervals) {
        text += format("; points %d to %d", first, last);
        if (axis.knows_ppm())
            text += format(" (%.3f to %.3f ppm)", axis.ppm_of(first * hz), axis.ppm_of(last * hz));
    }
    return text + "\n";
}

std::string explained(const start_result &result, const table_axis &axis) {
    const start_file &start = result.start;
    std::string text =
        free_text(start) +
        format("limits: %d of %d entries, %d of %d parameters, %d of %d steps\n",
               static_cast<int>(start.entries.size()), search_limits::entries,
               static_cast<int>(quantities * start.entries.size() + start.lineshape.size()),
               search_limits::parameters, static_cast<int>(start.steps.size()),
               search_limits::steps) +
        format("%d points of %.8g Hz, carrier at point %d", start.points, start.hz_per_point,
               start.points / 2);
    if (axis.knows_ppm())
        text += format(" (%.5g ppm), ppm %s with the points", axis.ppm_of(axis.carrier_hz()),
                       axis.sense() > 0.0 ? "rise" : "fall");
    text += format("\ndelay: phi_1 %.6g degrees; noise: points %d to %d; tolerance %.3g; mode %d\n",
                   start.phi_1, start.noise_first, start.noise_stop - 1, start.tolerance,
                   start.fit_mode);
    for (std::size_t k = 0; k < start.entries.size(); ++k) text += entry_text(start, k, axis);
    text += "\n";
    for (std::size_t s = 0; s < start.steps.size(); ++s) text += explained_step(start, s, axis);
    for (const std::string &guess : result.guesses) text += "guessed: " + guess + "\n";
    for (const std::string &warning : result.warnings) text += "warning: " + warning + "\n";
    for (const std::string &note : result.notes) text += note + "\n";
    return text;
}

std::string names_text(const start_file &start) {
    std::string text = "# names of the entries of the start file, in their order\n";
    for (std::size_t k = 0; k < start.entries.size(); ++k) text += name_or_number(start, k) + "\n";
    return text;
}

} // namespace tools
