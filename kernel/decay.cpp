// SPDX-License-Identifier: BSD-3-Clause
// decay.cpp -- damped oscillation, added to a complex vector
//
// A step of S points multiplies z by a factor that itself changes by a constant factor:
//
//   z(n + S) = z(n) R(n),  R(n + S) = R(n) exp(-2 gauss S^2),
//   R(n) = exp(-gauss (2 (n + d) S + S^2) - lorentz S + i omega S)
//
// so sixteen neighbouring points advance with a complex and a real product each, without an
// exponential; the vectors that hold them do not wait for each other. Each block of 512 points
// starts from library values again: R gathers 1 rounding error a step, z their sum, 32^2/2 units in
// the last place (6e-14) at the end of a block with a Gaussian decay and 32 (4e-15) without.
#include "kernel/decay.h"

#include "kernel/elementary.h"
#include "kernel/lanes.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kernel {

static constexpr int step = 16;
static constexpr int block = 512;
static constexpr double negligible = 100.0; // exp(-100) = 4e-44

[[gnu::always_inline]] static inline complex_value product(complex_value a, complex_value b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

// Turns of the oscillation up to point n: whole points of frequency are counted in integers, so
// that only the fraction is rounded.
static double turns_at(const decay &curve, int n) {
    const double whole = std::nearbyint(curve.frequency);
    const double fraction = curve.frequency - whole;
    const double N = curve.points;
    const double whole_turns = std::fmod(std::fmod(whole, N) * n, N) / N; // exact below 2^53
    const double half_band = curve.half_band ? 0.5 * (n % 2) : 0.0;
    return whole_turns + fraction * n / N + half_band;
}

// The rows that a curve is added to: row k takes t^k z.
static void add_plainly(const decay &curve, int begin, int end, double *re, double *im) {
    for (int n = begin; n < end; ++n) {
        const double t = n + curve.d;
        const double e = kernel::exp(-curve.gauss * t * t - curve.lorentz * t);
        const complex_value z =
            product({e * curve.re, e * curve.im}, exp_2_pi_i(turns_at(curve, n)));
        re[n] += z.re;
        im[n] += z.im;
    }
}

// What stays the same over the blocks of a curve.
struct stepping {
    complex_value one;         // exp(-lorentz + i omega)
    complex_value all;         // the same for `step` points
    double gauss_square[step]; // exp(-gauss j^2)
    double gauss_2s;           // exp(-2 gauss step)
    double gauss_ss;           // exp(-gauss step^2)
    double change;             // exp(-2 gauss step^2)
    bool gaussian;
};

static stepping stepping_of(const decay &curve) {
    stepping s;
    const complex_value turn = exp_2_pi_i(turns_at(curve, 1));
    const double fade = kernel::exp(-curve.lorentz);
    s.one = {fade * turn.re, fade * turn.im};
    const complex_value turn_all = exp_2_pi_i(turns_at(curve, step));
    const double fade_all = kernel::exp(-curve.lorentz * step);
    s.all = {fade_all * turn_all.re, fade_all * turn_all.im};
    s.gaussian = curve.gauss != 0.0;
    if (!s.gaussian) return s;
    const double g = kernel::exp(-curve.gauss);
    const double gg = g * g;
    double odd = g; // exp(-gauss (2 j + 1))
    s.gauss_square[0] = 1.0;
    for (int j = 1; j < step; ++j) {
        s.gauss_square[j] = s.gauss_square[j - 1] * odd;
        odd *= gg;
    }
    s.gauss_2s = kernel::exp(-2.0 * curve.gauss * step);
    s.gauss_ss = kernel::exp(-curve.gauss * step * step);
    s.change = kernel::exp(-2.0 * curve.gauss * step * step);
    return s;
}

// Sixteen values of z, from which the steps start, and the factors that they advance with.
struct block_start {
    double z_re[step], z_im[step];
    double g[step];  // Gaussian part of R at each of them
    complex_value r; // the rest of R
    double change;   // of the Gaussian part, per step
};

// Adds the n points (a multiple of 16) from `begin` on.
template <class V, bool gaussian>
[[gnu::always_inline]] static inline void advance(const block_start &b, int begin, int n,
                                                  double *__restrict re, double *__restrict im) {
    constexpr int vectors = step / width_of<V>;
    const V zero = {};
    const V all_re = zero + b.r.re;
    const V all_im = zero + b.r.im;
    V z_re[vectors], z_im[vectors], r_re[vectors], r_im[vectors];
#pragma GCC unroll 4
    for (int k = 0; k < vectors; ++k) {
        load(z_re[k], b.z_re + k * width_of<V>);
        load(z_im[k], b.z_im + k * width_of<V>);
        if constexpr (gaussian) {
            V g;
            load(g, b.g + k * width_of<V>);
            r_re[k] = g * b.r.re;
            r_im[k] = g * b.r.im;
        }
    }
    for (int i = begin; i < begin + n; i += step) {
#pragma GCC unroll 4
        for (int k = 0; k < vectors; ++k) {
            const int at = i + k * width_of<V>;
            V v;
            load(v, re + at);
            store(re + at, v + z_re[k]);
            load(v, im + at);
            store(im + at, v + z_im[k]);
            const V f_re = gaussian ? r_re[k] : all_re;
            const V f_im = gaussian ? r_im[k] : all_im;
            const V product = z_re[k] * f_re - z_im[k] * f_im;
            z_im[k] = z_re[k] * f_im + z_im[k] * f_re;
            z_re[k] = product;
            if constexpr (gaussian) {
                r_re[k] *= b.change;
                r_im[k] *= b.change;
            }
        }
    }
}

MULTIVERSION_WIDTHS(static void run_lorentzian(const block_start &b, int begin, int n, double *re,
                                               double *im),
                    advance<V, false>(b, begin, n, re, im))
MULTIVERSION_WIDTHS(static void run_gaussian(const block_start &b, int begin, int n, double *re,
                                             double *im),
                    advance<V, true>(b, begin, n, re, im))

static void add_block(const decay &curve, const stepping &s, int begin, int end, double *re,
                      double *im) {
    const double t = begin + curve.d;
    const double e = kernel::exp(-curve.gauss * t * t - curve.lorentz * t);
    const complex_value turn = exp_2_pi_i(turns_at(curve, begin));
    const complex_value start = product({e * curve.re, e * curve.im}, turn);
    double cross = 1.0; // exp(-2 gauss t): the slope of the Gaussian where the block begins
    if (s.gaussian) cross = kernel::exp(-2.0 * curve.gauss * t);
    const complex_value w = {s.one.re * cross, s.one.im * cross};
    const complex_value w2 = product(w, w);
    const complex_value w4 = product(w2, w2);
    const complex_value w8 = product(w4, w4);
    complex_value z[step];
    z[0] = start;
    z[1] = product(start, w);
    for (int j = 0; j < 2; ++j) z[j + 2] = product(z[j], w2);
    for (int j = 0; j < 4; ++j) z[j + 4] = product(z[j], w4);
    for (int j = 0; j < 8; ++j) z[j + 8] = product(z[j], w8);
    block_start b;
    b.r = s.all;
    for (int j = 0; j < step; ++j) {
        const double q = s.gaussian ? s.gauss_square[j] : 1.0;
        b.z_re[j] = z[j].re * q;
        b.z_im[j] = z[j].im * q;
    }
    const int whole = (end - begin) / step * step;
    if (s.gaussian) {
        b.change = s.change;
        b.g[0] = kernel::exp(-2.0 * curve.gauss * step * t) * s.gauss_ss;
        for (int j = 1; j < step; ++j) b.g[j] = b.g[j - 1] * s.gauss_2s;
        run_gaussian(b, begin, whole, re, im);
    } else {
        run_lorentzian(b, begin, whole, re, im);
    }
    add_plainly(curve, begin + whole, end, re, im);
}

double time_of_exponent(double gauss, double lorentz, double exponent) {
    const double root = std::sqrt(lorentz * lorentz + 4.0 * gauss * exponent);
    // Of the two forms of the larger solution, the one whose sum does not cancel. The decays may
    // be twenty powers of ten apart: then root and lorentz are equal.
    if (lorentz >= 0.0) return 2.0 * exponent / (lorentz + root);
    if (!(gauss > 0.0)) return std::numeric_limits<double>::infinity();
    if (std::isinf(root)) return std::sqrt(exponent / gauss) - lorentz / gauss;
    return 0.5 * (root - lorentz) / gauss;
}

void add_decay(const decay &curve, int begin, int end, double *re, double *im) {
    if (end <= begin) return;
    const double a = curve.gauss;
    const double b = curve.lorentz;
    const double last = end - 1 + curve.d;
    const double first = begin + curve.d;
    const double farthest = std::max(std::fabs(first), std::fabs(last));
    // Where a factor of the recurrence could leave the range of a double: a decay that rises, or
    // one that begins long before time 0 and comes up from nothing.
    const bool tame = b * farthest > -negligible && b * first > -3.0 * negligible &&
                      (first >= 0.0 || a * first * first < negligible) && std::isfinite(a) &&
                      std::fabs(curve.frequency) < 1e9;
    if (!tame) {
        add_plainly(curve, begin, end, re, im);
        return;
    }
    // where the decay has fallen below what a double can tell from nothing
    const double reach = time_of_exponent(a, b, negligible);
    if (reach < last) {
        const double stop = std::ceil(reach - curve.d) + 1.0;
        end = stop > begin ? static_cast<int>(stop) : begin;
    }
    const stepping s = stepping_of(curve);
    for (int n = begin; n < end; n += block)
        add_block(curve, s, n, std::min(end, n + block), re, im);
}

} // namespace kernel
