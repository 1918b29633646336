// SPDX-License-Identifier: BSD-3-Clause
// tail_noise.cpp -- the noise of an FID, from where its signal has decayed
#include "files/measured/tail_noise.h"

#include "files/spectra/complex_polar.h"

#include <algorithm>
#include <cmath>

namespace tools {

std::optional<noise_estimate> tail_noise(const complex_signal &fid) {
    static constexpr std::size_t fewest = 16;
    static constexpr double of_differences = 20.0; // 1 + 9 + 9 + 1 times the variance
    std::size_t measured = fid.size();
    while (measured > 0 && fid[measured - 1] == 0.0) --measured;
    const std::size_t points = measured / 4;
    if (points < fewest) return std::nullopt;
    const complex_signal tail(fid.begin() + static_cast<std::ptrdiff_t>(measured - points),
                              fid.begin() + static_cast<std::ptrdiff_t>(measured));
    double most = 0.0; // so that no square leaves the range of numbers
    for (const std::complex<double> &point : tail) most = std::max(most, size_of(point));
    double sum = 0.0;
    for (std::size_t k = 0; k + 3 < points; ++k)
        sum += std::norm(tail[k] / most - 3.0 * (tail[k + 1] / most) + 3.0 * (tail[k + 2] / most) -
                         tail[k + 3] / most);
    if (!(sum > 0.0)) return std::nullopt;
    const auto differences = static_cast<double>(points - 3);
    return noise_estimate{most * std::sqrt(sum / (2.0 * of_differences * differences)),
                          0.5 * std::sqrt(2.31 / differences)};
}

} // namespace tools
