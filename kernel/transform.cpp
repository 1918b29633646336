// SPDX-License-Identifier: BSD-3-Clause
// transform.cpp -- transform of a complex vector of 2^k points held as two arrays
//
// Stockham's autosort transform, decimation in frequency, radix 4. A pass takes sequences of
// length m with stride s (m s = n) to four times the stride:
//
//   y[q + s (4 p + k)] = w^(k p) sum_l i^(-k l) x[q + s (p + l m/4)],   w = exp(-2 pi i / m)
//
// Input and output change places from pass to pass, the order of the result comes out right by
// itself, and the inner index q runs over neighbours, which share a vector. In the first pass s is
// 1: there four values of p share a vector, and a 4 x 4 transposition puts the results in order. An
// odd power of two ends with a pass of radix 8. The last pass has no factors w; it scales, and
// exchanges the halves by where it stores.
//
// Method: T. G. Stockham, AFIPS Conf. Proc. 28 (1966) 229-233; C. Van Loan, Computational
// Frameworks for the Fast Fourier Transform, SIAM 1992, section 1.7.
#include "kernel/transform_plan.h"

#include "kernel/lanes.h"

#include <numbers>
#include <utility>

namespace kernel {

#define INLINE [[gnu::always_inline]] static inline

// One complex value or a vector of them; T is double or lanes.
template <class T>
struct point {
    T re, im;
};

// Four-point transform of a, b, c, d, before the factors.
template <class T>
INLINE void butterfly(point<T> &a, point<T> &b, point<T> &c, point<T> &d) {
    const T apc_re = a.re + c.re, apc_im = a.im + c.im;
    const T amc_re = a.re - c.re, amc_im = a.im - c.im;
    const T bpd_re = b.re + d.re, bpd_im = b.im + d.im;
    const T bmd_re = b.re - d.re, bmd_im = b.im - d.im;
    a.re = apc_re + bpd_re;
    a.im = apc_im + bpd_im;
    b.re = amc_re + bmd_im; // minus i (b - d)
    b.im = amc_im - bmd_re;
    c.re = apc_re - bpd_re;
    c.im = apc_im - bpd_im;
    d.re = amc_re - bmd_im;
    d.im = amc_im + bmd_re;
}

template <class T>
INLINE void multiply(point<T> &z, const T &w_re, const T &w_im) {
    const T re = z.re * w_re - z.im * w_im;
    z.im = z.re * w_im + z.im * w_re;
    z.re = re;
}

INLINE void transpose(lanes &a, lanes &b, lanes &c, lanes &d) {
    const lanes t0 = __builtin_shufflevector(a, b, 0, 4, 2, 6);
    const lanes t1 = __builtin_shufflevector(a, b, 1, 5, 3, 7);
    const lanes t2 = __builtin_shufflevector(c, d, 0, 4, 2, 6);
    const lanes t3 = __builtin_shufflevector(c, d, 1, 5, 3, 7);
    a = __builtin_shufflevector(t0, t2, 0, 1, 4, 5);
    b = __builtin_shufflevector(t1, t3, 0, 1, 4, 5);
    c = __builtin_shufflevector(t0, t2, 2, 3, 6, 7);
    d = __builtin_shufflevector(t1, t3, 2, 3, 6, 7);
}

template <class V>
INLINE void load_point(point<V> &z, const double *re, const double *im, int i) {
    load(z.re, re + i);
    load(z.im, im + i);
}
template <class V>
INLINE void store_point(const point<V> &z, double *re, double *im, int i) {
    store(re + i, z.re);
    store(im + i, z.im);
}

// First pass, n >= 16: four neighbouring p in a vector.
MULTIVERSION static void first_pass(int n, const double *__restrict w, const double *__restrict xr,
                                    const double *__restrict xi, double *__restrict yr,
                                    double *__restrict yi) {
    const int quarter = n / 4;
    for (int p = 0; p < quarter; p += 4) {
        point<lanes> a, b, c, d, f;
        load_point(a, xr, xi, p);
        load_point(b, xr, xi, p + quarter);
        load_point(c, xr, xi, p + 2 * quarter);
        load_point(d, xr, xi, p + 3 * quarter);
        butterfly(a, b, c, d);
        load_point(f, w, w + quarter, p);
        multiply(b, f.re, f.im);
        load_point(f, w + 2 * quarter, w + 3 * quarter, p);
        multiply(c, f.re, f.im);
        load_point(f, w + 4 * quarter, w + 5 * quarter, p);
        multiply(d, f.re, f.im);
        transpose(a.re, b.re, c.re, d.re);
        transpose(a.im, b.im, c.im, d.im);
        store_point(a, yr, yi, 4 * p);
        store_point(b, yr, yi, 4 * p + 4);
        store_point(c, yr, yi, 4 * p + 8);
        store_point(d, yr, yi, 4 * p + 12);
    }
}

// A pass in the middle, stride s a multiple of the width: neighbouring q in a vector.
template <class V>
INLINE void pass_of_stride(int n, int s, const double *__restrict w, const double *__restrict xr,
                           const double *__restrict xi, double *__restrict yr,
                           double *__restrict yi) {
    const int quarter = n / 4; // distance of the four inputs, and of the four outputs s
    const V zero = {};
    for (int p = 0; p < quarter / s; ++p, w += transform_plan::factors_per_butterfly) {
        const V w1r = zero + w[0], w1i = zero + w[1];
        const V w2r = zero + w[2], w2i = zero + w[3];
        const V w3r = zero + w[4], w3i = zero + w[5];
        for (int q = 0; q < s; q += width_of<V>) {
            point<V> a, b, c, d;
            const int in = s * p + q;
            const int out = 4 * s * p + q;
            load_point(a, xr, xi, in);
            load_point(b, xr, xi, in + quarter);
            load_point(c, xr, xi, in + 2 * quarter);
            load_point(d, xr, xi, in + 3 * quarter);
            butterfly(a, b, c, d);
            multiply(b, w1r, w1i);
            multiply(c, w2r, w2i);
            multiply(d, w3r, w3i);
            store_point(a, yr, yi, out);
            store_point(b, yr, yi, out + s);
            store_point(c, yr, yi, out + 2 * s);
            store_point(d, yr, yi, out + 3 * s);
        }
    }
}

MULTIVERSION_WIDTHS(static void middle_pass(int n, int s, const double *w, const double *xr,
                                            const double *xi, double *yr, double *yi),
                    if (s < width_of<V>) pass_of_stride<lanes>(n, s, w, xr, xi, yr, yi);
                    else pass_of_stride<V>(n, s, w, xr, xi, yr, yi))

template <class T>
INLINE void scale(point<T> &z, const T &factor) {
    z.re *= factor;
    z.im *= factor;
}

// Last pass of radix 4: no factors, scaled, output k at block (k + turn) mod 4.
template <class V>
INLINE void end_radix_4(int n, double factor, int turn, const double *__restrict xr,
                        const double *__restrict xi, double *__restrict yr, double *__restrict yi) {
    const int quarter = n / 4;
    const int o0 = turn % 4 * quarter, o1 = (1 + turn) % 4 * quarter;
    const int o2 = (2 + turn) % 4 * quarter, o3 = (3 + turn) % 4 * quarter;
    const V zero = {};
    const V f = zero + factor;
    for (int q = 0; q < quarter; q += width_of<V>) {
        point<V> a, b, c, d;
        load_point(a, xr, xi, q);
        load_point(b, xr, xi, q + quarter);
        load_point(c, xr, xi, q + 2 * quarter);
        load_point(d, xr, xi, q + 3 * quarter);
        butterfly(a, b, c, d);
        scale(a, f);
        scale(b, f);
        scale(c, f);
        scale(d, f);
        store_point(a, yr, yi, q + o0);
        store_point(b, yr, yi, q + o1);
        store_point(c, yr, yi, q + o2);
        store_point(d, yr, yi, q + o3);
    }
}

// n >= 64
MULTIVERSION_WIDTHS(static void last_pass_4(int n, double factor, int turn, const double *xr,
                                            const double *xi, double *yr, double *yi),
                    end_radix_4<V>(n, factor, turn, xr, xi, yr, yi))

// Eight-point transform, outputs in order.
template <class T>
INLINE void butterfly_8(point<T> &z0, point<T> &z1, point<T> &z2, point<T> &z3, point<T> &z4,
                        point<T> &z5, point<T> &z6, point<T> &z7, const T &half_root) {
    butterfly(z0, z2, z4, z6);
    butterfly(z1, z3, z5, z7);
    // the odd ones times exp(-2 pi i k / 8), k = 1, 2, 3
    const point<T> t1{(z3.re + z3.im) * half_root, (z3.im - z3.re) * half_root};
    const point<T> t2{z5.im, -z5.re};
    const point<T> t3{(z7.im - z7.re) * half_root, (z7.re + z7.im) * -half_root};
    const point<T> e1 = z2, e2 = z4, e3 = z6, o0 = z1;
    z4 = {z0.re - o0.re, z0.im - o0.im};
    z0 = {z0.re + o0.re, z0.im + o0.im};
    z1 = {e1.re + t1.re, e1.im + t1.im};
    z5 = {e1.re - t1.re, e1.im - t1.im};
    z2 = {e2.re + t2.re, e2.im + t2.im};
    z6 = {e2.re - t2.re, e2.im - t2.im};
    z3 = {e3.re + t3.re, e3.im + t3.im};
    z7 = {e3.re - t3.re, e3.im - t3.im};
}

template <class V>
INLINE void end_radix_8(int n, double factor, int turn, const double *__restrict xr,
                        const double *__restrict xi, double *__restrict yr, double *__restrict yi) {
    const int eighth = n / 8;
    const V zero = {};
    const V f = zero + factor;
    const V half_root = zero + std::numbers::sqrt2 / 2.0;
    const int o0 = turn * eighth, o4 = (turn ^ 4) * eighth; // turn is 0 or 4
    for (int q = 0; q < eighth; q += width_of<V>) {
        point<V> z0, z1, z2, z3, z4, z5, z6, z7;
        load_point(z0, xr, xi, q);
        load_point(z2, xr, xi, q + 2 * eighth);
        load_point(z4, xr, xi, q + 4 * eighth);
        load_point(z6, xr, xi, q + 6 * eighth);
        load_point(z1, xr, xi, q + eighth);
        load_point(z3, xr, xi, q + 3 * eighth);
        load_point(z5, xr, xi, q + 5 * eighth);
        load_point(z7, xr, xi, q + 7 * eighth);
        butterfly_8(z0, z1, z2, z3, z4, z5, z6, z7, half_root);
        const auto put = [&](point<V> & z, int to) __attribute__((always_inline)) {
            scale(z, f);
            store_point(z, yr, yi, q + to);
        };
        put(z0, o0);
        put(z1, o0 + eighth);
        put(z2, o0 + 2 * eighth);
        put(z3, o0 + 3 * eighth);
        put(z4, o4);
        put(z5, o4 + eighth);
        put(z6, o4 + 2 * eighth);
        put(z7, o4 + 3 * eighth);
    }
}

MULTIVERSION_WIDTHS(static void last_pass_8(int n, double factor, int turn, const double *xr,
                                            const double *xi, double *yr, double *yi),
                    if (n / 8 < width_of<V>) end_radix_8<lanes>(n, factor, turn, xr, xi, yr, yi);
                    else end_radix_8<V>(n, factor, turn, xr, xi, yr, yi))

// Lengths below 32, where vectors do not fill: the same passes point by point.
void transform_plan::transform_short(double *&xr, double *&xi, double *&yr, double *&yi,
                                     double factor, bool centred) const {
    const int n = n_;
    int s = 1;
    for (int pass = 0; pass < passes_; ++pass, s *= 4) {
        const int quarter = n / 4;
        for (int p = 0; p < quarter / s; ++p) {
            for (int q = 0; q < s; ++q) {
                point<double> z[4];
                for (int l = 0; l < 4; ++l)
                    z[l] = {xr[s * p + q + l * quarter], xi[s * p + q + l * quarter]};
                butterfly(z[0], z[1], z[2], z[3]);
                for (int k = 1; k < 4; ++k) {
                    const double *w = factors_[pass];
                    const int row = 2 * (k - 1);
                    if (pass == 0)
                        multiply(z[k], w[row * quarter + p], w[(row + 1) * quarter + p]);
                    else
                        multiply(z[k], w[transform_plan::factors_per_butterfly * p + row],
                                 w[transform_plan::factors_per_butterfly * p + row + 1]);
                }
                for (int k = 0; k < 4; ++k) {
                    yr[4 * s * p + q + k * s] = z[k].re;
                    yi[4 * s * p + q + k * s] = z[k].im;
                }
            }
        }
        std::swap(xr, yr);
        std::swap(xi, yi);
    }
    const int radix = last_radix_;
    const int part = n / radix;
    const int turn = centred ? radix / 2 : 0;
    for (int q = 0; q < part; ++q) {
        point<double> z[8];
        for (int l = 0; l < radix; ++l) z[l] = {xr[q + l * part], xi[q + l * part]};
        if (radix == 2) {
            const point<double> a = z[0];
            z[0] = {a.re + z[1].re, a.im + z[1].im};
            z[1] = {a.re - z[1].re, a.im - z[1].im};
        } else if (radix == 4) {
            butterfly(z[0], z[1], z[2], z[3]);
        } else if (radix == 8) {
            butterfly_8(z[0], z[1], z[2], z[3], z[4], z[5], z[6], z[7], std::numbers::sqrt2 / 2.0);
        }
        for (int k = 0; k < radix; ++k) {
            const int to = q + (k + turn) % radix * part;
            yr[to] = z[k].re * factor;
            yi[to] = z[k].im * factor;
        }
    }
    std::swap(xr, yr);
    std::swap(xi, yi);
}

split_vector transform_plan::transform(double *re, double *im, double *work_re, double *work_im,
                                       double factor, bool centred) const {
    double *xr = re;
    double *xi = im;
    double *yr = work_re;
    double *yi = work_im;
    const auto exchange = [&] {
        std::swap(xr, yr);
        std::swap(xi, yi);
    };
    const int n = n_;
    if (n < 32) {
        transform_short(xr, xi, yr, yi, factor, centred);
        return {xr, xi};
    }
    first_pass(n, factors_[0], xr, xi, yr, yi);
    exchange();
    for (int pass = 1, s = 4; pass < passes_; ++pass, s *= 4) {
        middle_pass(n, s, factors_[pass], xr, xi, yr, yi);
        exchange();
    }
    const int turn = centred ? last_radix_ / 2 : 0;
    if (last_radix_ == 8)
        last_pass_8(n, factor, turn, xr, xi, yr, yi);
    else
        last_pass_4(n, factor, turn, xr, xi, yr, yi);
    exchange();
    return {xr, xi};
}

#undef INLINE

} // namespace kernel
