// SPDX-License-Identifier: BSD-3-Clause
// measured_formats.h -- the readers of measured formats, a source file each
//
// The FIDs of a file with what it says about them. Errors of all: bad_input, naming file, line and
// item.
#pragma once

#include "files/measured/spectrum_source.h"

#include <memory>
#include <optional>
#include <string>

namespace tools {

// NIfTI-MRS: .nii and .nii.gz, header versions 1 and 2, either byte order.
//
// Axes are x, y, z and the dimensions behind time, named by their tags (DIM_COIL ...) or dim_5,
// dim_6, dim_7. Points are complex64 or complex128.
//
// Notes:
//   1. ppm falls with the points: higher ppm is lower frequency.
//   2. TxOffset shifts the pulses, not the carrier of the points, and is not added to
//      the reference ppm. It is noted.
// Errors: bad_input for what is no NIfTI-MRS, and for k-space data.
// Source: W. T. Clarke et al., Magn. Reson. Med. 88 (2022) 2358-2370, and the standard it names.
std::unique_ptr<spectrum_source> read_nifti_mrs(const std::string &file);

// LCModel .RAW and .H2O files.
//
// Points are multiplied by TRAMP / VOLUME. BRUKER = T means the opposite sense of frequency;
// SEQACQ = T (real and imaginary part not sampled together) is refused.
//
// Given:
//   points   of one FID: a file may hold several voxels, column fastest, but does not say so
// Notes:
//   1. The format states the frequency (HZPPPM) but no dwell time. Items dwellTime, DELTAT, BADELT
//      and NumberOfPoints, NUNFIL, which some writers add, are taken.
std::unique_ptr<spectrum_source> read_lcmodel_raw(const std::string &file,
                                                  const std::optional<long long> &points);

// jMRUI text files.
//
// Rows of two or four columns; the first two are the FID. SamplingInterval and BeginTime are in
// milliseconds, TransmitterFrequency in hertz. The stored sense of frequency is opposite.
std::unique_ptr<spectrum_source> read_jmrui(const std::string &file);

// Philips SPAR/SDAT pairs.
//
// file is either of the pair; the other one stands beside it with the same stem.
//
// Notes:
//   1. Points are VAX F floats: 16-bit words in little-endian order, the first with sign, exponent
//      (excess 128) and the leading fraction bits. A value is 0.1f (binary) times 2^(e - 128),
//      a quarter of what the same bits mean in IEEE 754.
//   2. Rows (item "rows") are separate FIDs, such as repetitions.
//   3. The stored sense of frequency is opposite.
std::unique_ptr<spectrum_source> read_sdat(const std::string &file);

// Siemens RDA files.
//
// A text header between ">>> Begin of header <<<" and ">>> End of header <<<", then points as
// little-endian float64 pairs: time fastest, then column, row and slice of the grid. DwellTime is
// in microseconds, MRFrequency in MHz.
std::unique_ptr<spectrum_source> read_rda(const std::string &file);

// FIDs as text, real and imaginary part of a point on a line.
//
// Numbers stand between blanks, tabs, commas or semicolons. Empty lines and lines that begin with
// #, % or ! are passed over, and so is a first line without a number (a heading).
//
// Notes:
//   1. Such a file states nothing about its points; json and points as for read_plain_fid.
//   2. ppm rises with the points unless the JSON says otherwise, and that is a guess then.
std::unique_ptr<spectrum_source> read_text_columns(const std::string &file, const std::string &json,
                                                   const std::optional<long long> &points);

} // namespace tools
