// SPDX-License-Identifier: BSD-3-Clause
// plan_water.cpp -- the water of the spectra of a batch, into its plan
#include "varokel-batch/plan_water.h"

#include "files/batch/water_areas.h"

#include <limits>

namespace tools {

void plan_water(const plan_options &options, const input_options &input,
                const std::vector<std::size_t> &origin, const std::string &work,
                plan_draft &batch) {
    const peak_table table = read_peak_table(options.peaks);
    std::vector<std::size_t> which;
    for (std::size_t s = 0; s < batch.spectra.size(); ++s)
        if (batch.spectra[s].state == signal_state::fit) which.push_back(origin[s]);
    const water_file water = read_water(options.water.file, input, options.spectrum, which);
    const double none = std::numeric_limits<double>::quiet_NaN();
    std::vector<water_area> areas(batch.spectra.size(), {none, none});
    const water_signal *first = nullptr;
    std::size_t at = 0;
    for (std::size_t s = 0; s < batch.spectra.size(); ++s) {
        if (batch.spectra[s].state != signal_state::fit) continue;
        const water_signal &signal = water.signals[at++];
        if (!(signal.area > 0.0)) continue;
        areas[static_cast<std::size_t>(batch.spectra[s].number)] = {signal.area, signal.area_error};
        if (first == nullptr) first = &signal;
    }
    batch.inputs.push_back(options.water.file);
    write_water_areas(work + "/water.f64", areas);
    batch.water = water_item(options.water, table.amounts, water, *first, options.peaks);
    if (water.without_water > 0)
        batch.water["assumed"].push_back(
            std::to_string(water.without_water) +
            " spectra have no water to hold their areas against: they have no amounts");
    if (batch.spectra.size() > 1)
        batch.water["assumed"].push_back(
            "what is said of the area of water is that of the first spectrum that has one");
    for (const auto &text : batch.water["assumed"]) warn_of_plan(text.get<std::string>());
}

} // namespace tools
