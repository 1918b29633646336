// SPDX-License-Identifier: BSD-3-Clause
// fit_windows.cpp -- windows of a table of peaks and what the fit made of them
#include "files/results/fit_windows.h"

#include "files/start/values_in_points.h"

#include <algorithm>

namespace tools {

bool is_at_edge(const optimum_record &optimum, const optimum_record::window &of) {
    const auto at = static_cast<std::size_t>(of.entry - 1);
    return at < optimum.held.size() && optimum.held[at][static_cast<std::size_t>(of.quantity)];
}

std::vector<shown_window> shown_windows(const run_result &run) {
    static const char *const parameters[] = {"area", "frequency", "Gaussian width", "phase",
                                             "Lorentzian width"};
    std::vector<shown_window> all;
    if (!run.optimum || !(run.control.hz_per_point > 0.0)) return all;
    const double hz = run.control.hz_per_point;
    const double carrier = static_cast<double>(run.points() / 2);
    for (const optimum_record::window &each : run.optimum->windows) {
        const auto at = static_cast<std::size_t>(each.entry - 1);
        if (at >= run.entries.size() || at >= run.optimum->values.size()) continue;
        const int type = run.entries[at].type;
        const bool line = type != pattern_entry;
        const bool ppm = run.axis.mhz && (!line || run.axis.ppm_at_carrier);
        shown_window out;
        out.entry = each.entry;
        out.parameter = parameters[each.quantity];
        out.active = is_at_edge(*run.optimum, each);
        const auto shown = [&](double in_points) {
            if (each.quantity != frequency_of)
                return in_points / points_of_unit(each.quantity, type, hz) *
                       width_unit(each.quantity, type, hz);
            const double from_carrier = (line ? in_points - carrier : in_points) * hz;
            if (!ppm) return from_carrier;
            const double sense = run.axis.ppm_rises_with_points ? 1.0 : -1.0;
            return sense * from_carrier / *run.axis.mhz + (line ? *run.axis.ppm_at_carrier : 0.0);
        };
        if (each.quantity == frequency_of) {
            out.parameter = line ? (ppm ? "shift" : "frequency") : "shift of the pattern";
            out.unit = ppm ? "ppm" : "Hz";
        } else if (each.quantity == phase_of) {
            out.unit = "degrees";
        } else if (each.quantity != area_of) {
            out.unit = "Hz";
        }
        out.value = shown(run.optimum->values[at][static_cast<std::size_t>(each.quantity)]);
        out.sd = each.quantity == frequency_of && ppm
                     ? 0.5 * run.entries[at].ppm_2sd
                     : run.entries[at].of(each.quantity).error_1sd();
        const double a = shown(each.low), b = shown(each.high);
        out.low = std::min(a, b); // of ppm that fall with the points the edges change places
        out.high = std::max(a, b);
        all.push_back(out);
    }
    return all;
}

} // namespace tools
