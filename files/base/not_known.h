// SPDX-License-Identifier: BSD-3-Clause
// not_known.h -- a number that no file states
#pragma once

#include <limits>

namespace tools {

// Comes out of every computation as it went in; compared with std::isnan only.
inline constexpr double not_known = std::numeric_limits<double>::quiet_NaN();

} // namespace tools
