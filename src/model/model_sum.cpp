// SPDX-License-Identifier: BSD-3-Clause
// model_sum.cpp -- curves of many entries, summed in the time domain and transformed once
//
// The measured lineshape multiplies all curves, so it multiplies their sum; the fitted one
// multiplies those that take it, which have a sum of their own. A pattern's spectrum is not
// rotated by half the band: in the time domain that is a change of sign of every second point,
// which undoes the half band of its oscillation.
#include "model/model_sum.h"

#include "model/fft_plan.h"
#include "model/l_shapes.h"
#include "run/storage.h"

#include "kernel/line_equation.h"

#include <algorithm>
#include <utility>

static constexpr int n_arrays = 8;

// What a sum left, for the next one: nobody's meanwhile.
static double *spare = nullptr;
static int spare_points = 0;

void model_sum::release_storage() {
    release(spare);
    spare = nullptr;
    spare_points = 0;
}

model_sum::~model_sum() {
    if (storage_ == nullptr) return;
    release_storage();
    spare = storage_;
    spare_points = storage_points_;
}

bool model_sum::have_storage(int ap, const char *no_storage) {
    if (storage_ == nullptr) {
        storage_ = std::exchange(spare, nullptr);
        storage_points_ = std::exchange(spare_points, 0);
    }
    if (storage_ != nullptr && storage_points_ >= ap) return true;
    release(storage_);
    has_kept_ = false;
    storage_ = new_doubles(static_cast<long long>(n_arrays) * ap, no_storage);
    storage_points_ = storage_ != nullptr ? ap : 0;
    return storage_ != nullptr;
}

bool model_sum::begin(const curve_setting &setting, const char *no_storage) {
    setting_ = setting;
    const int ap = setting.ap;
    plan_ = fft_plan_of(ap);
    if (plan_ == nullptr || !have_storage(ap, no_storage)) return false;
    double *next = storage_;
    for (double **array :
         {&re_, &im_, &lsf_re_, &lsf_im_, &work_re_, &work_im_, &kept_re_, &kept_im_}) {
        *array = next;
        next += storage_points_;
    }
    std::fill(re_, re_ + ap, 0.0);
    std::fill(im_, im_ + ap, 0.0);
    has_lsf_ = false;
    return true;
}

void model_sum::keep() {
    has_kept_ = !has_lsf_;
    if (!has_kept_) return;
    std::copy(re_, re_ + setting_.ap, kept_re_);
    std::copy(im_, im_ + setting_.ap, kept_im_);
}

bool model_sum::begin_with_kept(double factor) {
    if (!has_kept_) return false;
    for (int n = 0; n < setting_.ap; ++n) {
        re_[n] = factor * kept_re_[n];
        im_[n] = factor * kept_im_[n];
    }
    has_lsf_ = false;
    return true;
}

// The curve of an entry with the widths g and L, times a complex factor.
static kernel::decay decay_of(const curve_setting &s, const double *p, double g, double L,
                              double factor_re, double factor_im, bool half_band) {
    kernel::decay curve = kernel::line_decay({.area = p[area_par],
                                              .frequency = p[freq_par] * s.frscl,
                                              .gauss = g,
                                              .lorentz = L,
                                              .phase = p[phase_par]},
                                             s.ap, s.phi_1, half_band);
    const double c = curve.re;
    const double q = curve.im;
    curve.re = c * factor_re - q * factor_im;
    curve.im = c * factor_im + q * factor_re;
    return curve;
}

void model_sum::add_line(int k, int type, const double *p, double factor_re, double factor_im) {
    const curve_setting &s = setting_;
    const double g = type == lorentzian_line ? 0.0 : p[width1_par];
    const double L = type == gaussian_line ? 0.0 : p[width2_par];
    const bool takes_lsf = s.fit_lsf[k] == 1 && s.lsf_coefs != 0;
    if (takes_lsf && !has_lsf_) {
        std::fill(lsf_re_, lsf_re_ + s.ap, 0.0);
        std::fill(lsf_im_, lsf_im_ + s.ap, 0.0);
        has_lsf_ = true;
    }
    const int end = std::min(std::max(s.td_ap_trunc, 2), s.ap); // docs/quirks.md, Q22
    add_decay(decay_of(s, p, g, L, factor_re, factor_im, true), std::max(s.ignore, 0), end,
              takes_lsf ? lsf_re_ : re_, takes_lsf ? lsf_im_ : im_);
}

void model_sum::add_pattern(int k, const double *p, double factor_re, double factor_im) {
    const curve_setting &s = setting_;
    const bool takes_lsf = s.fit_lsf[k] == 1 && s.lsf_coefs != 0;
    const int end = std::min(std::max(s.td_ap_trunc, 2), s.ap);
    std::fill(work_re_, work_re_ + s.ap, 0.0);
    std::fill(work_im_, work_im_ + s.ap, 0.0);
    add_decay(decay_of(s, p, p[width1_par], p[width2_par], factor_re, factor_im, false),
              std::max(s.ignore, 0), end, work_re_, work_im_);
    Complex_Pattern_Multiply(s.ap, k - s.nLines, work_re_, work_im_, s.pat);
    if (takes_lsf) Complex_Multiply(s.ap, work_re_, work_im_, s.r_lsf, s.i_lsf);
    for (int n = 0; n < s.ap; ++n) {
        re_[n] += work_re_[n];
        im_[n] += work_im_[n];
    }
}

void model_sum::add(int k, int type, const double *p, double factor_re, double factor_im) {
    switch (type) {
    case gaussian_line:
    case lorentzian_line:
    case voigt_line:
        add_line(k, type, p, factor_re, factor_im);
        break;
    case pattern_line:
        if (k > setting_.nLines && k - setting_.nLines <= setting_.n_patterns)
            add_pattern(k, p, factor_re, factor_im);
        break;
    default:
        break;
    }
}

void model_sum::transform() {
    const curve_setting &s = setting_;
    if (has_lsf_) {
        Complex_Multiply(s.ap, lsf_re_, lsf_im_, s.r_lsf, s.i_lsf);
        for (int n = 0; n < s.ap; ++n) {
            re_[n] += lsf_re_[n];
            im_[n] += lsf_im_[n];
        }
    }
    if (s.ref_line == 1) Complex_Multiply(s.ap, re_, im_, s.re_ref, s.im_ref);
    re_[0] *= 0.5;
    im_[0] *= 0.5;
    const kernel::split_vector result =
        plan_->transform(re_, im_, work_re_, work_im_, 1.0 / s.ap, true);
    if (result.re == re_) return;
    std::swap(re_, work_re_);
    std::swap(im_, work_im_);
}
