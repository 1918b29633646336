// SPDX-License-Identifier: BSD-3-Clause
// spectrum_blocks.h -- in which order neighbours hand on their results as start values
//
// A grid is cut into tiles of 8 x 8 voxels of a slice, a series into stretches of 16. Within a
// block the fits run in waves, the middle first and then ring by ring; a fit starts from the result
// of the nearest fit of an earlier wave of its block. Blocks know nothing of each other, so they
// can be fitted in any order, by any number of workers, on any machine, with the same result.
#pragma once

#include "files/batch/plan_lines.h"

#include <vector>

namespace tools {

// Gives every spectrum its block and wave and puts them in the order of the manifest: by block,
// wave and number. Returns the number of blocks. Without neighbours every spectrum is a block.
long long arrange_blocks(std::vector<planned_spectrum> &spectra, const std::vector<plan_axis> &axes,
                         bool neighbours);

// Squared distance of two spectra along the axes.
long long distance_between(const planned_spectrum &a, const planned_spectrum &b);

} // namespace tools
