// SPDX-License-Identifier: BSD-3-Clause
// error_correlations.cpp -- how the errors of a fit hang together, in the few numbers of a record
#include "files/batch/error_correlations.h"

#include "files/start/values_in_points.h"

#include <algorithm>
#include <cmath>

namespace tools {

std::vector<parameter_place> free_parameters(const start_file &start) {
    std::vector<parameter_place> places;
    for (std::size_t k = 0; k < start.entries.size(); ++k)
        for (int q = 0; q < quantities; ++q)
            if (is_used(q, start.entries[k].type) && start.entries[k].of(q).link == 0)
                places.push_back({k, q});
    return places;
}

record_shape record_shape_of(const start_file &start) {
    const std::size_t n = free_parameters(start).size();
    return {start.entries.size(), n * (n - (n > 0 ? 1 : 0)) / 2};
}

std::vector<double> packed_correlations(const start_file &start,
                                        const covariance_function &covariance) {
    const std::vector<parameter_place> places = free_parameters(start);
    std::vector<double> sd, packed;
    for (const parameter_place &p : places)
        sd.push_back(std::sqrt(covariance(p.entry, p.of, p.entry, p.of)));
    for (std::size_t a = 0; a < places.size(); ++a) {
        if (std::isnan(sd[a])) return {};
        for (std::size_t b = 0; b < a; ++b) {
            double r = 0.0;
            if (sd[a] > 0.0 && sd[b] > 0.0 && std::isfinite(sd[a]) && std::isfinite(sd[b]))
                r = covariance(places[a].entry, places[a].of, places[b].entry, places[b].of) /
                    sd[a] / sd[b];
            if (std::isnan(r)) return {};
            packed.push_back(std::clamp(r, -1.0, 1.0));
        }
    }
    return packed;
}

// A parameter as a multiple of a free one.
struct tie {
    std::size_t root = 0; // of free_parameters
    double sd = 0.0;      // signed [points]; 0 for what does not move
};

static tie tie_of(const start_file &start, const std::vector<parameter_place> &places,
                  const std::vector<double> &values, const std::vector<double> &errors,
                  parameter_place p) {
    if (!is_used(p.of, start.entries[p.entry].type)) return {};
    const std::size_t begin = p.entry;
    // no chain is longer than there are entries: what goes round in a circle ends here
    for (std::size_t steps = 0; steps <= start.entries.size(); ++steps) {
        const int link = start.entries[p.entry].of(p.of).link;
        if (link == 0) break;
        if (link < 1 || static_cast<std::size_t>(link) > start.entries.size() ||
            static_cast<std::size_t>(link) - 1 == p.entry)
            return {};
        p.entry = static_cast<std::size_t>(link) - 1;
    }
    const auto found = std::find(places.begin(), places.end(), p);
    if (found == places.end()) return {};
    const auto q = static_cast<std::size_t>(p.of);
    const double own = values[5 * begin + q], other = values[5 * p.entry + q];
    double factor = 1.0;
    if (p.of == area_of && p.entry != begin) factor = other == 0.0 ? 0.0 : own / other;
    if (factor == 0.0) return {};
    return {static_cast<std::size_t>(found - places.begin()),
            factor * 0.5 * errors[5 * p.entry + q] *
                points_of_unit(p.of, start.entries[p.entry].type, start.hz_per_point)};
}

std::vector<double> covariance_of_all(const start_file &start, const std::vector<double> &values,
                                      const std::vector<double> &errors,
                                      const std::vector<double> &correlations) {
    const std::vector<parameter_place> places = free_parameters(start);
    const std::size_t side = quantities * start.entries.size();
    std::vector<tie> ties;
    for (std::size_t a = 0; a < side; ++a)
        ties.push_back(tie_of(start, places, values, errors,
                              {a / quantities, static_cast<int>(a % quantities)}));
    std::vector<double> all(side * side, 0.0);
    for (std::size_t a = 0; a < side; ++a)
        for (std::size_t b = 0; b < side; ++b) {
            if (ties[a].sd == 0.0 || ties[b].sd == 0.0) continue;
            const std::size_t high = std::max(ties[a].root, ties[b].root),
                              low = std::min(ties[a].root, ties[b].root);
            const double r = high == low ? 1.0 : correlations[high * (high - 1) / 2 + low];
            if (r != 0.0) all[side * a + b] = ties[a].sd * ties[b].sd * r;
        }
    return all;
}

} // namespace tools
