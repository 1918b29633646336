// SPDX-License-Identifier: BSD-3-Clause
// derived_area.h -- sums, ratios, pH: what follows from the values of a fit, with its error bounds
//
//   var f = sum_kl (df/dp_k) Cov_kl (df/dp_l)
//
// to first order in the errors: exact for sums, good for ratios while the divisor is known to
// better than about 20 %.
#pragma once

#include "files/results/results_table.h"

#include <string>
#include <vector>

namespace tools {

// Refuses an expression, as below. what: it, and what is wrong with it.
[[noreturn]] void refuse_derived(const std::string &file, const std::string &what);

struct derived_area {
    std::string name, expression;
    double value = 0.0;         // not a number when a divisor is 0
    double error_1sd = 0.0;     // not a number without a covariance
    double percent_1sd() const; // as of a fitted parameter
    std::string unit;           // of an amount; empty for what the areas and the expression give
};

// text is "NAME=EXPRESSION" or "EXPRESSION", as engine/derived.h has expressions: + - * / ( ),
// numbers, log10, names of entries for their areas, and #3 for the third entry; frequency(NAME) is
// in ppm (Hz from the carrier where the axis has no ppm), gauss_width(NAME) and lorentz_width(NAME)
// are FWHM in Hz, phase(NAME) in degrees; pH(shift, pKa, acid, base). A name with other characters
// than letters, digits, _ and . stands in ' '. A name that several entries have in front of a
// number (gATP for gATP1 and gATP2) and none has whole means their sum.
//
// file: in which the text stands; empty for that of the option --derive.
// Errors: for what is no expression, naming its place, and for unknown names: bad_input with the
// name of the file, wrong_usage of the option.
derived_area derive_area(const run_result &run, const std::string &text,
                         const std::string &file = "");

// Whether text is such an expression of entries with these names, before there are any areas.
// place: what has the names, for messages. Errors: as above.
void check_derived_area(const std::vector<std::string> &names, const std::string &place,
                        const std::string &text, const std::string &file = "");

// derived.tsv: its line of column names, a row, and the JSON that describes the columns.
std::string derived_header(const table_shape &shape = {});
std::string derived_row(const std::string &spectrum, const derived_area &derived,
                        const std::vector<std::string> &places = {});
std::string derived_dictionary(const table_shape &shape = {});

} // namespace tools
