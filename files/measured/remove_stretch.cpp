// SPDX-License-Identifier: BSD-3-Clause
// remove_stretch.cpp -- how many oscillations it takes to remove a stretch of frequencies
#include "files/measured/remove_stretch.h"

#include "files/measured/condition_fid.h"

#include "engine/centred_spectrum.h"
#include "engine/noise_window.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tools {

// Root mean square of the spectrum from low to high [cycles per point] over the noise, per channel.
static double left_over_noise(const kernel::transform_plan &plan, const complex_signal &fid,
                              double low, double high) {
    const complex_signal spectrum = engine::spectrum_of_fid(plan, fid);
    const engine::noise_window noise = engine::noise_stretch(spectrum);
    const double n = static_cast<double>(spectrum.size());
    double sum = 0.0, count = 0.0;
    for (std::size_t i = 0; i < spectrum.size(); ++i) {
        const double place = static_cast<double>(i) / n - 0.5;
        if (place < low || place > high) continue;
        sum += 0.5 * std::norm(spectrum[i]);
        ++count;
    }
    const double sd = std::hypot(noise.sd_re, noise.sd_im) / std::numbers::sqrt2;
    return count > 0.0 && sd > 0.0 ? std::sqrt(sum / count) / sd : 0.0;
}

removed_stretch_lines remove_stretch(const kernel::transform_plan &plan, complex_signal &fid,
                                     std::size_t measured, double low, double high, int asked) {
    static constexpr int tried[] = {25, 40, 60};
    static constexpr double enough = 2.0;
    const complex_signal before = fid;
    const double power = power_of(before);
    removed_stretch_lines best;
    double added = 0.0;
    int order = 0;
    for (const int each : tried) {
        complex_signal own = before;
        order = asked > 0 ? asked : each;
        std::vector<oscillation> lines = remove_lines(own, measured, low, high, order);
        const double more = power > 0.0 ? power_of(own) / power - 1.0 : 0.0;
        if (more > 0.0) {
            added = added > 0.0 ? std::min(added, more) : more;
            if (asked > 0) break;
            continue;
        }
        const double left = left_over_noise(plan, own, low, high);
        if (best.order == 0 || left < best.left_over_noise) {
            best = {std::move(lines), order, left, -more, 0.0};
            fid = std::move(own);
        }
        if (asked > 0 || best.left_over_noise <= enough) break;
    }
    if (best.order == 0) best = {{}, order, left_over_noise(plan, before, low, high), 0.0, added};
    return best;
}

} // namespace tools
