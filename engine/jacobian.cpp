// SPDX-License-Identifier: BSD-3-Clause
// jacobian.cpp -- Jacobian and normal matrix: one transform for each group and power of the time
//
// A column of the Jacobian is a sum of few spectra s_b (of e and of t e of each group), each times
// a complex factor: Re(f s) in absorption, Im(f s) in dispersion. So J^T J is made from the
// products of all s_b with one another, and the columns themselves are never written.
#include "engine/model.h"

#include "engine/time_factor.h"
#include "engine/vectors.h"
#include "kernel/sums.h"

#include <algorithm>
#include <numbers>

namespace engine {

using std::numbers::pi;

void model_workspace::stage(const model &of, pair_of spectrum, int to) {
    double *row = staged(to);
    for (const interval &run : of.runs_) {
        const int length = run.last - run.first + 1;
        std::copy_n(spectrum.re + run.first, length, row);
        std::copy_n(spectrum.im + run.first, length, row + length_);
        row += length;
    }
}

// Adds a column's part in a staged spectrum to values in the order of the residual.
void model_workspace::add_staged(const model &of, int from, std::complex<double> factor,
                                 double *row) const {
    const int n = fitted_points_;
    const double *const re = staged(from), *const im = re + length_;
    if (of.part_ == channel::both)
        add_turned(n, re, im, factor, row, row + n);
    else if (of.part_ == channel::absorption)
        add_scaled(n, re, factor.real(), im, -factor.imag(), row);
    else
        add_scaled(n, im, factor.real(), re, factor.imag(), row);
}

void model_workspace::transforms_of_groups(const model &of, bool with_moments) {
    const int n = of.points();
    const double d = of.when_.first_order_phase / 360.0;
    for (std::size_t i = 0; i < of.groups_.size(); ++i) {
        if (with_moments) take_moments(i);
        for (int power = 0; power < 3; ++power) {
            const int to = staged_of_[i][static_cast<std::size_t>(power)];
            if (to < 0) continue;
            times_time(n, power, d, curve(i).re, curve(i).im, copy_.re, copy_.im);
            stage(of, to_spectrum(of, copy_), to);
        }
    }
}

// Data less model, as residual_ and as the last of the staged spectra.
void model_workspace::take_residual(const model &of) {
    residual_ = data_;
    for (std::size_t i = 0; i < of.groups_.size(); ++i) {
        add_staged(of, staged_of_[i][0], -area_of(of, i) / of.noise_sd_, residual_.data());
    }
    double *const re = staged(spectra_), *const im = re + length_;
    const double *from = residual_.data();
    if (of.part_ != channel::dispersion) {
        std::copy_n(from, fitted_points_, re);
        from += fitted_points_;
    }
    if (of.part_ != channel::absorption) std::copy_n(from, fitted_points_, im);
}

time_factor time_factor_of(quantity q, const affine &by, bool squared, double g) {
    switch (q) {
    case area:
        return {by.factor, 0};
    case phase:
        return {{0.0, pi / 180.0 * by.factor}, 0};
    case frequency:
        return {{0.0, 2.0 * pi * by.factor}, 1};
    case lorentz_width:
        return {-pi * by.factor, 1};
    default:
        break;
    }
    return {squared ? -pi * pi * by.factor * by.factor : -2.0 * pi * pi * g * by.factor, 2};
}

void model_workspace::terms_of_groups(const model &of) {
    terms_.clear();
    for (std::size_t i = 0; i < of.groups_.size(); ++i) {
        const int k = of.groups_[i].entries.front();
        const values_of_entry &p = values_[static_cast<std::size_t>(k)];
        for (int j = 0; j < quantities; ++j) {
            const quantity q = static_cast<quantity>(j);
            const affine &by = of.map_.of(k, q);
            if (by.column < 0) continue;
            const time_factor t =
                time_factor_of(q, by, of.map_.at(by.column).squared, p[gauss_width]);
            const double scale = (q == area ? 1.0 : p[area]) / of.noise_sd_;
            const int spectrum =
                of.is_over_time() ? -1 : staged_of_[i][static_cast<std::size_t>(t.power)];
            terms_.push_back({by.column, spectrum, scale * t.factor, static_cast<int>(i), t.power});
        }
    }
}

// J^T J, J^T r and r.r from the products G of all staged rows: with the weights W of a channel's
// rows in its columns, W^T (G W).
void model_workspace::products_of_terms(const model &of) {
    const int rows = 2 * (spectra_ + 1), n = of.columns();
    const std::size_t R = static_cast<std::size_t>(rows), stride = static_cast<std::size_t>(n) + 1;
    std::fill(of_spectra_.begin(), of_spectra_.end(), 0.0);
    kernel::add_products(rows, length_, staged_.data(), of_spectra_.data());
    std::fill(products_.begin(), products_.end(), 0.0);
    for (const channel part : {channel::absorption, channel::dispersion}) {
        if (of.part_ != channel::both && of.part_ != part) continue;
        const bool real = part == channel::absorption;
        const auto of_re = [&](const term &t) { return real ? t.factor.real() : t.factor.imag(); };
        const auto of_im = [&](const term &t) { return real ? -t.factor.imag() : t.factor.real(); };
        const std::size_t last = 2 * static_cast<std::size_t>(spectra_) + (real ? 0 : 1);
        std::fill(of_columns_.begin(), of_columns_.end(), 0.0);
        for (const term &t : terms_) {
            const double *const g = of_spectra_.data() + 2 * static_cast<std::size_t>(t.of) * R;
            add_scaled(rows, g, of_re(t), g + R, of_im(t),
                       of_columns_.data() + static_cast<std::size_t>(t.column) * R);
        }
        std::copy_n(of_spectra_.data() + last * R, rows,
                    of_columns_.data() + static_cast<std::size_t>(n) * R);
        for (std::size_t c = 0; c < stride; ++c) {
            const double *const own = of_columns_.data() + c * R;
            for (const term &t : terms_) {
                const std::size_t b = static_cast<std::size_t>(t.column);
                const double *const at = own + 2 * static_cast<std::size_t>(t.of);
                if (b <= c) products_[c * stride + b] += of_re(t) * at[0] + of_im(t) * at[1];
            }
        }
        products_.back() += of_columns_[static_cast<std::size_t>(n) * R + last];
    }
    for (std::size_t c = 0; c < stride; ++c)
        for (std::size_t b = 0; b < c; ++b) products_[b * stride + c] = products_[c * stride + b];
}

double model_workspace::linearize(const model &of, std::span<const double> x, bool curvature) {
    if (!curvature && !linearized_at_.empty() &&
        std::equal(linearized_at_.begin(), linearized_at_.end(), x.begin(), x.end()))
        return products_.back();
    take_curves(of, x);
    terms_of_groups(of);
    if (of.is_over_time()) {
        products_over_time(of, curvature);
    } else {
        if (curvature) take_back(of, residual_);
        transforms_of_groups(of, curvature);
        take_residual(of);
        if (curvature) add_curvature(of);
        if (of.lineshape_columns_ > 0) lineshape_terms(of);
        products_of_terms(of);
    }
    linearized_at_.assign(x.begin(), x.end());
    return products_.back();
}

std::vector<double> model_workspace::jacobian(const model &of, int c) {
    std::vector<double> out(residual_.size(), 0.0);
    const double d = of.when_.first_order_phase / 360.0;
    for (const term &t : terms_) {
        if (t.column != c) continue;
        if (t.of >= 0) {
            add_staged(of, t.of, t.factor, out.data());
            continue;
        }
        const pair_of e = curve(static_cast<std::size_t>(t.group));
        times_time(of.points(), t.power, d, e.re, e.im, copy_.re, copy_.im);
        put_row(of, to_spectrum(of, copy_), t.factor, out.data());
    }
    return out;
}

} // namespace engine
