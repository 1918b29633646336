// SPDX-License-Identifier: BSD-3-Clause
// elementary_functions.cpp COUNT [SEED] -- the functions of kernel/elementary.h against libmpfr
//
// COUNT arguments of each kind: over the whole range of exponents, where results are subnormal, at
// the edges of overflow, near zeros of the function, where fits use it. Prints the largest error of
// each function in units in the last place of the true value, and where it is; ends with status 1
// when one is 1 or more.
#include "kernel/elementary.h"

#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

static constexpr mpfr_prec_t precision = 320; // bits
static constexpr int least_exponent = -1074;  // of the unit of a subnormal number

static std::mt19937_64 generator;

static double uniform(double lo, double hi) {
    return std::uniform_real_distribution<double>(lo, hi)(generator);
}
static double of_any_exponent(int lo = -1074, int hi = 1024) { // of either sign
    const double m = uniform(1.0, 2.0);
    const int e = std::uniform_int_distribution<int>(lo, hi - 1)(generator);
    return std::ldexp(generator() & 1 ? m : -m, e);
}
static double beside(double x) { // up to three doubles away
    std::int64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    bits += std::uniform_int_distribution<int>(-3, 3)(generator);
    std::memcpy(&x, &bits, sizeof x);
    return x;
}

// A number of extended precision that is released at the end of its block.
class number {
  public:
    number() { mpfr_init2(v_, precision); }
    explicit number(double x) : number() { mpfr_set_d(v_, x, MPFR_RNDN); }
    ~number() { mpfr_clear(v_); }
    number(const number &) = delete;
    number &operator=(const number &) = delete;
    operator mpfr_ptr() { return v_; }

  private:
    mpfr_t v_;
};

struct worst {
    const char *name;
    double error = 0.0, x = 0.0, y = 0.0;
    long count = 0;
};

// |got - wanted| in units in the last place of wanted. An overflow counts as 2^1024.
static double error_of(double got, number &wanted) {
    if (mpfr_nan_p(static_cast<mpfr_ptr>(wanted)) || std::isnan(got))
        return mpfr_nan_p(static_cast<mpfr_ptr>(wanted)) && std::isnan(got) ? 0.0 : HUGE_VAL;
    number top, bottom, difference;
    mpfr_set_ui_2exp(top, 1, 1024, MPFR_RNDN);
    if (mpfr_cmpabs(wanted, top) > 0)
        mpfr_setsign(wanted, top, mpfr_signbit(static_cast<mpfr_ptr>(wanted)), MPFR_RNDN);
    if (std::isinf(got))
        mpfr_setsign(bottom, top, std::signbit(got), MPFR_RNDN);
    else
        mpfr_set_d(bottom, got, MPFR_RNDN);
    mpfr_sub(difference, bottom, wanted, MPFR_RNDN);
    long unit = least_exponent;
    if (!mpfr_zero_p(static_cast<mpfr_ptr>(wanted))) {
        const long exponent = std::min<long>(mpfr_get_exp(static_cast<mpfr_ptr>(wanted)), 1024);
        unit = std::max<long>(exponent - 53, least_exponent);
    }
    mpfr_mul_2si(difference, difference, -unit, MPFR_RNDN);
    return std::fabs(mpfr_get_d(difference, MPFR_RNDU));
}

static void take(worst &w, double got, number &wanted, double x, double y = 0.0) {
    ++w.count;
    const double error = error_of(got, wanted);
    if (error > w.error) {
        w.error = error;
        w.x = x;
        w.y = y;
    }
}

static worst of_exp = {"exp"}, of_log = {"log"}, of_sin = {"sin"}, of_cos = {"cos"};
static worst of_turns_re = {"exp_2_pi_i, real"}, of_turns_im = {"exp_2_pi_i, imaginary"};
static worst of_atan2 = {"atan2"}, of_hypot = {"hypot"};

