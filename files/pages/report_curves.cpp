// SPDX-License-Identifier: BSD-3-Clause
// report_curves.cpp -- the curves of a fitted spectrum, drawn once and as data for charts
#include "files/pages/report_curves.h"

#include "files/pictures/draw_spectra.h"
#include "files/pictures/spectrum_view.h"
#include "files/results/fit_windows.h"
#include "files/results/number_text.h"
#include "files/results/removed_signal.h"
#include "files/pages/curve_text.h"
#include "files/pages/page_frame.h"

#include <algorithm>
#include <cmath>

namespace tools {

static std::vector<double> real_curve(const run_result &run, const complex_signal &signal) {
    return real_part(signal, 0, signal.size(), run.display_phase, run.display_phi_1);
}

static std::vector<double> imaginary_curve(const run_result &run, const complex_signal &signal) {
    return real_part(signal, 0, signal.size(), run.display_phase + quarter_turn, run.display_phi_1);
}

bool has_picture(const run_result &run) {
    return run.data.size() >= 2 && run.fit.size() == run.data.size() &&
           run.residual.size() == run.data.size();
}

static std::optional<std::pair<long long, long long>> noise_points(const run_result &run) {
    const long long first = std::max(0, run.control.noise_first);
    const long long last =
        std::min<long long>(run.control.noise_stop, static_cast<long long>(run.data.size())) - 1;
    if (!run.control.read || last <= first) return std::nullopt;
    return std::pair(first, last);
}

// Windows of frequencies, from the lower to the upper point; an edge that is none ends with the
// spectrum.
static std::vector<plot_window> frequency_windows(const run_result &run) {
    std::vector<plot_window> found;
    if (!run.optimum) return found;
    const auto last = static_cast<double>(run.data.size()) - 1.0;
    for (const optimum_record::window &each : run.optimum->windows) {
        const auto at = static_cast<std::size_t>(each.entry - 1);
        if (each.quantity != frequency_of || at >= run.entries.size()) continue;
        if (run.entries[at].type == pattern_entry) continue; // a shift has no place on the axis
        found.push_back({each.entry, std::clamp(each.low, 0.0, last),
                         std::clamp(each.high, 0.0, last), is_at_edge(*run.optimum, each)});
    }
    return found;
}

std::string report_picture(const run_result &run) {
    spectra_plot plot;
    plot.title = valid_text(run.name);
    plot.axis = plot_axis_of(run.axis, "", static_cast<long long>(run.data.size()));
    plot.data = real_curve(run, run.data);
    plot.fit = real_curve(run, run.fit);
    plot.residual = real_curve(run, run.residual);
    for (const complex_signal &component : run.components)
        plot.components.push_back(real_curve(run, component));
    plot.intervals = run.intervals();
    plot.noise = noise_points(run);
    plot.windows = frequency_windows(run);
    const auto [first, last] = run.view();
    plot.first = first;
    plot.last = last;
    return draw_spectra(plot);
}

static std::string chip_name(const fitted_entry &entry) {
    const std::string number = std::to_string(entry.number);
    return entry.name == "#" + number ? entry.name : number + " " + entry.name;
}

static double highest(const complex_signal &signal) {
    double most = 0.0;
    for (const std::complex<double> &point : signal) most = std::max(most, std::abs(point));
    return most;
}

// Whether what was removed would press the components of the fit flat.
static bool is_higher_than_components(const run_result &run, const complex_signal &removed) {
    const double most = highest(removed);
    return std::none_of(run.components.begin(), run.components.end(),
                        [&](const complex_signal &each) { return highest(each) >= most; });
}

ordered_json chart_of(const run_result &run, bool alone) {
    const auto points = static_cast<long long>(run.data.size());
    const auto [begin, end] = alone ? std::pair<long long, long long>(0, points - 1)
                                    : points_with_margin(run.intervals(), points);
    const long long from = begin, to = end;
    const auto text_of = [&](const std::vector<double> &curve) {
        return alone ? ordered_json(float_text(curve)) : short_curve(curve, from, to);
    };
    ordered_json data;
    data["axis"] = axis_item(plot_axis_of(run.axis, "", points), from);
    const auto [first, last] = run.view();
    data["view"] = {first - from, last - from};
    data["intervals"] = ordered_json::array();
    for (const auto &[a, b] : run.intervals()) data["intervals"].push_back({a - from, b - from});
    if (const auto noise = noise_points(run))
        data["noise"] = {noise->first - from, noise->second - from};
    data["windows"] = ordered_json::array();
    for (const plot_window &each : frequency_windows(run))
        data["windows"].push_back({{"number", std::to_string(each.entry)},
                                   {"low", each.low - static_cast<double>(from)},
                                   {"high", each.high - static_cast<double>(from)},
                                   {"active", each.active}});
    const std::pair<const char *, const complex_signal *> signals[] = {
        {"data", &run.data}, {"fit", &run.fit}, {"residual", &run.residual}};
    for (const auto &[name, signal] : signals) {
        data[name] = text_of(real_curve(run, *signal));
        data["imaginary"][name] = text_of(imaginary_curve(run, *signal));
    }
    data["components"] = ordered_json::array();
    for (std::size_t k = 0; k < run.components.size(); ++k)
        data["components"].push_back(
            {{"number", std::to_string(run.entries[k].number)},
             {"name", chip_name(run.entries[k])},
             {"values", text_of(real_curve(run, run.components[k]))},
             {"imaginary", text_of(imaginary_curve(run, run.components[k]))}});
    if (const complex_signal removed = removed_signal(run); !removed.empty())
        data["components"].push_back({{"number", "removed"},
                                      {"name", "removed water"},
                                      {"removed", true},
                                      {"off", is_higher_than_components(run, removed)},
                                      {"values", text_of(real_curve(run, removed))},
                                      {"imaginary", text_of(imaginary_curve(run, removed))}});
    return data;
}

} // namespace tools
