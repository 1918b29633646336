// SPDX-License-Identifier: BSD-3-Clause
// gradient.cpp -- gradient of the chi-square with respect to the parameter vector
//
// The model is linear in its curves: a step of one parameter adds to it the spectrum of a
// difference of curves, and the chi-square changes by
//
//   sum w ((x - y - delta)^2 - (x - y)^2) = sum (-2 w (x - y) delta + w delta^2)
//
// which is computed as it stands here, without the cancellation of two large sums. So a
// derivative costs the curves that change, one transform and one pass over the weighted points;
// area and phase of an entry that no other follows are multiples of the same spectrum.
#include "model/gradient.h"

#include "kernel/elementary.h"
#include "kernel/lanes.h"
#include "model/model_sum.h"
#include "model/objective.h"
#include "model/prior_knowledge.h"
#include "model/vector_lib.h"
#include "report/fit_quality.h"
#include "run/state.h"
#include "run/storage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

using kernel::load;
using kernel::partial_sums;
using kernel::store;
using kernel::total;
using kernel::width_of;

// True when the start frequency of line k (1-based) lies at a point that does not carry weight 1.
static bool starts_outside_intervals(int k) {
    const double start = fixpar[pars_per_entry * (k - 1) + freq_par].value;
    if (!(start > -1.0 && start < ap)) return true;
    return wre[static_cast<int>(start)] != 1.0; // towards zero
}

static void print_gradient_of_line(int s, const double *x, const double *g) {
    const int at = pars_per_entry * (s - 1);
    std::printf("Gradient # %d : %1.3E  \t| Amplitude        : %1.5E  a.u.\n", at, g[at], x[at]);
    std::printf("Gradient # %d : %1.3E   \t| Frequency        : %1.5E  Hz\n", at + 1, g[at + 1],
                x[at + 1] * frscl * Hz_pp);
    std::printf("Gradient # %d : %1.3E   \t| Gaussian width   : %1.5E  i.u.\n", at + 2, g[at + 2],
                x[at + 2]);
    std::printf("Gradient # %d : %1.3E   \t| Phase            : %1.5E  degrees\n", at + 3,
                g[at + 3], x[at + 3]);
    std::printf("Gradient # %d : %1.3E   \t| Lorentzian width : %1.5E  i.u.\n", at + 4, g[at + 4],
                x[at + 4]);
}

static void print_whole_gradient(double f0, const double *g) {
    std::printf("\n\n");
    std::printf("Function value             : %1.12E\n", f0);
    for (int i = 0; i < npar; ++i) {
        std::printf("Gradient #%d : %1.12E\n", i, g[i]);
    }
}

// Points from first to last - 1 hold every point that counts.
struct point_range {
    int first, last;
};

static point_range weighted_points() {
    point_range range{0, ap};
    while (range.first < range.last && wre[range.first] + wim[range.first] == 0.0) ++range.first;
    while (range.last > range.first && wre[range.last - 1] + wim[range.last - 1] == 0.0)
        --range.last;
    return range;
}

// sum of a_re d_re + b_re d_re^2 + a_im d_im + b_im d_im^2 with d = (f_re + i f_im)(s_re + i s_im)
template <class V>
[[gnu::always_inline]] inline void add_changes(int n, double f_re, double f_im, const double *s_re,
                                               const double *s_im, const double *a_re,
                                               const double *b_re, const double *a_im,
                                               const double *b_im, double &result) {
    double part_re[partial_sums];
    double part_im[partial_sums];
    const int rest = n % partial_sums;
    for (int first = 0; first < partial_sums; first += width_of<V>) {
        V sum_re = {};
        V sum_im = {};
        for (int i = first; i < n - rest; i += partial_sums) {
            V x, y, a, b;
            load(x, s_re + i);
            load(y, s_im + i);
            const V d_re = f_re * x - f_im * y;
            const V d_im = f_re * y + f_im * x;
            load(a, a_re + i);
            load(b, b_re + i);
            sum_re += (a + b * d_re) * d_re;
            load(a, a_im + i);
            load(b, b_im + i);
            sum_im += (a + b * d_im) * d_im;
        }
        store(part_re + first, sum_re);
        store(part_im + first, sum_im);
    }
    for (int i = n - rest, j = 0; i < n; ++i, ++j) {
        const double d_re = f_re * s_re[i] - f_im * s_im[i];
        const double d_im = f_re * s_im[i] + f_im * s_re[i];
        part_re[j] += (a_re[i] + b_re[i] * d_re) * d_re;
        part_im[j] += (a_im[i] + b_im[i] * d_im) * d_im;
    }
    result = total(part_re) + total(part_im);
}

