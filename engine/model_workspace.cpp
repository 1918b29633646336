// SPDX-License-Identifier: BSD-3-Clause
// model_workspace.cpp -- the model of a problem and its residual
#include "engine/model.h"

#include "engine/curve.h"
#include "engine/vectors.h"
#include "kernel/decay.h"
#include "kernel/elementary.h"
#include "kernel/sums.h"

#include <algorithm>
#include <numbers>

namespace engine {

using std::numbers::pi;

void model_workspace::count_spectra(const model &of) {
    spectra_ = 0;
    staged_of_.assign(of.groups_.size(), {-1, -1, -1});
    for (std::size_t g = 0; g < of.groups_.size(); ++g)
        for (std::size_t power = 0; power < 3; ++power)
            if (power == 0 || of.groups_[g].moves[power]) staged_of_[g][power] = spectra_++;
    spectra_ += of.lineshape_columns_ / 2;
}

void model_workspace::prepare(const model &of) {
    const std::size_t n = static_cast<std::size_t>(of.points());
    const std::size_t columns = static_cast<std::size_t>(of.columns());
    stride_ = static_cast<std::size_t>(kernel::padded_values(of.points()));
    storage_.assign(10 * stride_, 0.0);
    double *next = storage_.data();
    for (pair_of *const p : {&sum_, &shaped_, &work_, &copy_, &backward_}) {
        *p = {next, next + stride_};
        next += 2 * stride_;
    }
    curves_.assign(2 * stride_ * of.groups_.size(), 0.0);
    times_.assign(stride_, 0.0);
    const double d = of.when_.first_order_phase / 360.0, step = 1.0 / of.points();
    for (std::size_t i = 0; i < n; ++i) times_[i] = (static_cast<double>(i) + d) * step;
    fitted_points_ = of.part_ == channel::both ? of.rows_ / 2 : of.rows_;
    terms_.clear();
    terms_.reserve(quantities * of.groups_.size() +
                   2 * static_cast<std::size_t>(of.lineshape_columns_));
    values_.resize(of.types_.size());
    products_.assign((columns + 1) * (columns + 1), 0.0);
    curvature_.assign(columns * columns, 0.0);
    moments_.assign(of.groups_.size(), {});
    for (kernel::aligned_doubles *const row : {&residual_, &data_, &scratch_})
        row->assign(static_cast<std::size_t>(kernel::padded_values(of.rows_)), 0.0);
    if (of.is_over_time())
        prepare_time(of);
    else
        prepare_spectra(of);
    broaden(of, 0.0);
}

void model_workspace::prepare_spectra(const model &of) {
    length_ = kernel::padded_values(fitted_points_);
    count_spectra(of);
    const int rows = 2 * (spectra_ + 1);
    const std::size_t R = static_cast<std::size_t>(rows);
    staged_.assign(static_cast<std::size_t>(kernel::padded_rows(rows) * length_), 0.0);
    of_spectra_.resize(R * R);
    of_columns_.resize((static_cast<std::size_t>(of.columns()) + 1) * R);
}

void model_workspace::broaden(const model &of, double fwhm) {
    extra_decay_ = pi * fwhm / of.points();
    linearized_at_.clear();
    curves_at_.clear();
    const int n = of.points();
    if (!of.is_over_time() && fwhm == 0.0 && !of.cut_) {
        for (int i = 0; i < n; ++i) {
            sum_.re[i] = of.spectrum_[static_cast<std::size_t>(i)].real();
            sum_.im[i] = of.spectrum_[static_cast<std::size_t>(i)].imag();
        }
        std::fill(data_.begin(), data_.end(), 0.0);
        put_row(of, sum_, 1.0 / of.noise_sd_, data_.data());
        return;
    }
    const double d = of.when_.first_order_phase / 360.0;
    for (int i = 0; i < n; ++i) {
        std::complex<double> value = of.decay_of_data_[static_cast<std::size_t>(i)];
        if (fwhm != 0.0) value *= kernel::exp(-extra_decay_ * (i + d));
        sum_.re[i] = value.real();
        sum_.im[i] = value.imag();
    }
    if (of.is_over_time()) {
        for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i) {
            data_decay_[i] = sum_.re[i] / of.noise_sd_;
            data_decay_[stride_ + i] = sum_.im[i] / of.noise_sd_;
        }
        return;
    }
    std::fill(data_.begin(), data_.end(), 0.0);
    const kernel::split_vector spectrum =
        of.plan_->transform(sum_.re, sum_.im, work_.re, work_.im, 1.0 / n, true);
    put_row(of, {spectrum.re, spectrum.im}, 1.0 / of.noise_sd_, data_.data());
}

void model_workspace::take_values(const model &of, std::span<const double> x) {
    for (std::size_t k = 0; k < values_.size(); ++k)
        values_[k] = of.map_.values(static_cast<int>(k), x);
    if (!of.lineshape_.empty()) make_lineshape(of, x);
}

