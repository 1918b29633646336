// SPDX-License-Identifier: BSD-3-Clause
// natural_order.h -- names in the order in which people count
#pragma once

#include <string>

namespace tools {

// Orders names so that series_2 comes before series_10.
bool in_natural_order(const std::string &a, const std::string &b);

} // namespace tools
