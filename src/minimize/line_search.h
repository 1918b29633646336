// SPDX-License-Identifier: BSD-3-Clause
// line_search.h -- minimum of a function of one variable
#pragma once

typedef double (*line_function)(const double &x);

// Three abscissae with a minimum between the outer ones; b is the lowest evaluated.
struct bracket {
    double a, b, c;
};

// Walks downhill from the abscissae 0 and 0.01 by parabolic extrapolation until the function
// rises, or until the last abscissa is no longer finite. A plateau keeps walking.
//
// Source: W. H. Press et al., Numerical Recipes, 2nd ed. 1992, section 10.1.
bracket bracket_minimum(line_function f);

// Brent's parabolic and golden-section search inside a bracket.
//
// Given:    limit     iterations allowed
// Returned: the abscissa of the minimum; f_min its function value; exhausted true when the
//           iterations ran out (the best abscissa so far is returned all the same)
// Source:   R. P. Brent, Algorithms for Minimization without Derivatives, 1973, chapter 5.
double brent_minimum(line_function f, const bracket &start, const int &limit, double &f_min,
                     bool &exhausted);
