// SPDX-License-Identifier: BSD-3-Clause
// model_workspace.cpp -- the model of a problem and its residual
#include "engine/model.h"

#include "engine/curve.h"
#include "engine/vectors.h"
#include "kernel/decay.h"
#include "kernel/elementary.h"
#include "kernel/sums.h"

#include <algorithm>
#include <cmath>
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
    storage_.resize(10 * n);
    double *next = storage_.data();
    for (pair_of *const p : {&sum_, &shaped_, &work_, &copy_, &backward_}) {
        *p = {next, next + n};
        next += 2 * n;
    }
    fitted_points_ = of.part_ == channel::both ? of.rows_ / 2 : of.rows_;
    length_ = kernel::padded_values(fitted_points_);
    count_spectra(of);
    const int rows = 2 * (spectra_ + 1);
    const std::size_t R = static_cast<std::size_t>(rows);
    staged_.assign(static_cast<std::size_t>(kernel::padded_rows(rows) * length_), 0.0);
    of_spectra_.resize(R * R);
    of_columns_.resize((columns + 1) * R);
    terms_.clear();
    terms_.reserve(quantities * of.groups_.size() +
                   2 * static_cast<std::size_t>(of.lineshape_columns_));
    values_.resize(of.types_.size());
    products_.assign((columns + 1) * (columns + 1), 0.0);
    curvature_.assign(columns * columns, 0.0);
    moments_.assign(of.groups_.size(), {});
    for (std::vector<double> *const row : {&residual_, &data_, &scratch_})
        row->assign(static_cast<std::size_t>(kernel::padded_values(of.rows_)), 0.0);
    broaden(of, 0.0);
}

void model_workspace::broaden(const model &of, double fwhm) {
    extra_decay_ = pi * fwhm / of.points();
    linearized_at_.clear();
    const int n = of.points();
    std::fill(data_.begin(), data_.end(), 0.0);
    if (fwhm == 0.0 && !of.cut_) {
        for (int i = 0; i < n; ++i) {
            sum_.re[i] = of.spectrum_[static_cast<std::size_t>(i)].real();
            sum_.im[i] = of.spectrum_[static_cast<std::size_t>(i)].imag();
        }
        put_row(of, sum_, 1.0 / of.noise_sd_, data_.data());
        return;
    }
    const double d = of.when_.first_order_phase / 360.0;
    for (int i = 0; i < n; ++i) {
        const std::complex<double> value =
            of.decay_of_data_[static_cast<std::size_t>(i)] * kernel::exp(-extra_decay_ * (i + d));
        sum_.re[i] = value.real();
        sum_.im[i] = value.imag();
    }
    const kernel::split_vector spectrum =
        of.plan_->transform(sum_.re, sum_.im, work_.re, work_.im, 1.0 / n, true);
    put_row(of, {spectrum.re, spectrum.im}, 1.0 / of.noise_sd_, data_.data());
}

void model_workspace::take_values(const model &of, std::span<const double> x) {
    linearized_at_.clear();
    for (std::size_t k = 0; k < values_.size(); ++k)
        for (int i = 0; i < quantities; ++i)
            values_[k][static_cast<std::size_t>(i)] =
                of.map_.value(static_cast<int>(k), static_cast<quantity>(i), x);
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

// The model's decay into sum_: of all entries, or of one.
void model_workspace::add_model(const model &of, int only) {
    const int n = of.points();
    clear(n, sum_.re, sum_.im);
    clear(n, shaped_.re, shaped_.im);
    bool any_shaped = false;
    for (const model::group &g : of.groups_) {
        any_shaped = any_shaped || g.takes_lineshape;
        const pair_of to = g.takes_lineshape ? shaped_ : sum_;
        if (g.pattern < 0) {
            for (const int k : g.entries)
                if (only < 0 || k == only)
                    add_curve(of, k, values_[static_cast<std::size_t>(k)][area], 0.0, to);
            continue;
        }
        const int k = g.entries.front();
        if (only >= 0 && k != only) continue;
        clear(n, copy_.re, copy_.im);
        add_curve(of, k, values_[static_cast<std::size_t>(k)][area], 0.0, copy_);
        multiply(n, copy_.re, copy_.im, of.patterns_[static_cast<std::size_t>(g.pattern)].data());
        add_scaled(n, copy_.re, 1.0, copy_.im, 0.0, to.re);
        add_scaled(n, copy_.im, 1.0, copy_.re, 0.0, to.im);
    }
    if (any_shaped) {
        multiply(n, shaped_.re, shaped_.im, lineshape_.data());
        add_scaled(n, shaped_.re, 1.0, shaped_.im, 0.0, sum_.re);
        add_scaled(n, shaped_.im, 1.0, shaped_.re, 0.0, sum_.im);
    }
    if (!of.measured_lineshape_.empty())
        multiply(n, sum_.re, sum_.im, of.measured_lineshape_.data());
    sum_.re[0] *= 0.5;
    sum_.im[0] *= 0.5;
}

double model_workspace::chi_square(const model &of, std::span<const double> x) {
    take_values(of, x);
    add_model(of, -1);
    std::copy(data_.begin(), data_.end(), residual_.begin());
    put_row(of, to_spectrum(of, sum_), -1.0 / of.noise_sd_, residual_.data());
    return kernel::dot(static_cast<int>(residual_.size()), residual_.data(), residual_.data());
}

complex_signal model_workspace::spectrum(const model &of, std::span<const double> x, int only) {
    take_values(of, x);
    add_model(of, only);
    const pair_of s = to_spectrum(of, sum_);
    complex_signal out(static_cast<std::size_t>(of.points()));
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = {s.re[i], s.im[i]};
    return out;
}

} // namespace engine
