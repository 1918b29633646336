// SPDX-License-Identifier: BSD-3-Clause
// look_first.cpp -- a page of what would be fitted, before it is
#include "varokel-fit/look_first.h"

#include "files/pages/look_page.h"
#include "files/results/judge_run.h"
#include "files/results/run_result.h"
#include "files/spectra/signal_file.h"
#include "files/start/start_file.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <filesystem>
#include <numbers>

namespace tools {

namespace fs = std::filesystem;

static constexpr std::size_t most_on_a_page = 20;

static looked_peak peak_of(const start_file &start, const start_entry &entry) {
    looked_peak peak;
    const auto value = [&](int q) {
        return entry.parameters[static_cast<std::size_t>(q)].value *
               width_unit(q, entry.type, start.hz_per_point);
    };
    peak.name = entry.name;
    peak.type = type_name(entry.type);
    peak.hz = value(frequency_of);
    if (entry.type != pattern_entry) {
        peak.point = peak.hz / start.hz_per_point;
        peak.hz -= 0.5 * static_cast<double>(start.points) * start.hz_per_point;
    }
    const bool gauss = is_used(gauss_of, entry.type), lorentz = is_used(lorentz_of, entry.type);
    const double g = gauss ? std::fabs(value(gauss_of)) : 0.0;
    const double l = lorentz ? value(lorentz_of) : 0.0;
    // of both together: J. J. Olivero, R. L. Longbothum, J. Quant. Spectrosc. Radiat. Transf. 17
    // (1977) 233-236, to 0.02 %
    peak.width_hz = 0.5346 * l + std::sqrt(0.2166 * l * l + g * g);
    peak.area = entry.parameters[area_of].value;
    peak.phase = entry.parameters[phase_of].value;
    return peak;
}

static void add_start(const start_file &start, looked_spectrum &looked) {
    const auto last = static_cast<long long>(looked.points.size()) - 1;
    if (start.noise_stop - start.noise_first > 1)
        looked.noise = {start.noise_first, std::min<long long>(start.noise_stop - 1, last)};
    looked.intervals = fitted_intervals(start.steps, last + 1);
    std::complex<double> sum = 0.0;
    for (const start_entry &entry : start.entries) {
        looked.peaks.push_back(peak_of(start, entry));
        sum += std::polar(std::fabs(looked.peaks.back().area),
                          looked.peaks.back().phase * std::numbers::pi / 180.0);
    }
    looked.phase = std::abs(sum) > 0.0 ? std::arg(sum) * 180.0 / std::numbers::pi : 0.0;
    looked.phi_1 = start.phi_1;
}

static looked_spectrum look_at(const prepared_fit &fit) {
    const std::string base = (fs::path(fit.planned.folder) / fit.planned.name).string();
    const metadata sidecar(base + ".json");
    looked_spectrum looked;
    looked.name = fit.planned.name;
    looked.points = read_points(base + ".bin", 0, points_of_spectrum(base + ".bin"));
    looked.axis = axis_of_sidecar(sidecar);
    looked.sidecar = sidecar.items();
    looked.why_not = fit.planned.why_not;
    looked.guesses = guesses_of_sidecar(sidecar.items());
    for (const std::string &text : fit.guesses) looked.guesses.push_back(text);
    looked.notes = notes_of_sidecar(sidecar);
    looked.warnings = fit.warnings;
    const auto warned = sidecar.items().find("warnings");
    if (warned != sidecar.items().end() && warned->is_array())
        for (const auto &text : *warned)
            if (text.is_string()) looked.warnings.push_back(text.get<std::string>());
    const metadata window = sidecar.inside("noise_window");
    const auto first = window.number("first"), stop = window.number("stop");
    if (first && stop && *first >= 0.0 && *stop <= static_cast<double>(looked.points.size()))
        looked.noise = {static_cast<long long>(*first), static_cast<long long>(*stop) - 1};
    if (fit.start) add_start(*fit.start, looked);
    return looked;
}

std::string page_before_fits(const std::vector<prepared_fit> &fits) {
    std::vector<looked_spectrum> spectra;
    for (std::size_t k = 0; k < std::min(fits.size(), most_on_a_page); ++k)
        spectra.push_back(look_at(fits[k]));
    return look_page(spectra, fits.size());
}

} // namespace tools
