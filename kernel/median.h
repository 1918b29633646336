// SPDX-License-Identifier: BSD-3-Clause
// median.h -- the value in the middle
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kernel {

// Of n values, one at least, the one at place n / 2 of their order: of an even number the upper of
// the two in the middle. None may be not a number.
inline double upper_median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace kernel
