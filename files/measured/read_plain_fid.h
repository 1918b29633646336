// SPDX-License-Identifier: BSD-3-Clause
// read_plain_fid.h -- FIDs as little-endian float32 pairs, and what a JSON says about them
#pragma once

#include "files/measured/spectrum_source.h"

#include <memory>

namespace tools {

// What a JSON says about a signal.
struct json_facts {
    signal_facts facts;
    std::optional<long long> points, spectra;
    std::optional<double> step_seconds;    // from one spectrum to the next
    std::optional<std::string> dimensions; // as name_dimensions.h has them
};

// Items n_points, n_spectra, dwell_time_s, spectrometer_MHz (or spectrometer_mhz), ppm_at_carrier,
// begin_time_s (or dead_time_s), nucleus, ppm_rises_with_points (true when absent),
// noise_only_points, metabolite_interval_points, time_step_s, dimensions. Stretches are held
// against n_points, else points_in_file. Errors: bad_input, naming the item.
json_facts read_json_facts(const std::string &json, long long points_in_file);

// The JSON beside a signal: x.fid.json, else x.json, for x.fid.f32, and x.json for x.anything;
// empty when there is none.
std::string json_beside(const std::string &file);

// Given:
//   json     empty: the one beside file, if any
//   points   of one FID; wins over the JSON
// Notes:
//   1. ppm rises with the points unless the JSON says otherwise.
std::unique_ptr<spectrum_source> read_plain_fid(const std::string &file, const std::string &json,
                                                const std::optional<long long> &points);

// Puts the facts of a JSON, if there is one, over those of a source, and splits the points as it
// says.
void apply_json(spectrum_source &source, const std::string &json, long long points_in_file,
                const std::optional<long long> &points);

} // namespace tools
