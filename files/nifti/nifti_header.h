// SPDX-License-Identifier: BSD-3-Clause
// nifti_header.h -- what the header of a NIfTI file says: both versions, either byte order, .gz or
// not
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tools {

inline constexpr std::int32_t mrs_extension = 44; // code of NIfTI-MRS: JSON

// The voxels of an image and where they lie. Voxel (x, y, z) has index x + nx (y + ny z). As it
// stands it is one voxel at a place that is not known.
struct nifti_geometry {
    std::array<long long, 3> size = {1, 1, 1};
    std::array<double, 3> voxel_mm = {10000.0, 10000.0, 10000.0}; // 10000: not localised
    // A code of 0 says that the following values mean nothing.
    int qform_code = 0;
    std::array<double, 3> quaternion = {0.0, 0.0, 0.0};
    std::array<double, 3> origin_mm = {0.0, 0.0, 0.0};
    double qfac = 1.0; // -1 for a left-handed grid
    int sform_code = 0;
    std::array<std::array<double, 4>, 3> affine = {
        {{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}}};

    long long voxels() const { return size[0] * size[1] * size[2]; }
};

// What turns (x, y, z, 1) into millimetres of scanner space: the sform, else the quaternion, else
// the size of the voxels alone.
std::array<std::array<double, 4>, 3> scanner_place(const nifti_geometry &geometry);

struct nifti_extension {
    int code = 0;
    std::string bytes;
};

struct nifti_header {
    int version = 0;                     // 1 or 2
    bool swapped = false;                // byte order is not that of this machine
    int dimensions = 0;                  // 1 to 7
    std::array<long long, 7> dim{};      // sizes, 1 behind the last dimension
    double voxels_and_more = 1.0;        // product of the sizes, 1e15 at most
    int datatype = 0;                    // 32 complex64, 1792 complex128
    long long offset = 0;                // of the first point [bytes]
    double slope = 0.0, intercept = 0.0; // value = slope x stored + intercept; slope 0: as stored
    double pixdim_4 = 0.0;               // step of the fourth dimension, in units of time_unit
    int time_unit = 0;                   // 8 s, 16 ms, 24 us; 0 not stated
    std::string intent_name;
    nifti_geometry geometry;
    std::optional<nifti_extension> extension; // the first of the code that was asked for

    std::string datatype_name() const;
};

// Reads the header and the first of its extensions that has this code, of up to 4 MiB.
//
// Notes:
//   1. Not by libnifti2: its reader trusts the number of dimensions, and writes behind its storage
//      when a damaged header holds one above 7; and it writes messages of its own.
// Errors: bad_input when it is no NIfTI file of one piece, and for values that are not possible.
nifti_header read_nifti_header(const std::string &file, int extension_code);

// All values of an image of real numbers, the first dimension fastest, scaled as its header says.
// The header must be that of the file; its sizes should be looked at before, for they ask for the
// storage. Errors: bad_input for values of another type, and for a file that ends before.
std::vector<double> read_nifti_values(const std::string &file, const nifti_header &header);

} // namespace tools
