// SPDX-License-Identifier: BSD-3-Clause
// simulate_options.h -- what is simulated, in which form
#pragma once

#include "files/nifti/nifti_header.h"
#include "common/option_parser.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tools {

struct simulate_options {
    std::string start, output, truth_file;
    std::string format;    // bin, nifti or float32; empty: by the name of the output
    std::string grid;      // "X,Y,Z", empty for one voxel
    double noise_sd = 0.0; // of the real and of the imaginary part of the spectrum [signal]
    std::uint64_t seed = 0;
    long long count = 1; // spectra, or of each voxel
    std::optional<double> mhz, ppm_at_carrier;
    std::string nucleus, axis; // axis: rising or falling (empty) ppm with the points of the model
    bool force = false;
    bool rises() const { return axis == "rising"; }
};

void add_simulate_options(option_parser &app, simulate_options &options);

// bin, nifti or float32. Errors: wrong_usage when the name of the output says something else.
std::string format_of_output(const simulate_options &options);

// The grid, each size from 1 to 1024. Errors: wrong_usage.
nifti_geometry geometry_of_options(const simulate_options &options);

// x.json for x.fid.f32 and x.anything: where varokel-import looks for it.
std::string sidecar_name(const std::string &file);

// Errors: wrong_usage for options that do not go together.
void check_usage(const simulate_options &options, const std::string &format);

} // namespace tools
