// SPDX-License-Identifier: BSD-3-Clause
// read_lcmodel_raw.h -- LCModel .RAW and .H2O files
#pragma once

#include "files/measured/spectrum_source.h"

#include <memory>

namespace tools {

// Points are multiplied by TRAMP / VOLUME. BRUKER = T means the opposite sense of frequency;
// SEQACQ = T (real and imaginary part not sampled together) is refused.
//
// Given:
//   points   of one FID: a file may hold several voxels, column fastest, but does not say so
// Notes:
//   1. The format states the frequency (HZPPPM) but no dwell time. Items dwellTime, DELTAT, BADELT
//      and NumberOfPoints, NUNFIL, which some writers add, are taken.
// Errors: bad_input, naming file, line and item.
std::unique_ptr<spectrum_source> read_lcmodel_raw(const std::string &file,
                                                  const std::optional<long long> &points);

} // namespace tools