static void try_exp(double x) {
    number X(x), wanted;
    mpfr_exp(wanted, X, MPFR_RNDN);
    take(of_exp, kernel::exp(x), wanted, x);
}
static void try_log(double x) {
    number X(x), wanted;
    mpfr_log(wanted, X, MPFR_RNDN);
    take(of_log, kernel::log(x), wanted, x);
}
static void try_angle(double x) {
    number X(x), sine, cosine;
    mpfr_sin_cos(sine, cosine, X, MPFR_RNDN);
    take(of_sin, kernel::sin(x), sine, x);
    take(of_cos, kernel::cos(x), cosine, x);
    const kernel::complex_value both = kernel::exp_i(x);
    take(of_sin, both.im, sine, x);
    take(of_cos, both.re, cosine, x);
}
static void try_turns(double x) {
    number angle(std::fmod(x, 1.0)), pi, sine, cosine; // fmod is exact
    mpfr_const_pi(pi, MPFR_RNDN);
    mpfr_mul(angle, angle, pi, MPFR_RNDN);
    mpfr_mul_ui(angle, angle, 2, MPFR_RNDN);
    mpfr_sin_cos(sine, cosine, angle, MPFR_RNDN);
    // the parts that vanish at quarters of a turn do not, for a pi of 320 bits
    if (std::fmod(x, 0.5) == 0.0) mpfr_set_zero(static_cast<mpfr_ptr>(sine), 1);
    if (std::fmod(x, 0.5) != 0.0 && std::fmod(x, 0.25) == 0.0)
        mpfr_set_zero(static_cast<mpfr_ptr>(cosine), 1);
    const kernel::complex_value got = kernel::exp_2_pi_i(x);
    take(of_turns_re, got.re, cosine, x);
    take(of_turns_im, got.im, sine, x);
}
static void try_atan2(double y, double x) {
    number Y(y), X(x), wanted;
    mpfr_atan2(wanted, Y, X, MPFR_RNDN);
    take(of_atan2, kernel::atan2(y, x), wanted, y, x);
}
static void try_hypot(double x, double y) {
    number X(x), Y(y), wanted;
    mpfr_hypot(wanted, X, Y, MPFR_RNDN);
    take(of_hypot, kernel::hypot(x, y), wanted, x, y);
}

static void try_one_of_each() {
    try_exp(of_any_exponent());
    try_exp(uniform(-745.2, 709.8));
    try_exp(uniform(-745.2, -708.3)); // subnormal results
    try_exp(uniform(-100.0, 0.0));    // a decay
    try_exp(uniform(-1e-3, 1e-3));
    try_exp(beside(generator() & 1 ? 0x1.62e42fefa39efp9 : -0x1.74910d52d3051p9)); // its two ends
    try_log(std::fabs(of_any_exponent()));
    try_log(std::fabs(of_any_exponent(-1074, -1020)));
    try_log(uniform(0.9, 1.1));
    try_log(beside(1.0));
    try_log(1.0 + of_any_exponent(-53, -4));
    const double quarter = 0x1.921fb54442d18p0;
    try_angle(of_any_exponent());
    try_angle(uniform(-10.0, 10.0));
    try_angle(uniform(-1e6, 1e6));
    try_angle(beside(quarter * std::floor(uniform(-1e3, 1e3))));
    try_angle(beside(quarter * std::floor(of_any_exponent(0, 60))));
    try_angle(uniform(-1e-3, 1e-3));
    try_turns(of_any_exponent(-1074, 60));
    try_turns(uniform(-1.0, 1.0));
    try_turns(uniform(-1e6, 1e6));
    try_turns(beside(0.125 * std::floor(uniform(-100.0, 100.0))));
    try_turns(std::floor(uniform(0.0, 65536.0)) / 65536.0);
    try_atan2(of_any_exponent(), of_any_exponent());
    try_atan2(uniform(-1.0, 1.0), uniform(-1.0, 1.0));
    const double common = of_any_exponent(-1000, 1000);
    try_atan2(common * uniform(0.5, 2.0), common * uniform(-2.0, 2.0));
    try_atan2(common, beside(common));
    try_hypot(of_any_exponent(), of_any_exponent());
    try_hypot(common * uniform(0.5, 2.0), common * uniform(-2.0, 2.0));
    try_hypot(of_any_exponent(-1074, -1000), of_any_exponent(-1074, -1000));
    try_hypot(of_any_exponent(1000, 1024), of_any_exponent(1000, 1024));
}

int main(int argc, char **argv) {
    if (argc < 2) return 2;
    const long count = std::atol(argv[1]);
    generator.seed(argc > 2 ? static_cast<std::uint64_t>(std::atoll(argv[2])) : 1);
    for (long i = 0; i < count; ++i) try_one_of_each();
    bool good = count > 0;
    for (const worst *w :
         {&of_exp, &of_log, &of_sin, &of_cos, &of_turns_re, &of_turns_im, &of_atan2, &of_hypot}) {
        std::printf("%-22s %10ld values, at most %.4f units in the last place, at %a", w->name,
                    w->count, w->error, w->x);
        std::printf(w == &of_atan2 || w == &of_hypot ? ", %a\n" : "\n", w->y);
        good = good && w->error < 1.0;
    }
    mpfr_free_cache();
    return good ? 0 : 1;
}
