// SPDX-License-Identifier: BSD-3-Clause
// centred_spectrum.cpp -- from a free induction decay to the spectrum that is fitted, and back
#include "engine/centred_spectrum.h"

#include "kernel/transform_plan.h"

#include <algorithm>

namespace engine {

complex_signal spectrum_of_fid(std::span<const std::complex<double>> fid, int points) {
    const kernel::transform_plan plan(points);
    const std::size_t n = static_cast<std::size_t>(points);
    std::vector<double> storage(4 * n, 0.0);
    double *const re = storage.data(), *const im = re + n, *const work = im + n;
    for (std::size_t i = 0; i < std::min(n, fid.size()); ++i) {
        re[i] = fid[i].real();
        im[i] = fid[i].imag();
    }
    re[0] *= 0.5;
    im[0] *= 0.5;
    const kernel::split_vector s = plan.transform(re, im, work, work + n, 1.0 / points, true);
    complex_signal out(n);
    for (std::size_t i = 0; i < n; ++i) out[i] = {s.re[i], s.im[i]};
    return out;
}

complex_signal fid_of_spectrum(std::span<const std::complex<double>> spectrum) {
    const std::size_t n = spectrum.size();
    const kernel::transform_plan plan(static_cast<int>(n));
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
    out[0] *= 2.0;
    return out;
}

} // namespace engine