MULTIVERSION_WIDTHS(static double quadratic_change(int n, double f_re, double f_im,
                                                   const double *s_re, const double *s_im,
                                                   const double *a_re, const double *b_re,
                                                   const double *a_im, const double *b_im),
                    double sum;
                    add_changes<V>(n, f_re, f_im, s_re, s_im, a_re, b_re, a_im, b_im, sum);
                    return sum)

// Change of the chi-square when the model changes by a small spectrum.
class chi_square_change {
  public:
    // Coefficients of the model of the last evaluation.
    void prepare() {
        range_ = weighted_points();
        const int n = range_.last - range_.first;
        if (complex == 3 || complex == 4) {
            if (weighting_type != 7) return;
        }
        const bool real = weighting_type == 7 || complex != 1;
        const bool imaginary = weighting_type == 7 ? complex == 2 : complex != 0;
        for (int j = 0; j < n; ++j) {
            const int i = range_.first + j;
            double w_re = real ? wre[i] : 0.0;
            double w_im = imaginary ? wim[i] : 0.0;
            double r_re = xre[i] - yre[i];
            double r_im = xim[i] - yim[i];
            if (weighting_type == 7) {
                const double divisor = xre[i] * xre[i] + 1.0 + xim[i] * xim[i];
                w_re /= divisor;
                w_im /= divisor;
            }
            if (wre[i] + wim[i] == 0.0) w_re = w_im = r_re = r_im = 0.0;
            coefficient_[0][j] = -2.0 * w_re * r_re;
            coefficient_[1][j] = w_re;
            coefficient_[2][j] = -2.0 * w_im * r_im;
            coefficient_[3][j] = w_im;
        }
    }
    chi_square_change(double *a_re, double *b_re, double *a_im, double *b_im)
        : coefficient_{a_re, b_re, a_im, b_im} {}

    // The model changes by (f_re + i f_im)(s_re + i s_im).
    double operator()(double f_re, double f_im, const double *s_re, const double *s_im) const {
        if ((complex == 3 || complex == 4) && weighting_type != 7)
            return magnitude_change(f_re, f_im, s_re, s_im);
        const int first = range_.first;
        return quadratic_change(range_.last - first, f_re, f_im, s_re + first, s_im + first,
                                coefficient_[0], coefficient_[1], coefficient_[2], coefficient_[3]);
    }

  private:
    double magnitude_change(double f_re, double f_im, const double *s_re,
                            const double *s_im) const {
        double sum = 0.0;
        for (int i = range_.first; i < range_.last; ++i) {
            if (wre[i] + wim[i] == 0.0) continue;
            const double d_re = f_re * s_re[i] - f_im * s_im[i];
            const double d_im = f_re * s_im[i] + f_im * s_re[i];
            const double x = xre[i] * xre[i] + xim[i] * xim[i];
            const double y = yre[i] * yre[i] + yim[i] * yim[i];
            // |y + d|^2 - |y|^2, without the difference of two squares
            const double dy = (2.0 * yre[i] + d_re) * d_re + (2.0 * yim[i] + d_im) * d_im;
            if (complex == 4) {
                sum += (dy - 2.0 * (x - y)) * dy;
            } else {
                const double before = std::sqrt(y);
                const double after = std::sqrt(std::max(y + dy, 0.0));
                const double total = before + after;
                const double dm = total > 0.0 ? dy / total : 0.0;
                sum += (dm - 2.0 * (std::sqrt(x) - before)) * dm;
            }
        }
        return sum;
    }
    point_range range_{0, 0};
    double *coefficient_[4];
};

// What a step of parameter i means: the new value, and the step of the difference quotient.
struct difference_step {
    double value, h;
};

static difference_step step_of(double x) {
    if (std::fabs(x) > 1e-7) return {x + x / deriv_p, x / deriv_p};
    return {1.0 / deriv_p, 1.0 / deriv_p};
}

