// SPDX-License-Identifier: BSD-3-Clause
// write_nifti_mrs.h -- spectra of a fit as NIfTI-MRS, numbers of a grid of voxels as NIfTI images
//
// Source: W. T. Clarke et al., Magn. Reson. Med. 88 (2022) 2358-2370, and the standard it names.
#pragma once

#include "files/base/ordered_json.h"
#include "files/spectra/complex_signal.h"
#include "files/nifti/nifti_header.h"

#include <array>
#include <complex>
#include <optional>
#include <string>
#include <vector>

namespace tools {

// false when the program was built without libnifti2: then the functions below that make the bytes
// of a file throw bad_output. Headers are read without it.
bool can_write_nifti();

// Of a NIfTI file, all values as they stand in its header. Errors: bad_input when it is none.
nifti_geometry geometry_of_nifti(const std::string &file);

// A dimension behind time.
struct nifti_mrs_dimension {
    std::string tag = "DIM_USER_0"; // of the standard: DIM_DYN, DIM_INDIRECT_0, DIM_USER_0 ...
    long long size = 1;
    std::string info;      // what it is, for a reader; may be empty
    ordered_json header{}; // values along it, as the standard has them; null for none
};

// FIDs of a grid of voxels.
class nifti_mrs_image {
  public:
    // points: of one FID; dimensions: three at most.
    nifti_mrs_image(const nifti_geometry &geometry, long long points,
                    std::vector<nifti_mrs_dimension> dimensions = {});

    // Stores one FID; what was not stored is 0.
    //
    // Given:
    //   voxel    its index in the grid
    //   place    along the dimensions behind time, the first one fastest; 0 without any
    //   fid      complex[points], in the sense of the standard: higher ppm at lower frequency
    // Errors: bad_input for a value that exceeds single precision.
    void set_fid(long long voxel, long long place, const complex_signal &fid);

    nifti_geometry geometry;
    long long points = 0;
    std::vector<nifti_mrs_dimension> dimensions;
    double dwell_time = 0.0;                     // [s]
    double mhz = 0.0;                            // spectrometer frequency [MHz]
    std::string nucleus;                         // such as "31P"
    std::optional<double> echo_time, begin_time; // [s]
    std::optional<double> ppm_at_carrier;        // the standard has no item for it: PpmAtCarrier
    ordered_json more;                           // further items of the JSON
    std::string description;                     // of the header, 79 characters at most
    std::vector<std::complex<float>> values;     // voxels fastest, then time, then place
};

// The FID that engine::spectrum_of_fid turns into this spectrum, in the sense of NIfTI-MRS.
//
// Given:
//   spectrum               complex[n], carrier at n/2
//   ppm_rises_with_points  sense of its axis; a rising one gives the conjugate of its FID
//   first_point_weight     as in engine::spectrum_of_fid
complex_signal nifti_fid_of_spectrum(const complex_signal &spectrum, bool ppm_rises_with_points,
                                     double first_point_weight = 0.5);

// The file of an image: version 2 header, JSON extension, complex64. compressed: for .nii.gz; the
// same image gives the same bytes.
// Errors: bad_input when dwell time, frequency or nucleus are missing: the standard requires them.
std::string nifti_mrs_bytes(const nifti_mrs_image &image, bool compressed);

// A map: one float32 number per voxel, not a number where there is none. behind: sizes of up to
// four dimensions behind the grid, for several maps in a file. Errors: bad_input when values are
// not as many as voxels.
std::string nifti_map_bytes(const nifti_geometry &geometry, const std::vector<double> &values,
                            const std::string &description, bool compressed,
                            const std::vector<long long> &behind = {});

} // namespace tools
