// SPDX-License-Identifier: BSD-3-Clause
// derived.h -- values that follow from fitted ones, with their errors
//
//   var f = sum_ij (df/dp_i) Cov_ij (df/dp_j)
//
// to first order in the errors: exact for sums, good for ratios while the divisor is known to
// better than about 20 %. The derivatives come along with the value, by the rules of
// differentiation, not from differences.
#pragma once

#include "engine/covariance.h"
#include "engine/fit_problem.h"

#include <array>
#include <span>
#include <string>
#include <vector>

namespace engine {

// A value, and how it changes with every parameter of every entry.
struct derived_value {
    double value = 0.0;
    std::vector<values_of_entry> by; // d value / d parameter, per entry
};

// What an expression may name.
struct expression_names {
    std::vector<std::string> entries;
    std::string place; // that has them, for messages
};

// The value of an expression and its derivatives.
//
// Given:
//   text    + - * / ( ) with the usual precedence, numbers, and
//             NAME, #3             area of the entry of that name, of the third entry; a name with
//                                  other characters than letters, digits, _ . and ' stands in ' '
//             gATP                 where several entries are called gATP and a number, and none
//                                  has the name whole: the sum of their areas
//             area(NAME), frequency(NAME), gauss_width(NAME), phase(NAME), lorentz_width(NAME)
//                                  a parameter of one entry
//             log10(x)             not a number for x < 0
//             pH(d, pKa, dA, dB)   pKa + log10((d - dA) / (dB - d)): d the shift of a line, dA and
//                                  dB those of the acid and the base; not a number when d does not
//                                  lie between them
//   names   of the entries
//   values  of their parameters; the units of derivatives and result follow from them
// Returned: the value; infinite or not a number where a divisor is 0
// Errors: "character 5: what is wrong there", for what is no expression and for unknown names
// Source of pH: R. B. Moon, J. H. Richards, J. Biol. Chem. 248 (1973) 7276-7278.
result<derived_value> evaluate(const std::string &text, const expression_names &names,
                               std::span<const values_of_entry> values);

// One standard deviation of a derived value; covariance(k, q, l, r) is that of parameter q of
// entry k and parameter r of entry l. Infinite when it depends on a parameter that cannot be told
// from others, not a number when its derivatives are not finite.
template <class Covariance>
double error_of(const derived_value &f, const Covariance &covariance);
double error_of(const derived_value &f, const entry_covariance &covariance);

// Implementation of the template: parameters on which nothing depends are not asked for.
struct weighted_parameter {
    int entry;
    quantity of;
    double weight;
};
std::vector<weighted_parameter> weighted_parameters(const derived_value &f);
double error_of_variance(double variance, double largest_term);

template <class Covariance>
double error_of(const derived_value &f, const Covariance &covariance) {
    const std::vector<weighted_parameter> used = weighted_parameters(f);
    double variance = 0.0, largest = 0.0;
    for (const weighted_parameter &a : used)
        for (const weighted_parameter &b : used) {
            const double term = a.weight * covariance(a.entry, a.of, b.entry, b.of) * b.weight;
            variance += term;
            if (!(term <= largest)) largest = term;
        }
    return error_of_variance(variance, largest);
}

} // namespace engine