static bool is_followed(int s, int kind) {
    for (int k = 1; k <= nLines + n_patterns; ++k)
        if (k != s && fixpar[pars_per_entry * (k - 1) + kind].fixed_to == s) return true;
    return false;
}

// Area and phase of an entry that no other follows: steps of both are multiples of its curve of
// area 1, which sum keeps. Marks what is done; false when there is no storage.
static bool factor_gradient(int s, const bool *wanted, const curve_setting &setting,
                            const chi_square_change &change, double offset, const double *x,
                            double *g, model_sum &sum, bool *done) {
    const int at = pars_per_entry * (s - 1);
    done[area_par] = wanted[area_par] && !is_followed(s, area_par);
    done[phase_par] = wanted[phase_par] && !is_followed(s, phase_par);
    if (!done[area_par] && !done[phase_par]) return true;
    double unit[pars_per_entry];
    std::copy(x + at, x + at + pars_per_entry, unit);
    unit[area_par] = 1.0;
    if (!sum.begin(setting)) return false;
    sum.add(s, fixpar[at].type, unit, 1.0);
    sum.keep();
    sum.transform();
    if (done[area_par]) {
        const difference_step step = step_of(x[at + area_par]);
        const double delta = step.value - x[at + area_par];
        g[at + area_par] = (change(delta, 0.0, sum.re(), sum.im()) + offset) / step.h;
    }
    if (done[phase_par]) {
        const difference_step step = step_of(x[at + phase_par]);
        const double turn = std::numbers::pi * (step.value - x[at + phase_par]) / 180.0;
        const double half_sine = kernel::sin(0.5 * turn);
        const double A = x[at + area_par]; // A (exp(i turn) - 1)
        const double slope =
            change(-2.0 * A * half_sine * half_sine, A * kernel::sin(turn), sum.re(), sum.im());
        g[at + phase_par] = (slope + offset) / step.h;
    }
    return true;
}

// Gradient components of entry s (1-based) for the kinds that are wanted.
static void entry_gradient(int s, const bool *wanted, const curve_setting &setting,
                           const chi_square_change &change, double offset, double *x, double *g) {
    const int at = pars_per_entry * (s - 1);
    model_sum sum;
    bool done[pars_per_entry] = {};
    if (!factor_gradient(s, wanted, setting, change, offset, x, g, sum, done)) return;
    for (int kind = 0; kind < pars_per_entry; ++kind) {
        if (!wanted[kind] || done[kind]) continue;
        const difference_step step = step_of(x[at + kind]);
        // the unperturbed curve of the entry serves all its parameters
        const bool have_own = sum.begin_with_kept(-x[at + area_par]);
        if (!have_own && !sum.begin(setting)) return;
        const auto exchange = [&](int k, const double *changed) {
            const int i = pars_per_entry * (k - 1);
            sum.add(k, fixpar[i].type, changed, 1.0);
            if (k != s || !have_own) sum.add(k, fixpar[i].type, x + i, -1.0);
        };
        const double before = x[at + kind];
        double changed[pars_per_entry];
        std::copy(x + at, x + at + pars_per_entry, changed);
        changed[kind] = step.value;
        exchange(s, changed);
        for (int k = 1; k <= nLines + n_patterns; ++k) {
            const int i = pars_per_entry * (k - 1);
            if (k == s || fixpar[i + kind].fixed_to != s) continue;
            double saved[pars_per_entry];
            std::copy(x + i, x + i + pars_per_entry, saved);
            x[at + kind] = step.value;
            apply_prior_knowledge(k, nLines + n_patterns, x, fixpar);
            x[at + kind] = before;
            std::copy(x + i, x + i + pars_per_entry, changed);
            std::copy(saved, saved + pars_per_entry, x + i);
            exchange(k, changed);
        }
        sum.transform();
        g[at + kind] = (change(1.0, 0.0, sum.re(), sum.im()) + offset) / step.h;
    }
}

// The chi-square of the model of the last evaluation.
static double present_chi_square(double *x) {
    const int build = spec;
    spec = 0;
    const double sum = chi_square_of(x);
    spec = build;
    return sum;
}

