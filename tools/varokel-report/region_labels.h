// SPDX-License-Identifier: BSD-3-Clause
// region_labels.h -- regions of a grid, from a mask
#pragma once

#include "files/batch/batch_view.h"

#include <string>
#include <vector>

namespace tools {

// The label of each spectrum in a NIfTI image on the grid of the batch; 0 is no region.
// Errors: bad_input for an image of another grid, and for values that are no whole numbers from 0
// to a million.
std::vector<long long> region_labels(const batch_view &batch, const std::string &file);

} // namespace tools
