// SPDX-License-Identifier: BSD-3-Clause
// error_correlations.h -- how the errors of a fit hang together, in the few numbers of a record
//
// A parameter that is tied to another moves with it, so the correlations of the free ones and the
// error of each give the covariance of all:
//
//   Cov(p, q) = a_p a_q s_r(p) s_r(q) R_r(p)r(q)
//
// r(p) the free parameter at the end of the ties of p, s its standard deviation, a_p the ratio of
// an area to that at the end, 1 for other parameters.
#pragma once

#include "files/start/start_file.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace tools {

// What a record of a fit has room for.
struct record_shape {
    std::size_t entries = 0;
    std::size_t correlations = 0; // of n free parameters: n (n - 1) / 2
};
record_shape record_shape_of(const start_file &start);

struct parameter_place {
    std::size_t entry; // from 0
    int of;            // quantity
    bool operator==(const parameter_place &) const = default;
};

// Those without a link that their type has, entry by entry.
std::vector<parameter_place> free_parameters(const start_file &start);

// Covariance of two parameters of two entries.
typedef std::function<double(std::size_t k, int q, std::size_t l, int r)> covariance_function;

// Correlations of the free parameters: the lower triangle without its diagonal, row by row. 0 for
// those that have no error or an infinite one; empty when something is not a number.
std::vector<double> packed_correlations(const start_file &start,
                                        const covariance_function &covariance);

// The covariance of all parameters, 5 entries x 5 entries, in points.
//
// Given:
//   values, errors   5 an entry, in the units of start; errors are two standard deviations
//   correlations     as packed_correlations has them
std::vector<double> covariance_of_all(const start_file &start, const std::vector<double> &values,
                                      const std::vector<double> &errors,
                                      const std::vector<double> &correlations);

} // namespace tools
