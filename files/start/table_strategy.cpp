// SPDX-License-Identifier: BSD-3-Clause
// table_strategy.cpp -- intervals and steps of a table's fit, and its search ranges
#include "files/start/table_strategy.h"

#include "files/base/format_text.h"
#include "files/base/tool_error.h"
#include "files/start/strategy_words.h"

#include <algorithm>
#include <cmath>

namespace tools {

static constexpr int margin_in_widths = 8; // of intervals that were not given

// A whole number, which may lie beyond all integers.
static double point_of(const table_axis &axis, double value, table_unit unit, double hz_per_point) {
    return std::round(axis.position_hz(value, unit) / hz_per_point);
}

static std::string point_text(double point) {
    return format("%.15g", point == 0.0 ? 0.0 : point); // no -0
}

std::pair<int, int> interval_points(const peak_table &table, const table_axis &axis,
                                    const table_interval &interval, const spectrum_facts &facts,
                                    const char *what) {
    double first = 0.0, last = 0.0;
    try {
        first = point_of(axis, interval.first, interval.unit, facts.hz_per_point);
        last = point_of(axis, interval.last, interval.unit, facts.hz_per_point);
    } catch (const tool_error &error) {
        refuse_at(table, interval.place, error.what());
    }
    if (first > last) std::swap(first, last);
    if (!(first >= 0.0 && last <= facts.points - 1.0)) {
        std::string band;
        if (axis.knows_ppm())
            band = format(" (%.2f to %.2f ppm)", axis.ppm_of(0.0),
                          axis.ppm_of((facts.points - 1.0) * facts.hz_per_point));
        refuse_at(table, interval.place,
                  std::string(what) + " of points " + point_text(first) + " to " +
                      point_text(last) + "; expected within the points 0 to " +
                      std::to_string(facts.points - 1) + " of the spectrum" + band);
    }
    return {static_cast<int>(first), static_cast<int>(last)};
}

// Full width at half height of a line, roughly: enough for margins.
static double rough_fwhm(const start_entry &entry, double hz_per_point) {
    return std::fabs(entry.parameters[gauss_of].value) *
               width_unit(gauss_of, entry.type, hz_per_point) +
           std::fabs(entry.parameters[lorentz_of].value) *
               width_unit(lorentz_of, entry.type, hz_per_point);
}

std::vector<std::pair<int, int>> intervals_of(const peak_table &table, const table_axis &axis,
                                              const spectrum_facts &facts, start_result &result) {
    std::vector<std::pair<int, int>> intervals;
    for (const table_interval &interval : table.intervals)
        intervals.push_back(interval_points(table, axis, interval, facts, "interval"));
    if (!intervals.empty()) return intervals;
    const bool steps_have_theirs =
        !table.steps.empty() &&
        std::all_of(table.steps.begin(), table.steps.end(),
                    [](const table_step &s) { return !s.step.intervals.empty(); });
    if (steps_have_theirs) return intervals;
    std::string reason;
    if (facts.fit_points) {
        intervals = {*facts.fit_points};
        reason = "named beside the spectrum";
    } else {
        double least = facts.points - 1.0, most = 0.0;
        for (const start_entry &entry : result.start.entries) {
            if (entry.type == pattern_entry) { // its extent is not looked at
                least = 0.0;
                most = facts.points - 1.0;
                continue;
            }
            const double point = entry.parameters[frequency_of].value / facts.hz_per_point;
            const double margin =
                std::max(10.0, margin_in_widths * rough_fwhm(entry, facts.hz_per_point) /
                                   facts.hz_per_point);
            least = std::min(least, point - margin);
            most = std::max(most, point + margin);
        }
        intervals = {{static_cast<int>(std::max(0.0, least)),
                      static_cast<int>(std::min(facts.points - 1.0, most))}};
        reason = "all entries with a margin";
    }
    const auto [first, last] = intervals.front();
    std::string where = format("points %d to %d", first, last);
    if (axis.knows_ppm())
        where += format(" (%.3f to %.3f ppm)", axis.ppm_of(first * facts.hz_per_point),
                        axis.ppm_of(last * facts.hz_per_point));
    result.guesses.push_back("interval " + where + ": " + reason + "; \"interval:\" sets another");
    return intervals;
}

void check_places(const peak_table &table, const table_axis &axis,
                  const std::vector<std::size_t> &row_of, start_result &result) {
    const start_file &start = result.start;
    std::string outside;
    for (std::size_t k = 0; k < start.entries.size(); ++k) {
        const start_entry &entry = start.entries[k];
        if (entry.type == pattern_entry) continue;
        const start_parameter &own = entry.parameters[frequency_of];
        const double hz = own.value, point = hz / start.hz_per_point;
        const table_cell &cell = table.rows[row_of[k]].cells[frequency_of];
        const double last = (start.points - 1.0) * start.hz_per_point;
        if (point < 0.0 || point > start.points - 1.0) {
            const auto [low, high] = std::minmax({axis.ppm_of(0.0), axis.ppm_of(last)});
            refuse_at(
                table, cell.place,
                entry.name + ": " +
                    (axis.knows_ppm()
                         ? format("%.6g ppm is outside of the spectrum, %.2f to %.2f ppm",
                                  axis.ppm_of(hz), low, high)
                         : format("%.6g Hz is outside of the spectrum, %.6g to %.6g Hz from the "
                                  "carrier",
                                  hz - axis.carrier_hz(), -axis.carrier_hz(),
                                  last - axis.carrier_hz())));
        }
        bool inside = own.link != 0;
        for (const start_step &step : start.steps)
            for (const auto &[first, end] : step.intervals)
                inside = inside || (std::lround(point) >= first && std::lround(point) <= end);
        if (!inside) outside += (outside.empty() ? "" : ", ") + entry.name;
    }
    if (!outside.empty())
        result.warnings.push_back(outside + " starts outside of all fitted intervals: its "
                                            "frequency will not be moved");
}

static const char *preset_of(const peak_table &table) {
    return table.preset.empty() ? "standard" : table.preset.c_str();
}

double tolerance_of(const peak_table &table) {
    static constexpr double of_own_steps = 1e-7;
    return table.tolerance.value_or(table.steps.empty() ? preset_tolerance(preset_of(table))
                                                        : of_own_steps);
}

// Alignment moves every entry, fixed ones, too. Names of the entries that have to stay.
static std::string fixed_places(const start_file &start) {
    std::string names;
    for (std::size_t k = 0; k < start.entries.size(); ++k)
        if (start.entries[k].parameters[frequency_of].link == static_cast<int>(k) + 1)
            names += (names.empty() ? "" : ", ") + start.entries[k].name;
    return names;
}

std::vector<start_step> steps_of(const peak_table &table, const start_file &start,
                                 const std::vector<std::pair<int, int>> &intervals, int measured,
                                 std::vector<std::string> &notes) {
    const bool preset = table.steps.empty();
    const std::vector<table_step> wanted = !preset ? table.steps : preset_steps(preset_of(table));
    const std::string fixed = fixed_places(start);
    if (preset && !fixed.empty())
        notes.push_back("no alignment before the fit, because frequencies are fixed: " + fixed);
    std::array<bool, quantities> free{};
    for (const start_entry &entry : start.entries)
        for (std::size_t q = 0; q < quantities; ++q)
            free[q] = free[q] || entry.parameters[q].link == 0;
    std::vector<start_step> steps;
    for (const table_step &each : wanted) {
        start_step step = each.step;
        if (step.points == 0) step.points = measured;
        if (step.intervals.empty()) step.intervals = intervals;
        if (preset) {
            for (std::size_t q = 0; q < quantities; ++q)
                if (!free[q]) step.switches[q] = 0;
            if (start.lineshape.empty()) step.switches[fit_lineshape] = 0;
            if (!fits_something(step)) continue;
        }
        steps.push_back(step);
    }
    if (preset && fixed.empty() && !steps.empty()) steps.front().switches[align] = 1;
    return steps;
}

// Only the square of a Gaussian width enters the model: at 0 its gradient is 0, too, and no search
// would ever leave.
peak_table with_gauss_widths(peak_table table, const table_axis &axis, double hz_per_point,
                             std::vector<std::string> &warnings) {
    std::string names;
    for (table_row &row : table.rows) {
        table_cell &own = row.cells[gauss_of];
        const table_cell &lorentz = row.cells[lorentz_of];
        if (own.kind != cell_kind::number || own.fixed || own.value != 0.0 ||
            !is_used(gauss_of, row.type))
            continue;
        own.value = hz_per_point;
        if (lorentz.kind == cell_kind::number)
            own.value =
                std::max(own.value, 0.5 * std::fabs(axis.width_hz(lorentz.value, lorentz.unit)));
        own.unit = table_unit::hz;
        names += (names.empty() ? "" : ", ") + row.name + format(" (%.4g Hz)", own.value);
    }
    if (!names.empty())
        warnings.push_back("a free Gaussian width cannot start at 0, which no search leaves; it "
                           "starts wider: " +
                           names + "; \"fixed 0\" keeps it there");
    return table;
}

void add_default_ranges(start_file &start) {
    for (start_entry &entry : start.entries) {
        const double fwhm = rough_fwhm(entry, start.hz_per_point);
        for (int q = 0; q < quantities; ++q) {
            start_parameter &own = entry.of(q);
            if (own.link != 0 || own.range) continue;
            const double v = own.value;
            double low = 0.5 * v, high = 2.0 * v;
            if (q == area_of) {
                low = 0.2 * v;
                high = 3.0 * v;
            } else if (q == frequency_of) {
                const double reach = std::max(0.5 * fwhm, 2.0 * start.hz_per_point);
                low = v - reach;
                high = v + reach;
            } else if (q == phase_of) {
                low = v - 60.0;
                high = v + 60.0;
            }
            own.range = std::minmax({low, high});
            if (own.window) // one edge is infinite
                own.range = {std::clamp(own.range->first, own.window->first, own.window->second),
                             std::clamp(own.range->second, own.window->first, own.window->second)};
        }
    }
}

} // namespace tools
