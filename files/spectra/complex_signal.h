// SPDX-License-Identifier: BSD-3-Clause
// complex_signal.h -- points of a decay or of a spectrum, as the engine has them
#pragma once

#include "engine/fit_problem.h"

namespace tools {

using engine::complex_signal;

} // namespace tools
