// SPDX-License-Identifier: BSD-3-Clause
// equivalent_signs.cpp -- one of the two descriptions that every curve has
#include "files/results/equivalent_signs.h"

#include <cmath>
#include <cstddef>
#include <numeric>

namespace tools {

// The first entry of the group of k.
static std::size_t root_of(const std::vector<std::size_t> &parent, std::size_t k) {
    while (parent[k] != k) k = parent[k];
    return k;
}

std::vector<bool> entries_to_turn(const std::vector<signed_entry> &entries) {
    const std::size_t n = entries.size();
    std::vector<std::size_t> parent(n);
    std::iota(parent.begin(), parent.end(), std::size_t{0});
    for (std::size_t k = 0; k < n; ++k)
        for (const int link : {entries[k].area_link, entries[k].phase_link}) {
            if (link < 1 || static_cast<std::size_t>(link) > n) continue;
            const std::size_t a = root_of(parent, k),
                              b = root_of(parent, static_cast<std::size_t>(link) - 1);
            parent[a > b ? a : b] = a > b ? b : a;
        }
    std::vector<double> sum(n, 0.0), likeness(n, 0.0);
    std::vector<bool> held(n, false), given(n, false);
    for (std::size_t k = 0; k < n; ++k) {
        const std::size_t root = root_of(parent, k);
        const int own = static_cast<int>(k) + 1;
        sum[root] += entries[k].area;
        likeness[root] += entries[k].area * entries[k].start_area;
        given[root] = given[root] || entries[k].start_area < 0.0;
        if (entries[k].phase_link == own || (entries[k].area_link == own && entries[k].area != 0.0))
            held[root] = true;
    }
    std::vector<bool> turned(n, false);
    for (std::size_t k = 0; k < n; ++k) {
        const std::size_t root = root_of(parent, k);
        if (held[root] || !std::isfinite(sum[root])) continue;
        turned[k] = (given[root] ? likeness[root] : sum[root]) < 0.0;
    }
    return turned;
}

double principal_phase(double degrees) {
    const double phase = std::remainder(degrees, 360.0); // in [-180, 180], exact
    return phase == -180.0 ? 180.0 : phase;
}

} // namespace tools
