// SPDX-License-Identifier: BSD-3-Clause
// table_of_start.cpp -- start values as the table of peaks that gives them back
#include "files/start/table_of_start.h"

#include "files/base/format_text.h"
#include "files/start/strategy_words.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace tools {

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

std::string single_digits(double value) {
    return number(value, [](double shown) { return shown; });
}

template <typename function>
static std::string signed_offset(const std::string &name, double offset, const char *unit,
                                 function file) {
    if (offset == 0.0) return "=" + name;
    const auto of_size = [&](double size) { return file(offset < 0.0 ? -size : size); };
    return "=" + name + (offset < 0.0 ? " - " : " + ") + number(std::fabs(offset), of_size) + unit;
}

// A value as a table has it: widths and the shifts of patterns in Hz, places of lines in ppm where
// these are known.
static std::string cell_value(int q, const start_entry &entry, double value,
                              const start_file &start, const table_axis &axis, bool with_unit) {
    if (q != frequency_of) {
        const double unit = width_unit(q, entry.type, start.hz_per_point);
        return number(value * unit, [&](double shown) { return shown / unit; });
    }
    if (entry.type == pattern_entry)
        return single_digits(axis.sense() * value) + (with_unit ? " Hz" : "");
    const table_unit of = axis.knows_ppm() ? table_unit::ppm : table_unit::hz;
    const double at =
        axis.knows_ppm() ? axis.ppm_of(value) : axis.sense() * (value - axis.carrier_hz());
    return number(at, [&](double place) { return axis.position_hz(place, of); }) +
           (!with_unit         ? ""
            : axis.knows_ppm() ? " ppm"
                               : " Hz");
}

// "=NAME" and how far from it, of a parameter that follows that of entry l.
static std::string tied_text(int q, const start_entry &entry, const start_entry &source,
                             const std::string &name, const start_file &start,
                             const table_axis &axis) {
    const double own = entry.of(q).value;
    const double of_source = source.of(q).value;
    if (q == area_of)
        return own == of_source
                   ? "=" + name
                   : "=" + name + "*" +
                         number(own / of_source, [&](double ratio) { return ratio * of_source; });
    if (q == frequency_of) {
        const bool follows_line = entry.type == pattern_entry && source.type != pattern_entry;
        const double from = follows_line ? 0.0 : of_source;
        return signed_offset(name, axis.sense() * (own - from), " Hz",
                             [&](double hz) { return from + axis.sense() * hz; });
    }
    const double unit = width_unit(q, entry.type, start.hz_per_point);
    return signed_offset(name, (own - of_source) * unit, "",
                         [&](double hz) { return of_source + hz / unit; });
}

static std::string table_cell_text(int q, std::size_t k, const start_file &start,
                                   const std::vector<std::string> &names, const table_axis &axis,
                                   std::vector<std::string> &lost) {
    const start_entry &entry = start.entries[k];
    const start_parameter &own = entry.of(q);
    if (!is_used(q, entry.type)) {
        if (own.value != 0.0 || own.link == 0)
            lost.push_back(names[k] + ": the " + name_of(q) + " width " + single_digits(own.value) +
                           " of a " + type_name(entry.type) +
                           " line has no effect, and is left out");
        return "-";
    }
    const auto shown = [&](double value, bool with_unit) {
        return cell_value(q, entry, value, start, axis, with_unit);
    };
    const bool is_fixed = own.link == static_cast<int>(k) + 1;
    if (own.link != 0 && !is_fixed) {
        const auto l = static_cast<std::size_t>(own.link - 1);
        return tied_text(q, entry, start.entries[l], names[l], start, axis);
    }
    double value = own.value;
    if (is_width(q) && entry.type != pattern_entry && value < 0.0) {
        value =
            -value; // no table has a line that grows; of a Gaussian width the sign means nothing
        lost.push_back(names[k] + ": the " + name_of(q) + " width " +
                       single_digits(own.value * width_unit(q, entry.type, start.hz_per_point)) +
                       " Hz is negative, and is written as " + shown(value, true) + " Hz");
    }
    if (is_fixed) return "fixed " + shown(value, true);
    std::string text = shown(value, true);
    if (own.range && (start.ranges == 1 || start.ranges == 3)) {
        double low = own.range->first, high = own.range->second;
        if (value != own.value) { // a width whose sign was turned: its window turns with it
            std::swap(low, high);
            low = std::max(0.0, -low);
            high = std::max(0.0, -high);
        }
        text += " [" + shown(low, false) + ", " + shown(high, false) + "]";
    }
    return text;
}

static std::string step_text(const start_step &step, int times, int points, bool with_intervals) {
    std::string text = std::string("step: ") + (step.algorithm == 1 ? "random" : "gradient");
    const std::string groups = switches_text(step);
    if (!groups.empty()) text += " " + groups;
    text += format(" iterations=%d", step.switches[iterations]);
    if (step.points != points) text += format(" points=%d", step.points);
    if (step.switches[part] != 2) text += " part=" + part_name(step.switches[part]);
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

// Rows of cells, each column as wide as its widest.
static std::string aligned(const std::vector<std::vector<std::string>> &rows) {
    std::vector<std::size_t> widths(rows[0].size());
    for (const auto &row : rows)
        for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
    std::string text;
    for (const auto &row : rows) {
        for (std::size_t c = 0; c < row.size(); ++c) {
            text += row[c];
            if (c + 1 < row.size()) text.append(widths[c] - row[c].size() + 2, ' ');
        }
        text += "\n";
    }
    return text;
}

static std::string rows_text(const start_file &start, const std::vector<std::string> &names,
                             const table_axis &axis, std::vector<std::string> &lost) {
    std::vector<std::vector<std::string>> rows = {
        {"name", "type", "area", "frequency", "gauss", "lorentz", "phase"}};
    if (start.fit_mode == 3) rows[0].push_back("lineshape");
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        const start_entry &entry = start.entries[k];
        std::vector<std::string> row = {
            names[k], entry.type == pattern_entry ? entry.pattern_file : type_name(entry.type)};
        for (const int q : {area_of, frequency_of, gauss_of, lorentz_of, phase_of})
            row.push_back(table_cell_text(q, k, start, names, axis, lost));
        if (start.fit_mode == 3) row.push_back(entry.takes_lineshape == 1 ? "yes" : "no");
        rows.push_back(row);
    }
    return aligned(rows);
}

// given: whether a sidecar says what the spectrum is.
static std::string settings_text(const start_file &start, const std::vector<std::string> &names,
                                 bool given) {
    std::string text;
    if (!given) {
        text += format("points: %d\nhz_per_point: %s\n", start.points,
                       single_digits(start.hz_per_point).c_str());
        if (start.phi_1 != 0.0) text += "phi_1: " + single_digits(start.phi_1) + "\n";
        if (start.noise_stop > start.noise_first)
            text += format("noise: %d to %d points\n", start.noise_first, start.noise_stop - 1);
    }
    text += "tolerance: " + single_digits(start.tolerance) + "\n";
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
        for (const double value : start.lineshape) text += " " + single_digits(value);
        text += "\n";
    }
    return text;
}

// Intervals that all steps share stand in rows of their own, equal steps in one.
static std::string steps_text(const start_file &start) {
    std::string text;
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

std::string table_text(const start_file &start, const table_axis &axis, bool given,
                       std::vector<std::string> &lost) {
    const std::vector<std::string> names = names_for_table(start);
    return "# peaks; Hz and ppm are counted from the carrier, widths are in Hz\n" +
           rows_text(start, names, axis, lost) + "\n" + settings_text(start, names, given) +
           steps_text(start);
}

} // namespace tools
