// SPDX-License-Identifier: BSD-3-Clause
// moments.cpp -- moments over the time of the product of two complex signals
#include "kernel/moments.h"

#include "kernel/lanes.h"

namespace kernel {

template <class V, int moments>
[[gnu::always_inline]] static inline void add(int n, const double *t, const double *a_re,
                                              const double *a_im, const double *b_re,
                                              const double *b_im, double *re, double *im) {
    double part_re[moments][partial_sums], part_im[moments][partial_sums];
    for (int first = 0; first < partial_sums; first += width_of<V>) {
        V sum_re[moments] = {}, sum_im[moments] = {};
        for (int i = first; i < n; i += partial_sums) {
            V a, b, x, y, time;
            load(a, a_re + i);
            load(b, a_im + i);
            load(x, b_re + i);
            load(y, b_im + i);
            load(time, t + i);
            V product_re = a * x + b * y, product_im = a * y - b * x;
            sum_re[0] += product_re;
            sum_im[0] += product_im;
#pragma GCC unroll 5
            for (int m = 1; m < moments; ++m) {
                product_re *= time;
                product_im *= time;
                sum_re[m] += product_re;
                sum_im[m] += product_im;
            }
        }
#pragma GCC unroll 5
        for (int m = 0; m < moments; ++m) {
            store(part_re[m] + first, sum_re[m]);
            store(part_im[m] + first, sum_im[m]);
        }
    }
    for (int m = 0; m < moments; ++m) {
        re[m] += total(part_re[m]);
        im[m] += total(part_im[m]);
    }
}

template <class V>
[[gnu::always_inline]] static inline void
add_some(int n, int moments, const double *t, const double *a_re, const double *a_im,
         const double *b_re, const double *b_im, double *re, double *im) {
    switch (moments) {
    case 1:
        return add<V, 1>(n, t, a_re, a_im, b_re, b_im, re, im);
    case 2:
        return add<V, 2>(n, t, a_re, a_im, b_re, b_im, re, im);
    case 3:
        return add<V, 3>(n, t, a_re, a_im, b_re, b_im, re, im);
    case 4:
        return add<V, 4>(n, t, a_re, a_im, b_re, b_im, re, im);
    case 5:
        return add<V, 5>(n, t, a_re, a_im, b_re, b_im, re, im);
    default:
        return;
    }
}

MULTIVERSION_WIDTHS(static void moments_of_products(int n, int moments, const double *t,
                                                    const double *a_re, const double *a_im,
                                                    const double *b_re, const double *b_im,
                                                    double *re, double *im),
                    add_some<V>(n, moments, t, a_re, a_im, b_re, b_im, re, im))

void add_moments(int n, int moments, const double *t, const double *a_re, const double *a_im,
                 const double *b_re, const double *b_im, double *re, double *im) {
    moments_of_products(n, moments, t, a_re, a_im, b_re, b_im, re, im);
}

} // namespace kernel
