// SPDX-License-Identifier: BSD-3-Clause
// read_nifti_mrs.h -- NIfTI-MRS: .nii and .nii.gz, header versions 1 and 2, either byte order
//
// Source: W. T. Clarke et al., Magn. Reson. Med. 88 (2022) 2358-2370, and the standard it names.
#pragma once

#include "files/measured/spectrum_source.h"

#include <memory>

namespace tools {

// Axes are x, y, z and the dimensions behind time, named by their tags (DIM_COIL ...) or dim_5,
// dim_6, dim_7. Points are complex64 or complex128.
//
// Notes:
//   1. ppm falls with the points: higher ppm is lower frequency.
//   2. TxOffset shifts the pulses, not the carrier of the points, and is not added to
//      the reference ppm. It is noted.
// Errors: bad_input for what is no NIfTI-MRS, and for k-space data.
std::unique_ptr<spectrum_source> read_nifti_mrs(const std::string &file);

} // namespace tools
