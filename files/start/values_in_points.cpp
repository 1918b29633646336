// SPDX-License-Identifier: BSD-3-Clause
// values_in_points.cpp -- parameters of a start file in the units of the engine
#include "files/start/values_in_points.h"

#include "kernel/line_width.h"

#include <cmath>

namespace tools {

static_assert(quantity_of(area_of) == engine::area &&
              quantity_of(frequency_of) == engine::frequency &&
              quantity_of(gauss_of) == engine::gauss_width &&
              quantity_of(phase_of) == engine::phase &&
              quantity_of(lorentz_of) == engine::lorentz_width);

double points_of_unit(int quantity, int type, double hz_per_point) {
    if (quantity == frequency_of) return 1.0 / hz_per_point;
    if (quantity != gauss_of && quantity != lorentz_of) return 1.0;
    const double points = width_unit(quantity, type, hz_per_point) / hz_per_point;
    return quantity == gauss_of ? points / kernel::gauss_fwhm_per_width : points;
}

engine::values_of_entry values_in_points(const start_entry &entry, double hz_per_point) {
    engine::values_of_entry out;
    for (int q = 0; q < quantities; ++q)
        out[static_cast<std::size_t>(q)] =
            entry.of(q).value * points_of_unit(q, entry.type, hz_per_point);
    return out;
}

engine::values_of_entry shape_in_points(const start_entry &entry, double hz_per_point) {
    engine::values_of_entry out = values_in_points(entry, hz_per_point);
    for (const int q : {gauss_of, lorentz_of})
        if (!is_used(q, entry.type)) out[static_cast<std::size_t>(q)] = 0.0;
    out[gauss_of] = std::fabs(out[gauss_of]);
    out[phase_of] = 0.0;
    return out;
}

} // namespace tools
