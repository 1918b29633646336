// SPDX-License-Identifier: BSD-3-Clause
// elementary.cpp -- exponential, logarithm, sine, cosine, arc tangent: the same bits on every
// machine
//
// Most approximations are those of third_party/musl_math: exp and log from a table of 128 entries
// and a short polynomial; sine and cosine on an eighth of a turn, of an argument that is the sum of
// two doubles. The arc tangent is evaluated here, since a quotient, a series and a multiple of pi
// that are rounded one after the other exceed 1 unit.
#include "kernel/elementary.h"

#include <algorithm>
#include <cmath>
#include <limits>

// third_party/musl_math
double musl_exp(double x);
double musl_log(double x);
double musl_hypot(double x, double y);
double musl_kernel_sin(double x, double tail, int has_tail);
double musl_kernel_cos(double x, double tail);
int musl_rem_pio2(double x, double *remainder_and_tail);

namespace kernel {

static constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
static constexpr double eighth_of_a_turn = 0x1.921fb54442d18p-1; // pi/4, rounded down
static constexpr double tiny = 0x1p-27;                          // its square is lost beside 1

double exp(double x) {
    return musl_exp(x);
}

double log(double x) {
    return musl_log(x);
}

double hypot(double x, double y) {
    return musl_hypot(x, y);
}

// x + tail after `quarters` of a turn
static complex_value turned(int quarters, double x, double tail) {
    const double sine = musl_kernel_sin(x, tail, 1);
    const double cosine = musl_kernel_cos(x, tail);
    switch (quarters & 3) {
    case 0:
        return {cosine, sine};
    case 1:
        return {-sine, cosine};
    case 2:
        return {-cosine, -sine};
    default:
        return {sine, -cosine};
    }
}

complex_value exp_i(double angle) {
    const double size = std::fabs(angle);
    if (size < tiny) return {1.0, angle};
    if (size <= eighth_of_a_turn)
        return {musl_kernel_cos(angle, 0.0), musl_kernel_sin(angle, 0.0, 0)};
    if (!std::isfinite(angle)) return {not_a_number, not_a_number};
    double x[2];
    const int quarters = musl_rem_pio2(angle, x);
    return turned(quarters, x[0], x[1]);
}

double sin(double x) {
    return exp_i(x).im;
}

double cos(double x) {
    return exp_i(x).re;
}

// The sum of two doubles, the second one at most half a unit of the first.
struct two_part {
    double upper, lower;
};

static two_part sum(double a, double b) { // D. E. Knuth, Seminumerical Algorithms, 4.2.2
    const double s = a + b;
    const double of_b = s - a;
    return {s, (a - (s - of_b)) + (b - of_b)};
}

// a in two parts of 26 bits; b likewise: their products are exact. T. J. Dekker, Numer. Math. 18
// (1971) 224-242. Factors between 2^-400 and 2^400, or 0.
static two_part halves(double a) {
    const double scaled = (0x1p27 + 1.0) * a;
    const double upper = scaled - (scaled - a);
    return {upper, a - upper};
}

static two_part product(double a, double b) {
    const double p = a * b;
    const two_part x = halves(a);
    const two_part y = halves(b);
    const double rest = ((x.upper * y.upper - p) + x.upper * y.lower) + x.lower * y.upper;
    return {p, rest + x.lower * y.lower};
}

// 2 pi
static constexpr double two_pi = 0x1.921fb54442d18p2;
static constexpr double two_pi_rest = 0x1.1a62633145c07p-52;
// Added and taken off again, it leaves the nearest integer (ties to even) of a number below 2^51.
static constexpr double integers_only = 0x1.8p52;

complex_value exp_2_pi_i(double turns) {
    if (!std::isfinite(turns)) return {not_a_number, not_a_number};
    if (std::fabs(turns) >= 0x1p48) turns = std::fmod(turns, 1.0);
    const double quarters = (4.0 * turns + integers_only) - integers_only;
    const double u = turns - 0.25 * quarters; // exact, at most 1/8
    if (quarters == 0.0 && std::fabs(u) < 0x1p-300) return {1.0, two_pi * u};
    const two_part x = product(two_pi, u);
    const double tail = x.lower + two_pi_rest * u;
    return turned(static_cast<int>(static_cast<long long>(quarters)), x.upper, tail);
}

// atan(k/16), k = 0 ... 16
static constexpr two_part arc[] = {
    {0x0p+0, 0x0p+0},
    {0x1.ff55bb72cfdeap-5, -0x1.c934d86d23f1dp-60},
    {0x1.fd5ba9aac2f6ep-4, -0x1.cd37686760c17p-59},
    {0x1.7b97b4bce5b02p-3, 0x1.347b0b4f881cap-58},
    {0x1.f5b75f92c80ddp-3, 0x1.8ab6e3cf7afbdp-57},
    {0x1.362773707ebccp-2, -0x1.963a544b672d8p-57},
    {0x1.6f61941e4def1p-2, -0x1.c63aae6f6e918p-56},
    {0x1.a64eec3cc23fdp-2, -0x1.24dec1b50b7ffp-56},
    {0x1.dac670561bb4fp-2, 0x1.a2b7f222f65e2p-56},
    {0x1.0657e94db30dp-1, -0x1.d5b495f6349e6p-56},
    {0x1.1e00babdefeb4p-1, -0x1.928df287a668fp-58},
    {0x1.345f01cce37bbp-1, 0x1.1021137c71102p-55},
    {0x1.4978fa3269ee1p-1, 0x1.2419a87f2a458p-56},
    {0x1.5d58987169b18p-1, 0x1.0028e4bc5e7cap-57},
    {0x1.700a7c5784634p-1, -0x1.8c34d25aadef6p-56},
    {0x1.819d0b7158a4dp-1, -0x1.bf76229d3b917p-56},
    {0x1.921fb54442d18p-1, 0x1.1a62633145c07p-55},
};
static constexpr two_part half_pi = {0x1.921fb54442d18p0, 0x1.1a62633145c07p-54};

// atan(y/x) for 0 <= y <= x, x between 1 and 2, as a sum of two doubles: with c = k/16 near y/x,
//   atan(y/x) = atan(c) + atan(w),   w = (y - c x)/(x + c y),   |w| < 1/30
static two_part arc_tangent(double y, double x) {
    // any neighbouring k would do, so how a half is rounded does not matter
    const int k = static_cast<int>(16.0 * (y / x) + 0.5); // NOLINT(bugprone-incorrect-roundings)
    const double c = 0.0625 * k;
    const two_part cx = product(c, x);
    const two_part cy = product(c, y);
    two_part above = sum(y, -cx.upper);
    two_part below = sum(x, cy.upper);
    above.lower -= cx.lower;
    below.lower += cy.lower;
    const double w = above.upper / below.upper;
    const two_part back = product(w, below.upper);
    const double rest =
        (((above.upper - back.upper) - back.lower) + (above.lower - w * below.lower)) / below.upper;
    const double s = w * w;
    // the series to w^13: 2^-74 of w is left
    const double series =
        s * (-1.0 / 3 + s * (1.0 / 5 + s * (-1.0 / 7 + s * (1.0 / 9 + s * (-1.0 / 11 + s / 13)))));
    const two_part a = sum(arc[k].upper, w);
    return sum(a.upper, a.lower + (arc[k].lower + (rest + w * series)));
}

// base + direction a, direction 1 or -1, rounded once
static double combined(two_part base, double direction, two_part a) {
    const two_part whole = sum(base.upper, direction * a.upper);
    return whole.upper + (whole.lower + (base.lower + direction * a.lower));
}

double atan2(double y, double x) {
    if (std::isnan(x) || std::isnan(y)) return not_a_number;
    double Y = std::fabs(y);
    double X = std::fabs(x);
    if (std::isinf(X) || std::isinf(Y)) { // as if the finite one were 0 and the infinite one 1
        X = std::isinf(X) ? 1.0 : 0.0;
        Y = std::isinf(Y) ? 1.0 : 0.0;
    }
    const bool left = std::signbit(x);
    double angle = 0.0;
    if (Y == 0.0) {
        angle = left ? 2.0 * half_pi.upper : 0.0;
    } else if (!left && Y < tiny * X) {
        angle = Y / X; // the quotient may be subnormal
    } else {
        int exponent = 0;
        std::frexp(std::max(X, Y), &exponent);
        // an exact scaling, but for a smaller one that does not count then
        X = std::ldexp(X, 1 - exponent);
        Y = std::ldexp(Y, 1 - exponent);
        if (std::min(X, Y) < 0x1p-200) (Y < X ? Y : X) = 0.0;
        const two_part a = Y <= X ? arc_tangent(Y, X) : arc_tangent(X, Y);
        const double direction = (Y <= X) == left ? -1.0 : 1.0;
        const two_part quarters = Y > X  ? half_pi
                                  : left ? two_part{2.0 * half_pi.upper, 2.0 * half_pi.lower}
                                         : two_part{0.0, 0.0};
        angle = combined(quarters, direction, a);
    }
    return std::signbit(y) ? -angle : angle;
}

} // namespace kernel
