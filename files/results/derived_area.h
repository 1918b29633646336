// SPDX-License-Identifier: BSD-3-Clause
// derived_area.h -- sums, differences, products and ratios of areas, with their error bounds
//
//   var f = sum_kl (df/dA_k) Cov_kl (df/dA_l)
//
// to first order in the errors: exact for sums, good for ratios while the divisor is known to
// better than about 20 %.
#pragma once

#include "files/results/run_result.h"

#include <string>
#include <vector>

namespace tools {

struct derived_area {
    std::string name, expression;
    double value = 0.0;         // not a number when a divisor is 0
    double error_1sd = 0.0;     // not a number without a covariance
    double percent_1sd() const; // as of a fitted parameter
};

// text is "NAME=EXPRESSION" or "EXPRESSION"; an expression has + - * / ( ), numbers, names of
// entries, and #3 for the third entry. A name with other characters than letters, digits, _ and .
// stands in ' '. A name that several entries have in front of a number (gATP for gATP1 and gATP2)
// and none has whole means their sum.
//
// Errors: wrong_usage for what is no expression, naming the place, and for unknown names.
derived_area derive_area(const run_result &run, const std::string &text);

// Whether text is such an expression of entries with these names, before there are any areas.
// place: what has the names, for messages. Errors: as above.
void check_derived_area(const std::vector<std::string> &names, const std::string &place,
                        const std::string &text);

} // namespace tools
