// SPDX-License-Identifier: BSD-3-Clause
// line_search.cpp -- minimum of a function of one variable
#include "minimize/line_search.h"

#include <algorithm>
#include <cmath>
#include <utility>

static constexpr double golden_ratio = 1.618034;
static constexpr double golden_section = 0.381966;
static constexpr double extrapolation_limit = 100.0;
static constexpr double tiny = 1e-20;            // keeps the parabola's denominator from zero
static constexpr double line_tolerance = 0.0002; // relative; well above sqrt of the rounding unit
static constexpr double tolerance_floor = 1e-10;
static constexpr double first_step = 0.01; // along the gradient, in internal units

bracket bracket_minimum(line_function f) {
    double ax = 0.0;
    double bx = first_step;
    double fa = f(ax);
    double fb = f(bx);
    if (fb > fa) {
        std::swap(ax, bx);
        std::swap(fa, fb);
    }
    double cx = bx + golden_ratio * (bx - ax);
    double fc = f(cx);
    // Where no point carries weight the function is 0 for every abscissa, infinite ones included.
    while (fb >= fc && std::isfinite(cx)) {
        const double r = (bx - ax) * (fb - fc);
        const double q = (bx - cx) * (fb - fa);
        const double size = std::max(std::fabs(q - r), tiny);
        const double s = q - r > 0.0 ? size : -size;
        double u = bx - ((bx - cx) * q - (bx - ax) * r) / (2.0 * s);
        const double ulim = bx + extrapolation_limit * (cx - bx);
        double fu = 0.0;
        if ((bx - u) * (u - cx) > 0.0) {
            fu = f(u);
            if (fu < fc) return {bx, u, cx};
            if (fu > fb) return {ax, bx, u};
            u = cx + golden_ratio * (cx - bx);
            fu = f(u);
        } else if ((cx - u) * (u - ulim) > 0.0) {
            fu = f(u);
            if (fu < fc) {
                bx = cx;
                cx = u;
                u = cx + golden_ratio * (cx - bx);
                fb = fc;
                fc = fu;
                fu = f(u);
            }
        } else if ((u - ulim) * (ulim - cx) >= 0.0) {
            u = ulim;
            fu = f(u);
        } else {
            u = cx + golden_ratio * (cx - bx);
            fu = f(u);
        }
        ax = bx;
        bx = cx;
        cx = u;
        fa = fb;
        fb = fc;
        fc = fu;
    }
    return {ax, bx, cx};
}

// The lowest points so far, and what they enclose the minimum in.
struct lowest_points {
    double lo, hi;
    double x, w, v; // the best, the second best, the second best before
    double fx, fw, fv;

    void take(double u, double fu) {
        if (fu <= fx) {
            (u >= x ? lo : hi) = x;
            v = w;
            w = x;
            x = u;
            fv = fw;
            fw = fx;
            fx = fu;
        } else {
            (u < x ? lo : hi) = u;
            if (fu <= fw || w == x) {
                v = w;
                w = u;
                fv = fw;
                fw = fu;
            } else if (fu <= fv || v == x || v == w) {
                v = u;
                fv = fu;
            }
        }
    }
};

double brent_minimum(line_function f, const bracket &start, const int &limit, double &f_min,
                     bool &exhausted) {
    const double first = f(start.b);
    lowest_points points = {std::min(start.a, start.c),
                            std::max(start.a, start.c),
                            start.b,
                            start.b,
                            start.b,
                            first,
                            first,
                            first};
    double d = 0.0;
    double e = 0.0;
    exhausted = false;
    for (int iteration = 1; iteration <= limit; ++iteration) {
        const auto [lo, hi, x, w, v, fx, fw, fv] = points;
        const double xm = (lo + hi) / 2.0;
        const double tol1 = line_tolerance * std::fabs(x) + tolerance_floor;
        const double tol2 = 2.0 * tol1;
        if (std::fabs(x - xm) <= tol2 - (hi - lo) / 2.0) {
            f_min = fx;
            return x;
        }
        bool parabolic = false;
        double u = 0.0;
        if (std::fabs(e) > tol1) {
            const double r = (x - w) * (fx - fv);
            double q = (x - v) * (fx - fw);
            double p = (x - v) * q - (x - w) * r;
            q = 2.0 * (q - r);
            if (q > 0.0) p = -p;
            q = std::fabs(q);
            const double before_last = e;
            e = d;
            const bool refused = std::fabs(p) >= std::fabs(q * before_last / 2.0) ||
                                 p <= q * (lo - x) || p >= q * (hi - x);
            if (!refused) {
                parabolic = true;
                d = p / q;
                u = x + d;
                if (u - lo < tol2 || hi - u < tol2) d = xm - x > 0.0 ? tol1 : -tol1;
            }
        }
        if (!parabolic) {
            e = x >= xm ? lo - x : hi - x;
            d = golden_section * e;
        }
        if (std::fabs(d) >= tol1) {
            u = x + d;
        } else {
            u = d > 0.0 ? x + tol1 : x - tol1;
        }
        points.take(u, f(u));
    }
    exhausted = true;
    f_min = points.fx;
    return points.x;
}
