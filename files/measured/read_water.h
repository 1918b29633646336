// SPDX-License-Identifier: BSD-3-Clause
// read_water.h -- the water of the same voxels as some data, out of a file of its own
#pragma once

#include "files/measured/conversion_options.h"
#include "files/measured/water_signal.h"

#include <optional>
#include <string>
#include <vector>

namespace tools {

// Of one FID as it stands in the file [signal], by tail_noise.h.
struct noise_of_both {
    double data = 0.0, water = 0.0;
    double relative_error = 0.0; // of their ratio, one standard deviation
};

struct water_file {
    std::string file, sha256;
    // one, or one for each spectrum that is asked for, of area 0 for voxels that are all zero and
    // for what is passed over
    std::vector<water_signal> signals;
    std::optional<double> echo_time, repetition_time, averages; // as its metadata say
    std::optional<double> data_echo_time, data_repetition_time, data_averages; // of the data
    long long without_water = 0;        // spectra that were passed over
    std::vector<std::string> warnings;  // of how it was read
    bool combined_alone = false;        // coils of the water were combined, the data have none
    std::optional<noise_of_both> noise; // not where the data were combined elsewhere
};

// Given:
//   file      of water without suppression, read with the options of the data (format, coils,
//             averages, index) as far as they hold for it. Its coils are combined with the weights
//             of the data, so that the ratio of both holds whatever these are. Of repetitions
//             (DIM_DYN) that are of another number than the spectra, the mean is taken, and said
//   options   own: of the data
//   which     of the spectra that the options choose, rising; nothing: all of them, and what is no
//             water is an error. Of these, spectra without water are passed over and counted
// Errors: bad_input when it is no reference of the data (reference_lines.h), has another dwell
//         time, a number of FIDs that is neither 1 nor that of the data, or another grid; no
//         spectrum with water.
water_file read_water(const std::string &file, const input_options &options,
                      const spectrum_options &own,
                      const std::optional<std::vector<std::size_t>> &which = {});

} // namespace tools
