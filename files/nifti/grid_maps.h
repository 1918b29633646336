// SPDX-License-Identifier: BSD-3-Clause
// grid_maps.h -- images with the geometry of the measured grid
#pragma once

#include <string>
#include <vector>

namespace tools {

// Writes an image of 32-bit floats (NIfTI, version 2). Geometry and units are those of `like` (a
// measurement or an earlier image); names, texts and extensions are not taken over, they may tell
// who was measured.
//
// Given:
//   file     .nii or .nii.gz
//   sizes    3 to 7 numbers of points; the first three are those of `like`
//   values   as many; the first dimension changes fastest
//   what     up to 79 characters for the header
// Errors: bad_input when `like` is no image of these sizes, bad_output when the file cannot be
//         written. It appears as a whole.
void write_map(const std::string &file, const std::string &like,
               const std::vector<long long> &sizes, const std::vector<double> &values,
               const std::string &what);

// true for voxels above 0, x fastest. Errors: bad_input when it cannot be read or is not of these
// three sizes. moved is set when the mask lies elsewhere in space than `like`.
std::vector<bool> read_mask(const std::string &file, const std::vector<long long> &sizes,
                            const std::string &like, bool &moved);

} // namespace tools