// Perturbs one parameter, evaluates and restores: for what is no sum of curves.
class plain_derivative {
  public:
    plain_derivative(double f0, double *x, int length, double *store, double *y0re, double *y0im)
        : f0_(f0), x_(x), length_(length), store_(store), y0re_(y0re), y0im_(y0im) {
        Copy_Vector(length, x, store);
        Copy_Vector(ap, yre, y0re);
        Copy_Vector(ap, yim, y0im);
    }
    double operator()(int j) const {
        const difference_step step = step_of(x_[j]);
        x_[j] = step.value;
        const double slope = (chi_square_of(x_) - f0_) / step.h;
        Copy_Vector(length_, store_, x_);
        Copy_Vector(length_, store_, par_copy);
        Copy_Vector(ap, y0re_, yre);
        Copy_Vector(ap, y0im_, yim);
        return slope;
    }

  private:
    double f0_;
    double *x_;
    int length_;
    double *store_, *y0re_, *y0im_;
};

// By the curves that change.
static void gradient_by_parts(double f0, const int *group_switch, const chi_square_change &change,
                              double *x, double *g) {
    const curve_setting setting = CURVE_SETTING_HERE;
    const double offset = present_chi_square(x) - f0; // 0 but for rounding
    for (int s = 1; s <= nLines + n_patterns; ++s) {
        if (s <= nLines && starts_outside_intervals(s)) continue;
        bool wanted[pars_per_entry];
        for (int kind = 0; kind < pars_per_entry; ++kind)
            wanted[kind] =
                group_switch[kind] == 1 && fixpar[pars_per_entry * (s - 1) + kind].fixed_to == 0;
        entry_gradient(s, wanted, setting, change, offset, x, g);
    }
}

// By whole models.
static void plain_gradient(const plain_derivative &derivative, const int *group_switch, double *g) {
    for (int kind = 0; kind < pars_per_entry; ++kind) {
        if (group_switch[kind] != 1) continue;
        for (int j = kind; j < pars_per_entry * (nLines + n_patterns); j += pars_per_entry) {
            single_line = j / pars_per_entry + 1;
            if (fixpar[j].fixed_to == 0) g[j] = derivative(j);
        }
    }
    for (int k = 1; k <= nLines; ++k) {
        if (!starts_outside_intervals(k)) continue;
        for (int j = 0; j < pars_per_entry; ++j) g[pars_per_entry * (k - 1) + j] = 0.0;
    }
}

void dfnc(const double &f0, double *x, double *g) {
    const int line_parameters = pars_per_entry * (nLines + n_patterns);
    const int vector_length = line_parameters + 2 * lsf_coefs;
    const scratch<double> store(vector_length,
                                " Memory requested to store store[] in dfnc() is not available\n");
    const scratch<double> store_yre(2LL * ap,
                                    "Memory requested for store_yre not available in void dfnc\n");
    const scratch<double> store_yim(2LL * ap,
                                    "Memory requested for store_yim not available in void dfnc\n");
    Zero_Vector(vector_length, g);
    const bool have_copies = store != nullptr && store_yre != nullptr && store_yim != nullptr;

    if (spec == 1 && have_copies) {
        const int group_switch[pars_per_entry] = {amp_fit, freq_fit, width_fit, phase_fit,
                                                  voigt_fit};
        // Type 3 makes the model its own weights, whatever it is; other modes have no formula.
        const bool by_parts = weighting_type != 3 && complex >= 0 && complex <= 4;
        if (by_parts) {
            chi_square_change change(store_yre, store_yre + ap, store_yim, store_yim + ap);
            change.prepare();
            gradient_by_parts(f0, group_switch, change, x, g);
        }
        const plain_derivative derivative(f0, x, vector_length, store, store_yre, store_yim);
        if (!by_parts) plain_gradient(derivative, group_switch, g);
        if (lsf_coefs > 0 && lsf_fit_enable == 1) {
            single_line = 0;
            for (int j = line_parameters; j < vector_length; ++j) g[j] = derivative(j);
        }
    }

    single_line = 0;
    print_fit_quality(complex, h_cur_range, sigma, scalefactor);
    if (verbose > 0) {
        std::printf("scaled chi-sqr                              : %E\n", f0);
    }
    if (verbose > 1 && show_line >= 1 && show_line <= nLines + n_patterns)
        print_gradient_of_line(show_line, x, g);
    if (verbose >= 3) print_whole_gradient(f0, g);
}
