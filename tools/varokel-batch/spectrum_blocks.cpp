// SPDX-License-Identifier: BSD-3-Clause
// spectrum_blocks.cpp -- in which order neighbours hand on their results as start values
#include "varokel-batch/spectrum_blocks.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>

namespace tools {

static constexpr long long tile_edge = 8, series_stretch = 16;
static_assert(tile_edge / 2 <= last_wave && series_stretch / 2 <= last_wave);

long long distance_between(const planned_spectrum &a, const planned_spectrum &b) {
    long long sum = 0;
    for (std::size_t i = 0; i < a.at.size(); ++i) sum += (a.at[i] - b.at[i]) * (a.at[i] - b.at[i]);
    return sum;
}

long long arrange_blocks(std::vector<planned_spectrum> &spectra, const std::vector<plan_axis> &axes,
                         bool neighbours) {
    if (!neighbours) {
        for (planned_spectrum &each : spectra) {
            each.block = each.number;
            each.wave = 0;
        }
        return static_cast<long long>(spectra.size());
    }
    // edge of a block along each axis: 1 where neighbours have nothing in common
    std::vector<long long> edge(axes.size(), 1);
    bool grid = false;
    for (std::size_t a = 0; a < axes.size(); ++a)
        if (axes[a].spatial && axes[a].size > 1 && a < 2) {
            edge[a] = tile_edge;
            grid = true;
        }
    for (std::size_t a = 0; !grid && a < axes.size(); ++a)
        if (axes[a].size > 1) { // the first direction of a series
            edge[a] = series_stretch;
            grid = true;
        }
    std::vector<std::pair<std::vector<long long>, std::size_t>> order;
    for (std::size_t s = 0; s < spectra.size(); ++s) {
        std::vector<long long> key;
        long long ring = 0;
        for (std::size_t a = axes.size(); a-- > 0;) {
            const long long place = spectra[s].at[a];
            key.push_back(place / edge[a]);
            ring = std::max(ring, std::llabs(place % edge[a] - edge[a] / 2));
        }
        spectra[s].wave = static_cast<int>(ring);
        order.emplace_back(std::move(key), s);
    }
    std::sort(order.begin(), order.end(), [&](const auto &a, const auto &b) {
        return std::tie(a.first, spectra[a.second].wave, spectra[a.second].number) <
               std::tie(b.first, spectra[b.second].wave, spectra[b.second].number);
    });
    std::vector<planned_spectrum> sorted;
    sorted.reserve(spectra.size());
    long long blocks = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (i > 0 && order[i].first != order[i - 1].first) ++blocks;
        sorted.push_back(std::move(spectra[order[i].second]));
        sorted.back().block = blocks;
    }
    spectra = std::move(sorted);
    return spectra.empty() ? 0 : blocks + 1;
}

} // namespace tools
