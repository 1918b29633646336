// SPDX-License-Identifier: BSD-3-Clause
// look_first.h -- a page of what would be fitted, before it is
#pragma once

#include "varokel-fit/finish_fits.h"

#include <string>
#include <vector>

namespace tools {

// The page of the spectra whose folders are prepared: at most as many as a page holds.
// Errors: bad_input for folders whose files cannot be read.
std::string page_before_fits(const std::vector<prepared_fit> &fits);

} // namespace tools
