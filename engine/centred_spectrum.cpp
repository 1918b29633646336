// SPDX-License-Identifier: BSD-3-Clause
// centred_spectrum.cpp -- from a free induction decay to the spectrum that is fitted, and back
#include "engine/centred_spectrum.h"

#include <algorithm>
#include <stdexcept>

namespace engine {

static kernel::transform_plan plan_for(std::size_t points) {
    if (points > kernel::transform_plan::most_points)
        throw std::invalid_argument("a transform needs 1, 2, 4 ... 2^24 points");
    return kernel::transform_plan(static_cast<int>(points));
}

complex_signal spectrum_of_fid(std::span<const std::complex<double>> fid, int points,
                               double first_point_weight) {
    return spectrum_of_fid(kernel::transform_plan(points), fid, first_point_weight);
}

complex_signal spectrum_of_fid(const kernel::transform_plan &plan,
                               std::span<const std::complex<double>> fid,
                               double first_point_weight) {
    const std::size_t n = static_cast<std::size_t>(plan.points());
    std::vector<double> storage(4 * n, 0.0);
    double *const re = storage.data(), *const im = re + n, *const work = im + n;
    for (std::size_t i = 0; i < std::min(n, fid.size()); ++i) {
        re[i] = fid[i].real();
        im[i] = fid[i].imag();
    }
    re[0] *= first_point_weight;
    im[0] *= first_point_weight;
    const kernel::split_vector s =
        plan.transform(re, im, work, work + n, 1.0 / plan.points(), true);
    complex_signal out(n);
    for (std::size_t i = 0; i < n; ++i) out[i] = {s.re[i], s.im[i]};
    return out;
}

complex_signal fid_of_spectrum(std::span<const std::complex<double>> spectrum,
                               double first_point_weight) {
    return fid_of_spectrum(plan_for(spectrum.size()), spectrum, first_point_weight);
}

complex_signal fid_of_spectrum(const kernel::transform_plan &plan,
                               std::span<const std::complex<double>> spectrum,
                               double first_point_weight) {
    const std::size_t n = spectrum.size();
    std::vector<double> storage(4 * n);
    double *const re = storage.data(), *const im = re + n, *const work = im + n;
    // the transform backward is that of the conjugate, conjugated
    for (std::size_t i = 0; i < n; ++i) {
        re[i] = spectrum[(i + n / 2) % n].real();
        im[i] = -spectrum[(i + n / 2) % n].imag();
    }
    const kernel::split_vector decay = plan.transform(re, im, work, work + n, 1.0, false);
    complex_signal out(n);
    for (std::size_t i = 0; i < n; ++i) out[i] = {decay.re[i], -decay.im[i]};
    out[0] /= first_point_weight;
    return out;
}

} // namespace engine