// Adds (re + i im) times the curve of entry k with area 1; docs/model.md, equations 1 to 4.
void model_workspace::add_curve(const model &of, int k, double re, double im, pair_of to) const {
    const bool is_pattern = of.types_[static_cast<std::size_t>(k)] == line_type::pattern;
    const kernel::decay curve = decay_of(values_[static_cast<std::size_t>(k)], of.when_, is_pattern,
                                         {re, im}, extra_decay_);
    kernel::add_decay(curve, of.when_.ignored, of.when_.kept, to.re, to.im);
}

// Centred spectrum of a decay in copy_, which is overwritten.
model_workspace::pair_of model_workspace::to_spectrum(const model &of, pair_of decay) {
    const kernel::split_vector result =
        of.plan_->transform(decay.re, decay.im, work_.re, work_.im, 1.0 / of.points(), true);
    return {result.re, result.im};
}

// Adds factor times a spectrum, at the fitted points, to a row.
void model_workspace::put_row(const model &of, pair_of spectrum, std::complex<double> factor,
                              double *row) const {
    for (const interval &run : of.runs_) {
        const int length = run.last - run.first + 1;
        const double *const re = spectrum.re + run.first, *const im = spectrum.im + run.first;
        if (of.part_ != channel::dispersion)
            add_scaled(length, re, factor.real(), im, -factor.imag(), row);
        double *const second = of.part_ == channel::both ? row + fitted_points_ : row;
        if (of.part_ != channel::absorption)
            add_scaled(length, im, factor.real(), re, factor.imag(), second);
        row += length;
    }
}

// The curve of a group, or of one of its entries, with area 1 of the first: docs/model.md,
// equations 1 to 4, with what they are multiplied by, and with half the first point.
void model_workspace::curve_of_group(const model &of, std::size_t group, int only, pair_of to) {
    const int n = of.points();
    const model::group &g = of.groups_[group];
    clear(n, to.re, to.im);
    for (std::size_t m = 0; m < g.entries.size(); ++m)
        if (only < 0 || g.entries[m] == only) add_curve(of, g.entries[m], g.ratios[m], 0.0, to);
    if (g.pattern >= 0)
        multiply(n, to.re, to.im, of.patterns_[static_cast<std::size_t>(g.pattern)].data());
    if (g.takes_lineshape) multiply(n, to.re, to.im, lineshape_.data());
    if (!of.measured_lineshape_.empty()) multiply(n, to.re, to.im, of.measured_lineshape_.data());
    to.re[0] *= 0.5; // the decay jumps there from 0
    to.im[0] *= 0.5;
}

double model_workspace::area_of(const model &of, std::size_t group) const {
    return values_[static_cast<std::size_t>(of.groups_[group].entries.front())][area];
}

// The curves of all groups at x, unless they are there.
void model_workspace::take_curves(const model &of, std::span<const double> x) {
    if (!curves_at_.empty() && std::equal(curves_at_.begin(), curves_at_.end(), x.begin(), x.end()))
        return;
    linearized_at_.clear();
    take_values(of, x);
    for (std::size_t g = 0; g < of.groups_.size(); ++g) curve_of_group(of, g, -1, curve(g));
    curves_at_.assign(x.begin(), x.end());
}

// The model's decay into sum_.
void model_workspace::sum_curves(const model &of) {
    const int n = of.points();
    clear(n, sum_.re, sum_.im);
    for (std::size_t g = 0; g < of.groups_.size(); ++g)
        add_times(n, curve(g).re, curve(g).im, area_of(of, g), sum_.re, sum_.im);
}

double model_workspace::chi_square(const model &of, std::span<const double> x) {
    take_curves(of, x);
    if (of.is_over_time()) return residual_over_time(of);
    sum_curves(of);
    std::copy(data_.begin(), data_.end(), residual_.begin());
    put_row(of, to_spectrum(of, sum_), -1.0 / of.noise_sd_, residual_.data());
    return kernel::dot(static_cast<int>(residual_.size()), residual_.data(), residual_.data());
}

complex_signal model_workspace::spectrum(const model &of, std::span<const double> x, int only) {
    take_curves(of, x);
    sum_curves(of);
    if (only >= 0) {
        std::size_t group = 0;
        while (std::find(of.groups_[group].entries.begin(), of.groups_[group].entries.end(),
                         only) == of.groups_[group].entries.end())
            ++group;
        curve_of_group(of, group, only, copy_);
        clear(of.points(), sum_.re, sum_.im);
        add_times(of.points(), copy_.re, copy_.im, area_of(of, group), sum_.re, sum_.im);
    }
    const pair_of s = to_spectrum(of, sum_);
    complex_signal out(static_cast<std::size_t>(of.points()));
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = {s.re[i], s.im[i]};
    return out;
}

} // namespace engine
