// SPDX-License-Identifier: BSD-3-Clause
#include "files/start/show_start.h"

#include "files/base/format_text.h"
#include "files/spectra/search_limits.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace tools {

static std::string name_or_number(const start_file &start, std::size_t k) {
    const std::string &name = start.entries[k].name;
    return name.empty() ? "#" + std::to_string(k + 1) : name;
}

// ---- explained ----

static std::string shown_value(int q, const start_entry &entry, double value,
                               const start_file &start, const table_axis &axis) {
    const double hz = start.hz_per_point;
    if (q == area_of) return format("%.6g", value);
    if (q == phase_of) return format("%.4g degrees", value);
    if (q == gauss_of || q == lorentz_of) {
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
    const start_parameter &own = entry.parameters[static_cast<std::size_t>(q)];
    if (own.link == static_cast<int>(k) + 1) return "fixed";
    if (own.link != 0) {
        const auto l = static_cast<std::size_t>(own.link - 1);
        const double source = start.entries[l].parameters[static_cast<std::size_t>(q)].value;
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
        double low = own.range->first, high = own.range->second;
        const char *unit = "";
        if (q == frequency_of) {
            unit = " Hz from the left";
        } else if (q == gauss_of || q == lorentz_of) {
            low *= width_unit(q, entry.type, start.hz_per_point);
            high *= width_unit(q, entry.type, start.hz_per_point);
            unit = " Hz";
        }
        text += format(", searched from %.6g to %.6g%s", low, high, unit);
    }
    return text;
}

// ", held from 10 to 20 Hz", or above or below an edge.
static std::string window_text(int q, const start_entry &entry, double hz, const table_axis &axis) {
    const auto &window = entry.parameters[static_cast<std::size_t>(q)].window;
    if (!window) return "";
    double low = window->first, high = window->second;
    const char *unit = q == phase_of ? " degrees" : "";
    if (q == gauss_of || q == lorentz_of) {
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

static std::string switches_text(const start_step &step) {
    static const char *const names[] = {"areas",  "frequencies", "gauss",
                                        "phases", "lorentz",     "lineshape"};
    std::string text;
    for (std::size_t s = 0; s < 6; ++s)
        if (step.switches[s] == 1) text += std::string(text.empty() ? "" : " ") + names[s];
    if (step.switches[align] == 1) text += std::string(text.empty() ? "" : " ") + "align";
    return text;
}

static const char *part_name(int value) {
    static const char *const names[] = {"absorption", "dispersion", "complex", "magnitude",
                                        "power"};
    return value >= 0 && value <= 4 ? names[value] : "?";
}

std::string explained(const start_result &result, const table_axis &axis) {
    const start_file &start = result.start;
    std::array<int, quantities> free{};
    for (const start_entry &entry : start.entries)
        for (std::size_t q = 0; q < quantities; ++q) free[q] += entry.parameters[q].link == 0;
    int sum = 0;
    std::string kinds;
    static const char *const plural[] = {"areas", "frequencies", "gauss widths", "phases",
                                         "lorentz widths"};
    for (std::size_t q = 0; q < quantities; ++q) {
        sum += free[q];
        if (free[q] > 0)
            kinds += (kinds.empty() ? "" : ", ") + std::to_string(free[q]) + " " + plural[q];
    }
    const double hz = start.hz_per_point;
    std::string text =
        format("%d lines, %d patterns: %d free parameters (%s)\n", start.lines, start.patterns, sum,
               kinds.c_str()) +
        format("limits: %d of %d entries, %d of %d parameters, %d of %d steps\n",
               static_cast<int>(start.entries.size()), search_limits::entries,
               static_cast<int>(quantities * start.entries.size() + start.lineshape.size()),
               search_limits::parameters, static_cast<int>(start.steps.size()),
               search_limits::steps) +
        format("%d points of %.8g Hz, carrier at point %d", start.points, hz, start.points / 2);
    if (axis.knows_ppm())
        text += format(" (%.5g ppm), ppm %s with the points", axis.ppm_of(axis.carrier_hz()),
                       axis.sense() > 0.0 ? "rise" : "fall");
    text += format("\ndelay: phi_1 %.6g degrees; noise: points %d to %d; tolerance %.3g; mode %d\n",
                   start.phi_1, start.noise_first, start.noise_stop - 1, start.tolerance,
                   start.fit_mode);
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        const start_entry &entry = start.entries[k];
        text += format("\n%d  ", static_cast<int>(k) + 1) + name_or_number(start, k) + ", " +
                type_name(entry.type) +
                (entry.pattern_file.empty() ? "" : " " + entry.pattern_file) +
                (entry.takes_lineshape == 1 ? ", takes the fitted lineshape" : "") + "\n";
        static constexpr int order[] = {area_of, frequency_of, gauss_of, lorentz_of, phase_of};
        for (const int q : order) {
            if (!is_used(q, entry.type)) continue;
            const start_parameter &own = entry.parameters[static_cast<std::size_t>(q)];
            text += format("   %-10s ", name_of(q)) +
                    shown_value(q, entry, own.value, start, axis) + "; " +
                    shown_state(q, k, start, axis) + "\n";
        }
    }
    text += "\n";
    for (std::size_t s = 0; s < start.steps.size(); ++s) {
        const start_step &step = start.steps[s];
        text += format("step %d: %s, %s; up to %d iterations, %s, %d points of time, weighting %d",
                       static_cast<int>(s) + 1, step.algorithm == 1 ? "random search" : "gradients",
                       switches_text(step).c_str(), step.switches[iterations],
                       part_name(step.switches[part]), step.points, step.switches[weighting]);
        for (const auto &[first, last] : step.intervals) {
            text += format("; points %d to %d", first, last);
            if (axis.knows_ppm())
                text +=
                    format(" (%.3f to %.3f ppm)", axis.ppm_of(first * hz), axis.ppm_of(last * hz));
        }
        text += "\n";
    }
    for (const std::string &guess : result.guesses) text += "guessed: " + guess + "\n";
    for (const std::string &warning : result.warnings) text += "warning: " + warning + "\n";
    for (const std::string &note : result.notes) text += note + "\n";
    return text;
}

// ---- table ----

// The fewest digits that give the value of the file back: file(value shown) in single precision.
template <typename function>
static std::string number(double value, function file) {
    const double wanted = as_single(file(value));
    for (int digits = 1; digits < 12; ++digits) {
        std::string text = format("%.*g", digits, value);
        if (text.find("e+") != std::string::npos && std::fabs(value) < 1e9) continue; // 7e+01
        if (as_single(file(std::strtod(text.c_str(), nullptr))) == wanted) return text;
    }
    return format("%.12g", value);
}

static std::string number(double value) {
    return number(value, [](double shown) { return shown; });
}

template <typename function>
static std::string signed_offset(const std::string &name, double offset, const char *unit,
                                 function file) {
    if (offset == 0.0) return "=" + name;
    const auto of_size = [&](double size) { return file(offset < 0.0 ? -size : size); };
    return "=" + name + (offset < 0.0 ? " - " : " + ") + number(std::fabs(offset), of_size) + unit;
}

static std::string table_cell_text(int q, std::size_t k, const start_file &start,
                                   const std::vector<std::string> &names, const table_axis &axis,
                                   std::vector<std::string> &lost) {
    const start_entry &entry = start.entries[k];
    const start_parameter &own = entry.parameters[static_cast<std::size_t>(q)];
    if (!is_used(q, entry.type)) {
        if (own.value != 0.0 || own.link == 0)
            lost.push_back(names[k] + ": the " + name_of(q) + " width " + number(own.value) +
                           " of a " + type_name(entry.type) +
                           " line has no effect, and is left out");
        return "-";
    }
    const bool is_width = q == gauss_of || q == lorentz_of;
    const double unit = is_width ? width_unit(q, entry.type, start.hz_per_point) : 1.0;
    const auto shown = [&](double value, bool short_form) {
        if (is_width) return number(value * unit, [&](double hz) { return hz / unit; });
        if (q != frequency_of) return number(value);
        if (entry.type == pattern_entry)
            return number(axis.sense() * value) + (short_form ? "" : " Hz");
        const table_unit of = axis.knows_ppm() ? table_unit::ppm : table_unit::hz;
        const double at =
            axis.knows_ppm() ? axis.ppm_of(value) : axis.sense() * (value - axis.carrier_hz());
        return number(at, [&](double place) { return axis.position_hz(place, of); }) +
               (short_form         ? ""
                : axis.knows_ppm() ? " ppm"
                                   : " Hz");
    };
    double value = own.value;
    const bool is_tied = own.link != 0 && own.link != static_cast<int>(k) + 1;
    if (is_width && entry.type != pattern_entry && !is_tied && value < 0.0) {
        value =
            -value; // no table has a line that grows; of a Gaussian width the sign means nothing
        lost.push_back(names[k] + ": the " + name_of(q) + " width " + number(own.value * unit) +
                       " Hz is negative, and is written as " + shown(value, false) + " Hz");
    }
    if (own.link == static_cast<int>(k) + 1) return "fixed " + shown(value, false);
    if (own.link != 0) {
        const auto l = static_cast<std::size_t>(own.link - 1);
        const double source = start.entries[l].parameters[static_cast<std::size_t>(q)].value;
        if (q == area_of)
            return own.value == source
                       ? "=" + names[l]
                       : "=" + names[l] + "*" + number(own.value / source, [&](double ratio) {
                             return ratio * source;
                         });
        if (q == frequency_of) {
            const bool follows_line =
                entry.type == pattern_entry && start.entries[l].type != pattern_entry;
            const double from = follows_line ? 0.0 : source;
            return signed_offset(names[l], axis.sense() * (own.value - from), " Hz",
                                 [&](double hz) { return from + axis.sense() * hz; });
        }
        return signed_offset(names[l], (own.value - source) * unit, "",
                             [&](double hz) { return source + hz / unit; });
    }
    std::string text = shown(value, false);
    if (own.range && (start.ranges == 1 || start.ranges == 3)) {
        double low = own.range->first, high = own.range->second;
        if (value != own.value) { // a width whose sign was turned: its window turns with it
            std::swap(low, high);
            low = std::max(0.0, -low);
            high = std::max(0.0, -high);
        }
        text += " [" + shown(low, true) + ", " + shown(high, true) + "]";
    }
    return text;
}

static std::string step_text(const start_step &step, int times, int points, bool with_intervals) {
    std::string text = std::string("step: ") + (step.algorithm == 1 ? "random" : "gradient");
    const std::string groups = switches_text(step);
    if (!groups.empty()) text += " " + groups;
    text += format(" iterations=%d", step.switches[iterations]);
    if (step.points != points) text += format(" points=%d", step.points);
    if (step.switches[part] != 2) text += std::string(" part=") + part_name(step.switches[part]);
    if (step.switches[weighting] != 1) text += format(" weighting=%d", step.switches[weighting]);
    if (with_intervals)
        for (std::size_t i = 0; i < step.intervals.size(); ++i)
            text += format("%s%d..%d", i == 0 ? " interval=" : ",", step.intervals[i].first,
                           step.intervals[i].second);
    if (times > 1) text += format(" times=%d", times);
    return text + "\n";
}

static std::vector<std::string> names_for_table(const start_file &start) {
    std::vector<std::string> names;
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        std::string name;
        for (const char c : start.entries[k].name) // what a table allows
            name += std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '\'' ||
                            static_cast<unsigned char>(c) >= 0x80
                        ? c
                        : '_';
        const bool is_pattern = start.entries[k].type == pattern_entry;
        if (name.empty()) name = (is_pattern ? "P" : "L") + std::to_string(k + 1);
        while (std::find(names.begin(), names.end(), name) != names.end())
            name += "_" + std::to_string(k + 1);
        names.push_back(name);
    }
    return names;
}

std::string table_text(const start_file &start, const table_axis &axis, bool given,
                       std::vector<std::string> &lost) {
    const std::vector<std::string> names = names_for_table(start);
    std::vector<std::vector<std::string>> cells = {
        {"name", "type", "area", "frequency", "gauss", "lorentz", "phase"}};
    if (start.fit_mode == 3) cells[0].push_back("lineshape");
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        const start_entry &entry = start.entries[k];
        std::vector<std::string> row = {
            names[k], entry.type == pattern_entry ? entry.pattern_file : type_name(entry.type)};
        for (const int q : {area_of, frequency_of, gauss_of, lorentz_of, phase_of})
            row.push_back(table_cell_text(q, k, start, names, axis, lost));
        if (start.fit_mode == 3) row.push_back(entry.takes_lineshape == 1 ? "yes" : "no");
        cells.push_back(row);
    }
    std::vector<std::size_t> widths(cells[0].size());
    for (const auto &row : cells)
        for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
    std::string text = "# peaks; Hz and ppm are counted from the carrier, widths are in Hz\n";
    for (const auto &row : cells) {
        std::string line;
        for (std::size_t c = 0; c < row.size(); ++c) {
            line += row[c];
            if (c + 1 < row.size()) line.append(widths[c] - row[c].size() + 2, ' ');
        }
        text += line + "\n";
    }
    text += "\n";
    if (!given) {
        text += format("points: %d\nhz_per_point: %s\n", start.points,
                       number(start.hz_per_point).c_str());
        if (start.phi_1 != 0.0) text += "phi_1: " + number(start.phi_1) + "\n";
        if (start.noise_stop > start.noise_first)
            text += format("noise: %d to %d points\n", start.noise_first, start.noise_stop - 1);
    }
    text += "tolerance: " + number(start.tolerance) + "\n";
    if (start.followed > 1 && start.followed <= static_cast<int>(names.size()))
        text += "follow: " + names[static_cast<std::size_t>(start.followed - 1)] + "\n";
    if (start.ignored != 0) text += format("ignore: %d\n", start.ignored);
    if (start.verbose != 1) text += format("verbose: %d\n", start.verbose);
    if (start.errors != 1) text += "errors: no\n";
    if (start.data_format != "none") text += "format: " + start.data_format + "\n";
    if (start.ranges == 1 || start.ranges == 3) text += format("ranges: %d\n", start.ranges);
    if (start.fit_mode == 2) text += "lineshape: measured\n";
    if (start.fit_mode == 3) {
        text += format("lineshape: fitted %d\ncoefficients:",
                       static_cast<int>(start.lineshape.size() / 2));
        for (const double value : start.lineshape) text += " " + number(value);
        text += "\n";
    }
    bool same = !start.steps.empty() && !start.steps.front().intervals.empty();
    for (const start_step &step : start.steps)
        same = same && step.intervals == start.steps.front().intervals;
    if (same)
        for (const auto &[first, last] : start.steps.front().intervals)
            text += format("interval: %d to %d points\n", first, last);
    for (std::size_t s = 0; s < start.steps.size();) {
        std::size_t stop = s + 1;
        while (stop < start.steps.size() && start.steps[stop] == start.steps[s]) ++stop;
        text += step_text(start.steps[s], static_cast<int>(stop - s), start.points, !same);
        s = stop;
    }
    return text;
}

std::string names_text(const start_file &start) {
    std::string text = "# names of the entries of the start file, in their order\n";
    for (std::size_t k = 0; k < start.entries.size(); ++k) text += name_or_number(start, k) + "\n";
    return text;
}

} // namespace tools
