// SPDX-License-Identifier: BSD-3-Clause
// matched_filter.cpp -- the model, and curves of it, against data that are moved by every lag
#include "engine/model.h"

#include "engine/vectors.h"
#include "kernel/sums.h"

#include <algorithm>

namespace engine {

complex_signal model_workspace::correlation(const model &of, std::span<const double> x) {
    const int n = of.points();
    take_curves(of, x);
    sum_curves(of);
    // decay of the data at the fitted points, conjugated: the transform backward is that of the
    // conjugate, conjugated
    clear(n, copy_.re, copy_.im);
    for (const interval &run : of.runs_) {
        for (int i = run.first; i <= run.last; ++i) {
            const int to = (i + n / 2) % n;
            copy_.re[to] = of.spectrum_[static_cast<std::size_t>(i)].real();
            copy_.im[to] = -of.spectrum_[static_cast<std::size_t>(i)].imag();
        }
    }
    const kernel::split_vector data =
        of.plan_->transform(copy_.re, copy_.im, work_.re, work_.im, 1.0 / of.noise_sd_, false);
    for (int i = 0; i < n; ++i) { // data conj(model)
        const double re = data.re[i], im = -data.im[i];
        shaped_.re[i] = re * sum_.re[i] + im * sum_.im[i];
        shaped_.im[i] = im * sum_.re[i] - re * sum_.im[i];
    }
    const kernel::split_vector lags =
        of.plan_->transform(shaped_.re, shaped_.im, work_.re, work_.im, 1.0, false);
    complex_signal out(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = {lags.re[i], lags.im[i]};
    return out;
}

double model_workspace::size_of(const model &of, int group) {
    const double variance = of.noise_sd_ * of.noise_sd_;
    if (of.is_over_time()) {
        const int n = static_cast<int>(2 * stride_);
        const double *const e = curve(static_cast<std::size_t>(group)).re;
        return kernel::dot(n, e, e) / of.points() / variance;
    }
    const double *const e = staged(staged_of_[static_cast<std::size_t>(group)][0]);
    double sum = kernel::dot(static_cast<int>(2 * length_), e, e);
    if (of.part_ != channel::both) sum *= 0.5; // half of it lies in the other channel
    return sum / variance;
}

complex_signal model_workspace::matches(const model &of, int group) {
    const int n = of.points();
    const std::size_t g = static_cast<std::size_t>(group);
    const double A = area_of(of, g) / of.noise_sd_;
    const pair_of e = curve(g);
    if (of.is_over_time()) {
        std::copy_n(residual_decay_.data(), n, backward_.re);
        std::copy_n(residual_decay_.data() + stride_, n, backward_.im);
        add_times(n, e.re, e.im, A, backward_.re, backward_.im);
    } else {
        scratch_ = residual_;
        add_staged(of, staged_of_[g][0], A, scratch_.data());
        take_back(of, scratch_);
    }
    const double scale = of.is_over_time() ? 1.0 / n : 1.0;
    for (int i = 0; i < n; ++i) { // backward_ conj(e)
        const double re = backward_.re[i], im = backward_.im[i];
        copy_.re[i] = re * e.re[i] + im * e.im[i];
        copy_.im[i] = im * e.re[i] - re * e.im[i];
    }
    const kernel::split_vector lags =
        of.plan_->transform(copy_.re, copy_.im, work_.re, work_.im, scale / of.noise_sd_, false);
    complex_signal out(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = {lags.re[i], lags.im[i]};
    return out;
}

} // namespace engine
