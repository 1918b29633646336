// SPDX-License-Identifier: BSD-3-Clause
// simulated_files.cpp -- simulated spectra as a spectrum, as FIDs, as NIfTI-MRS
#include "varokel-simulate/simulated_files.h"

#include "files/base/ordered_json.h"
#include "files/base/tool_error.h"
#include "files/nifti/write_nifti_mrs.h"
#include "files/spectra/signal_file.h"

#include <algorithm>

namespace tools {

// First and last point of the noise window, where it lies in the model's points.
static std::optional<std::pair<int, int>> noise_of(const simulated_model &model) {
    const int first = model.file().noise_first, stop = model.file().noise_stop;
    if (first < 0 || stop > model.file().points || stop - first < 2) return std::nullopt;
    return std::pair(first, stop - 1);
}

static std::string nifti_file(const simulate_options &options, const simulated_model &model) {
    nifti_geometry geometry = geometry_of_options(options);
    std::vector<nifti_mrs_dimension> dimensions;
    if (options.count > 1)
        dimensions = {{"DIM_DYN", options.count, "the same spectrum with other noise", {}}};
    nifti_mrs_image image(geometry, model.file().points, dimensions);
    image.dwell_time = model.dwell_time();
    image.mhz = options.mhz.value_or(0.0);
    image.nucleus = options.nucleus;
    image.ppm_at_carrier = options.ppm_at_carrier;
    image.begin_time = model.begin_time();
    image.description = "simulated";
    if (auto window = noise_of(model)) {
        // The standard has higher ppm at lower frequency: where they rise with the points of the
        // model, point i is stored as point n - i.
        if (options.rises())
            window = std::pair(model.file().points - window->second,
                               model.file().points - window->first);
        if (window->second < model.file().points)
            image.more["NoisePoints"] = {
                {"Value", {window->first, window->second}},
                {"Description",
                 "first and last point of the centred spectrum that hold noise only"}};
    }
    image.more["Simulation"] = {
        {"Value", {{"noise_sd", options.noise_sd}, {"first_seed", options.seed}}},
        {"Description", "Gaussian noise of the real and of the imaginary part of the spectrum; the "
                        "seed rises by 1 from voxel to voxel, x first"}};
    const auto points = static_cast<std::size_t>(model.file().points);
    std::uint64_t seed = options.seed;
    for (long long place = 0; place < options.count; ++place)
        for (long long voxel = 0; voxel < geometry.voxels(); ++voxel)
            image.set_fid(
                voxel, place,
                nifti_fid_of_spectrum(model.with_noise({options.noise_sd, seed++}, points),
                                      options.rises()));
    return nifti_mrs_bytes(image, options.output.ends_with(".gz"));
}

// FIDs one behind the other, and what varokel-import needs to know about them.
static std::string float32_file(const simulate_options &options, const simulated_model &model) {
    const auto points = static_cast<std::size_t>(model.file().points);
    std::string bytes;
    for (long long k = 0; k < options.count; ++k)
        bytes += signal_bytes(nifti_fid_of_spectrum(
            model.with_noise({options.noise_sd, options.seed + static_cast<std::uint64_t>(k)},
                             points),
            false));
    return bytes;
}

static std::string json_of_float32(const simulate_options &options, const simulated_model &model) {
    ordered_json about;
    about["n_points"] = model.file().points;
    about["n_spectra"] = options.count;
    about["dwell_time_s"] = model.dwell_time();
    if (options.mhz) about["spectrometer_MHz"] = *options.mhz;
    if (options.ppm_at_carrier) about["ppm_at_carrier"] = *options.ppm_at_carrier;
    if (!options.nucleus.empty()) about["nucleus"] = options.nucleus;
    if (const auto begin = model.begin_time()) about["begin_time_s"] = *begin;
    about["ppm_rises_with_points"] = options.rises();
    if (const auto window = noise_of(model))
        about["noise_only_points"] = {window->first, window->second};
    about["simulated"] = {{"noise_sd", options.noise_sd}, {"first_seed", options.seed}};
    return about.dump(2) + "\n";
}

std::vector<output_file> simulated_files(const simulate_options &options,
                                         const simulated_model &model, const std::string &format) {
    if (format != "bin" && model.file().noise_stop > model.file().points)
        throw tool_error(bad_input,
                         options.start + ": noistp is " + std::to_string(model.file().noise_stop) +
                             ", behind the " + std::to_string(model.file().points) +
                             " points; an FID holds no points behind them, expected --format bin");
    if (format == "nifti") return {{options.output, nifti_file(options, model)}};
    if (format == "float32")
        return {{options.output, float32_file(options, model)},
                {sidecar_name(options.output), json_of_float32(options, model)}};
    return {{options.output,
             signal_bytes(model.with_noise({options.noise_sd, options.seed},
                                           static_cast<std::size_t>(std::max(
                                               model.file().points, model.file().noise_stop))))}};
}

} // namespace tools
