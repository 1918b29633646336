// SPDX-License-Identifier: BSD-3-Clause
// lineshape_columns.cpp -- the fitted lineshape and the derivatives of the model by it
#include "engine/model.h"

#include "engine/vectors.h"
#include "kernel/elementary.h"

#include <algorithm>

namespace engine {

// 1/z. Compilers have the quotient of complex numbers in ways of their own; this one is the same
// everywhere.
static std::complex<double> reciprocal(std::complex<double> z) {
    const double size = kernel::hypot(z.real(), z.imag());
    return std::conj(z / size) / size;
}

// The lineshape of docs/model.md, equation 8, from its coefficients.
void model_workspace::make_lineshape(const model &of, std::span<const double> x) {
    const int n = of.points();
    const int count = static_cast<int>(of.lineshape_.size());
    std::fill(sum_.re, sum_.re + n, 0.0);
    std::fill(sum_.im, sum_.im + n, 0.0);
    std::size_t next = static_cast<std::size_t>(of.map_.columns());
    for (int j = 0; j < count; ++j) {
        std::complex<double> c = of.lineshape_[static_cast<std::size_t>(j)];
        if (of.lineshape_columns_ > 0 && j != of.held_coefficient_) {
            c = {x[next], x[next + 1]};
            next += 2;
        }
        const int at = (j - count / 2 + n) % n;
        sum_.re[at] += c.real();
        sum_.im[at] += c.imag();
    }
    const kernel::split_vector decay =
        of.plan_->transform(sum_.re, sum_.im, work_.re, work_.im, 1.0 / n, false);
    lineshape_start_ = {decay.re[0], decay.im[0]};
    lineshape_.resize(static_cast<std::size_t>(n));
    const std::complex<double> factor = reciprocal(lineshape_start_);
    for (int i = 0; i < n; ++i)
        lineshape_[static_cast<std::size_t>(i)] =
            std::complex<double>(decay.re[i], decay.im[i]) * factor;
}

// The lineshape is r = R / R[0] with R = sum_j c_j E_j, E_j an oscillation by whole points. With S
// the decay of the entries that take it, dY/dc_j = FT(S (E_j - r)) / (N R[0]): E_j shifts the
// spectrum of S by whole points.
void model_workspace::lineshape_terms(const model &of) {
    const int n = of.points();
    clear(n, sum_.re, sum_.im);
    for (const model::group &g : of.groups_) {
        if (!g.takes_lineshape) continue;
        clear(n, copy_.re, copy_.im);
        for (const int k : g.entries)
            add_curve(of, k, values_[static_cast<std::size_t>(k)][area], 0.0, copy_);
        if (g.pattern >= 0)
            multiply(n, copy_.re, copy_.im,
                     of.patterns_[static_cast<std::size_t>(g.pattern)].data());
        add_scaled(n, copy_.re, 1.0, copy_.im, 0.0, sum_.re);
        add_scaled(n, copy_.im, 1.0, copy_.re, 0.0, sum_.im);
    }
    if (!of.measured_lineshape_.empty())
        multiply(n, sum_.re, sum_.im, of.measured_lineshape_.data());
    sum_.re[0] *= 0.5;
    sum_.im[0] *= 0.5;
    std::copy_n(sum_.re, n, copy_.re);
    std::copy_n(sum_.im, n, copy_.im);
    multiply(n, copy_.re, copy_.im, lineshape_.data());
    pair_of at = to_spectrum(of, copy_);
    std::copy_n(at.re, n, shaped_.re);
    std::copy_n(at.im, n, shaped_.im);
    at = to_spectrum(of, sum_);
    const std::complex<double> factor = reciprocal(lineshape_start_) / (of.noise_sd_ * n);
    int column = of.map_.columns(), spectrum = spectra_ - of.lineshape_columns_ / 2;
    const int count = static_cast<int>(of.lineshape_.size());
    for (int j = 0; j < count; ++j) {
        if (j == of.held_coefficient_) continue;
        for (int i = 0; i < n; ++i) {
            const int from = (i + j - count / 2 + n) % n;
            copy_.re[i] = at.re[from] - shaped_.re[i];
            copy_.im[i] = at.im[from] - shaped_.im[i];
        }
        stage(of, copy_, spectrum);
        terms_.push_back({column, spectrum, factor});
        terms_.push_back({column + 1, spectrum, factor * std::complex<double>(0.0, 1.0)});
        column += 2;
        ++spectrum;
    }
}

} // namespace engine
