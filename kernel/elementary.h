// SPDX-License-Identifier: BSD-3-Clause
// elementary.h -- exponential, logarithm, sine, cosine, arc tangent: the same bits on every machine
//
// The C library picks variants of these by processor, which differ in the last bit, and a fit
// carries that on. Here is one form of each, of additions, products, quotients and square roots
// only, each rounded once. Every result is within 1 unit in the last place of the true value
// (docs/numerics.md has the largest errors found); special values are those of the C standard.
// What is exact anyway is taken from the standard library: sqrt, fabs, floor, ceil, trunc,
// nearbyint, fmod.
#pragma once

namespace kernel {

struct complex_value {
    double re, im;
};

double exp(double x);
double log(double x);
double sin(double x); // any finite argument, reduced with as many digits of pi as it takes
double cos(double x);
double atan2(double y, double x);
double hypot(double x, double y);

// exp(i angle) = cos(angle) + i sin(angle), angle in radians. The parts equal sin() and cos().
complex_value exp_i(double angle);

// exp(2 pi i turns): the whole turns are taken off before anything is rounded, so that a large
// number of turns costs no accuracy and quarters of a turn are exact.
complex_value exp_2_pi_i(double turns);

} // namespace kernel
