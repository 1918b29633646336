// SPDX-License-Identifier: BSD-3-Clause
// simulate_options.cpp -- what is simulated, in which form
#include "varokel-simulate/simulate_options.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace tools {

void add_simulate_options(option_parser &app, simulate_options &options) {
    app.add_option("START", options.start, "start value / fit control file")->required();
    app.add_option("-o,--output FILE", options.output, "spectrum, or FIDs")->required();
    app.add_option("--format NAME", options.format,
                   "bin: a spectrum as the fit reads it (default); nifti: FIDs as NIfTI-MRS "
                   "(default for .nii and .nii.gz); float32: FIDs, with a .json beside them "
                   "(default for .f32)",
                   one_of({"bin", "nifti", "float32"}));
    app.add_option("--noise SD", options.noise_sd,
                   "standard deviation of the real and of the imaginary part of the spectrum",
                   not_negative_number)
        ->required();
    app.add_option("--seed N", options.seed,
                   "the noise; the same seed gives the same numbers everywhere")
        ->required();
    app.add_option("--count N", options.count,
                   "so many spectra, with this seed and those after it (nifti, float32)",
                   in_range(1, 1LL << 20));
    app.add_option("--grid X,Y,Z", options.grid,
                   "so many voxels, each with a seed of its own, x first (nifti)");
    app.add_option("--frequency MHZ", options.mhz, "spectrometer frequency [MHz] (nifti, float32)",
                   positive_number);
    app.add_option("--nucleus NAME", options.nucleus, "such as 31P (nifti, float32)");
    app.add_option("--ppm-at-carrier PPM", options.ppm_at_carrier,
                   "chemical shift of the carrier (nifti, float32)");
    app.add_option("--axis SENSE", options.axis,
                   "whether ppm rise or fall (default) with the points of START (nifti, float32)",
                   one_of({"rising", "falling"}));
    app.add_option("--truth FILE", options.truth_file,
                   "also write the parameters of the model, as JSON");
    app.add_flag("--force", options.force, "replace existing output files");
}

std::string format_of_output(const simulate_options &options) {
    const auto ends = [&](const char *ending) { return options.output.ends_with(ending); };
    const bool nifti_name = ends(".nii") || ends(".nii.gz");
    if (options.format.empty()) return nifti_name ? "nifti" : ends(".f32") ? "float32" : "bin";
    if ((options.format == "nifti") != nifti_name)
        throw tool_error(wrong_usage, options.output + ": expected a name that ends with " +
                                          (nifti_name ? "neither " : "") + ".nii " +
                                          (nifti_name ? "nor" : "or") + " .nii.gz for --format " +
                                          options.format);
    return options.format;
}

nifti_geometry geometry_of_options(const simulate_options &options) {
    const std::string &text = options.grid;
    nifti_geometry geometry;
    if (text.empty()) return geometry;
    int end = 0;
    auto &size = geometry.size;
    if (std::sscanf(text.c_str(), "%4lld,%4lld,%4lld%n", &size[0], &size[1], &size[2], &end) != 3 ||
        static_cast<std::size_t>(end) != text.size() ||
        std::any_of(size.begin(), size.end(), [](long long s) { return s < 1 || s > 1024; }))
        throw tool_error(wrong_usage,
                         "--grid " + text + ": expected X,Y,Z such as 4,4,1, each from 1 to 1024");
    if (geometry.voxels() > 1) { // any size will do, but an unlocalised grid is none
        geometry.voxel_mm = {10.0, 10.0, 10.0};
        for (std::size_t d = 0; d < 3; ++d) geometry.affine[d][d] = geometry.voxel_mm[d];
        geometry.qform_code = geometry.sform_code = 1;
    }
    return geometry;
}

std::string sidecar_name(const std::string &file) {
    const std::filesystem::path whole(file);
    std::string name = whole.filename().string();
    if (name.size() > 8 && name.ends_with(".fid.f32"))
        name.erase(name.size() - 8);
    else if (const std::size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0)
        name.erase(dot);
    return (whole.parent_path() / (name + ".json")).string();
}

void check_usage(const simulate_options &options, const std::string &format) {
    const auto refuse = [](const std::string &text) { throw tool_error(wrong_usage, text); };
    if (format == "bin" && options.count > 1)
        refuse("--count " + std::to_string(options.count) +
               ": the fit's own format holds one spectrum; expected --format nifti or float32");
    if (format != "nifti" && !options.grid.empty()) refuse("--grid needs --format nifti");
    if (format == "nifti" && (!options.mhz || options.nucleus.empty()))
        refuse("NIfTI-MRS needs --frequency MHZ and --nucleus NAME");
    if (format == "bin" && (options.mhz || options.ppm_at_carrier || !options.nucleus.empty() ||
                            !options.axis.empty()))
        refuse("--frequency, --ppm-at-carrier, --axis and --nucleus need --format nifti or "
               "float32; the "
               "fit's own format knows points only");
    if (!options.truth_file.empty() && format == "float32" &&
        options.truth_file == sidecar_name(options.output))
        refuse("--truth " + options.truth_file +
               " is the JSON that goes with the FIDs; expected another name");
    geometry_of_options(options);
}

} // namespace tools
