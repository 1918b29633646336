// SPDX-License-Identifier: BSD-3-Clause
// varokel_simulate.cpp -- spectra from the start values of a control file, with known noise
//
//   spectrum[i] = model[i] + sd (a_i + i b_i),  a_i, b_i normal deviates of the seed
//
// The model is the one that a fit compares with its data, so a simulated spectrum that is fitted
// gives its own start values back, but for the noise.
#include "run/end_run.h"
#include "run/state.h"
#include "run/storage.h"
#include "model/fft.h"
#include "model/objective.h"
#include "model/units.h"
#include "control/start_value_file.h"

#include "files/base/output_file.h"
#include "files/base/tool_error.h"
#include "files/spectra/signal_file.h"
#include "files/nifti/write_nifti_mrs.h"
#include "common/command_line.h"
#include "common/run_tool.h"
#include "varokel-simulate/gaussian_noise.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>
#include <vector>

#include <unistd.h>

using tools::complex_signal;
using tools::tool_error;

struct core_ended {
    int status;
};

// Runs f, which may print and may end the run. What it prints is no result of this program: it is
// kept apart from standard output, and returned. An end of the run comes back as ended.
static std::string messages_of(const std::function<void()> &f, bool &ended) {
    std::FILE *const kept = std::tmpfile();
    const int output = dup(STDOUT_FILENO);
    if (kept == nullptr || output < 0)
        throw tool_error(tools::bad_output, "no temporary file for the messages of the reader");
    std::fflush(stdout);
    dup2(fileno(kept), STDOUT_FILENO);
    replace_end_run([](int status) { throw core_ended{status}; });
    ended = false;
    try {
        f();
    } catch (const core_ended &) {
        ended = true;
    }
    replace_end_run(nullptr);
    std::fflush(stdout);
    dup2(output, STDOUT_FILENO);
    close(output);
    std::string text;
    std::rewind(kept);
    for (int c; (c = std::fgetc(kept)) != EOF;) text += static_cast<char>(c);
    std::fclose(kept);
    return text;
}

// What the model needs of the settings that every run starts with; the file overwrites the rest.
static void set_model_defaults() {
    std::snprintf(sage_idl, sizeof sage_idl, "sage_idl");
    Hz_pp = 1.0;
    frscl = 1.0;
    complex = 2;
    weighting_type = 1;
}

// A stored pattern is divided by its norm, so its area in the model is that of the file times the
// norm. Multiplies the areas of the patterns, and what their links go by.
static void scale_pattern_areas() {
    for (int p = 1; p <= n_patterns; ++p) {
        const int area = pars_per_entry * (nLines + p - 1) + area_par;
        par[area] *= pattern_norm[p];
        fixpar[area].value *= pattern_norm[p];
    }
}

// Reads the file and leaves its model in yre/yim and its parameters, links applied, in par.
static void build_model(const std::string &start) {
    set_model_defaults();
    std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", start.c_str());
    MakeInitValFile();
    if (file_corrupt == 1 || !is_power_of_two(ap) || nLines + n_patterns < 1 || ref_line == 1 ||
        noise_stop > max_points)
        return;
    allocate_memory(ap);
    create_lookup(lookup, ap, 1);
    // A measured signal has all its points: the truncation of the steps and the removal of the
    // first points belong to the fit.
    td_ap_trunc = ap;
    ignore = 0;
    spec = 1;
    scale_pattern_areas();
    // A fit never takes the value of a dependent parameter from the file: it derives it from the
    // entry it is tied to, whenever it evaluates the model. So an evaluation is what fills the
    // dependent values into par here, and it leaves the model of all entries in yre and yim. The
    // weights are zero: no point counts, the chi-square is 0, and no data are needed.
    chi_square_of(par);
}

static void refuse_start_file(const std::string &start, bool ended) {
    const auto refuse = [&](const std::string &text) {
        throw tool_error(tools::bad_input, start + ": " + text);
    };
    if (ended || file_corrupt == 1) refuse("no valid start value file, see the messages above");
    if (noise_stop > max_points)
        refuse("noistp is " + std::to_string(noise_stop) + "; expected up to " +
               std::to_string(max_points));
    if (!is_power_of_two(ap))
        refuse("n_pnts is " + std::to_string(ap) + "; expected a power of two");
    if (nLines + n_patterns < 1) refuse("no lines and no patterns; expected at least one");
    if (ref_line == 1)
        refuse("fit_mo is 2, which needs a measured lineshape; expected 1 or 3 for a simulation");
    if (!storage_complete()) refuse("not enough memory for " + std::to_string(ap) + " points");
    for (int i = 0; i < npar; ++i)
        if (!std::isfinite(par[i]))
            refuse("parameter " + std::to_string(i % pars_per_entry + 1) + " of entry " +
                   std::to_string(i / pars_per_entry + 1) +
                   " is not a finite number once its link is followed; is the area it is tied to "
                   "0?");
}

struct simulate_options {
    std::string start, output, truth_file, format, grid;
    double noise_sd = 0.0;
    std::uint64_t seed = 0;
    long long count = 1;
    std::optional<double> mhz, ppm_at_carrier;
    std::string nucleus;
    bool force = false;
};

static std::string truth_of_model(const simulate_options &options, long long spectra) {
    const auto count = static_cast<std::size_t>(npar);
    std::vector<double> o_par(count), none(count), o_none(count);
    std::vector<parameter_record> o_fixpar(count);
    Natural_Frequency(nLines, n_patterns, par, fixpar, none.data(), o_par.data(), o_fixpar.data(),
                      o_none.data(), 1.0 / Hz_pp, Hz_pp);
    nlohmann::ordered_json truth;
    truth["points"] = ap;
    truth["hz_per_point"] = Hz_pp;
    truth["phi_1_degrees"] = phi_1;
    truth["noise_sd"] = options.noise_sd;
    truth["seed"] = options.seed;
    if (spectra > 1) truth["spectra"] = spectra; // the seed rises by 1 from one to the next
    truth["entries"] = nlohmann::ordered_json::array();
    static const char *const type_names[] = {"?", "Gaussian", "Lorentzian", "Voigt", "pattern"};
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        const double *const p = o_par.data() + pars_per_entry * (k - 1);
        const int type = fixpar[pars_per_entry * (k - 1)].type;
        nlohmann::ordered_json entry;
        entry["entry"] = k;
        entry["type"] = type_names[type >= gaussian_line && type <= pattern_line ? type : 0];
        entry["area"] = type == pattern_line ? p[area_par] / pattern_norm[k - nLines] : p[area_par];
        entry["frequency_hz"] = p[freq_par] * frscl;
        entry[type == pattern_line ? "width1_points" : "width1_hz"] = std::fabs(p[width1_par]);
        entry["phase_degrees"] = p[phase_par];
        // the width2 of a Lorentzian line and of a pattern is in points in every control file
        entry[type == voigt_line ? "width2_hz" : "width2_points"] = p[width2_par];
        truth["entries"].push_back(entry);
    }
    return truth.dump(2) + "\n";
}

// Model and noise of one seed: points points, of which the first ap hold the model.
static complex_signal noisy_spectrum(double noise_sd, std::uint64_t seed, std::size_t points) {
    tools::gaussian_noise noise(seed);
    complex_signal spectrum(points);
    for (std::size_t i = 0; i < points; ++i) {
        const double re = noise_sd * noise.next();
        const double im = noise_sd * noise.next();
        const bool fitted = i < static_cast<std::size_t>(ap);
        spectrum[i] = {fitted ? yre[i] + re : re, fitted ? yim[i] + im : im};
    }
    return spectrum;
}

static std::string format_of_output(const simulate_options &options) {
    const auto ends = [&](const char *ending) { return options.output.ends_with(ending); };
    const bool nifti_name = ends(".nii") || ends(".nii.gz");
    if (options.format.empty()) return nifti_name ? "nifti" : ends(".f32") ? "float32" : "bin";
    if ((options.format == "nifti") != nifti_name)
        throw tool_error(tools::wrong_usage, options.output + ": expected a name that ends with " +
                                                 (nifti_name ? "neither " : "") + ".nii " +
                                                 (nifti_name ? "nor" : "or") +
                                                 " .nii.gz for --format " + options.format);
    return options.format;
}

// "x,y,z", each from 1 to 1024.
static tools::nifti_geometry geometry_of_option(const std::string &text) {
    tools::nifti_geometry geometry;
    if (text.empty()) return geometry;
    int end = 0;
    auto &size = geometry.size;
    if (std::sscanf(text.c_str(), "%4lld,%4lld,%4lld%n", &size[0], &size[1], &size[2], &end) != 3 ||
        static_cast<std::size_t>(end) != text.size() ||
        std::any_of(size.begin(), size.end(), [](long long s) { return s < 1 || s > 1024; }))
        throw tool_error(tools::wrong_usage,
                         "--grid " + text + ": expected X,Y,Z such as 4,4,1, each from 1 to 1024");
    if (geometry.voxels() > 1) { // any size will do, but an unlocalised grid is none
        geometry.voxel_mm = {10.0, 10.0, 10.0};
        for (std::size_t d = 0; d < 3; ++d) geometry.affine[d][d] = geometry.voxel_mm[d];
        geometry.qform_code = geometry.sform_code = 1;
    }
    return geometry;
}

// Time of the first point that the model's first-order phase means.
static std::optional<double> begin_time_of_model(double dwell_time) {
    if (phi_1 == 0.0) return std::nullopt;
    return phi_1 / 360.0 * dwell_time;
}

static std::string nifti_file(const simulate_options &options) {
    tools::nifti_geometry geometry = geometry_of_option(options.grid);
    std::vector<tools::nifti_mrs_dimension> dimensions;
    if (options.count > 1)
        dimensions = {{"DIM_DYN", options.count, "the same spectrum with other noise", {}}};
    tools::nifti_mrs_image image(geometry, ap, dimensions);
    image.dwell_time = 1.0 / (Hz_pp * static_cast<double>(ap));
    image.mhz = options.mhz.value_or(0.0);
    image.nucleus = options.nucleus;
    image.ppm_at_carrier = options.ppm_at_carrier;
    image.begin_time = begin_time_of_model(image.dwell_time);
    image.description = "simulated";
    image.more["Simulation"] = {
        {"Value", {{"noise_sd", options.noise_sd}, {"first_seed", options.seed}}},
        {"Description", "Gaussian noise of the real and of the imaginary part of the spectrum; the "
                        "seed rises by 1 from voxel to voxel, x first"}};
    std::uint64_t seed = options.seed;
    for (long long place = 0; place < options.count; ++place)
        for (long long voxel = 0; voxel < geometry.voxels(); ++voxel)
            image.set_fid(
                voxel, place,
                tools::nifti_fid_of_spectrum(
                    noisy_spectrum(options.noise_sd, seed++, static_cast<std::size_t>(ap)), false));
    return tools::nifti_mrs_bytes(image, options.output.ends_with(".gz"));
}

// FIDs one behind the other, and what varokel-import needs to know about them.
static std::string float32_file(const simulate_options &options) {
    std::string bytes;
    for (long long k = 0; k < options.count; ++k)
        bytes += tools::signal_bytes(tools::nifti_fid_of_spectrum(
            noisy_spectrum(options.noise_sd, options.seed + static_cast<std::uint64_t>(k),
                           static_cast<std::size_t>(ap)),
            false));
    return bytes;
}

static std::string json_of_float32(const simulate_options &options) {
    const double dwell_time = 1.0 / (Hz_pp * static_cast<double>(ap));
    nlohmann::ordered_json about;
    about["n_points"] = ap;
    about["n_spectra"] = options.count;
    about["dwell_time_s"] = dwell_time;
    if (options.mhz) about["spectrometer_MHz"] = *options.mhz;
    if (options.ppm_at_carrier) about["ppm_at_carrier"] = *options.ppm_at_carrier;
    if (!options.nucleus.empty()) about["nucleus"] = options.nucleus;
    if (const auto begin = begin_time_of_model(dwell_time)) about["begin_time_s"] = *begin;
    about["ppm_rises_with_points"] = false;
    if (noise_strt >= 0 && noise_stop <= ap && noise_stop - noise_strt >= 2)
        about["noise_only_points"] = {noise_strt, noise_stop - 1};
    about["simulated"] = {{"noise_sd", options.noise_sd}, {"first_seed", options.seed}};
    return about.dump(2) + "\n";
}

// x.json for x.fid.f32 and x.anything: where varokel-import looks for it.
static std::string json_beside(const std::string &file) {
    const std::filesystem::path whole(file);
    std::string name = whole.filename().string();
    if (name.size() > 8 && name.ends_with(".fid.f32"))
        name.erase(name.size() - 8);
    else if (const std::size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0)
        name.erase(dot);
    return (whole.parent_path() / (name + ".json")).string();
}

static std::vector<tools::output_file> simulated_files(const simulate_options &options,
                                                       const std::string &format) {
    if (format != "bin" && noise_stop > ap)
        throw tool_error(tools::bad_input,
                         options.start + ": noistp is " + std::to_string(noise_stop) +
                             ", behind the " + std::to_string(ap) +
                             " points; an FID holds no points behind them, expected --format bin");
    if (format == "nifti") return {{options.output, nifti_file(options)}};
    if (format == "float32")
        return {{options.output, float32_file(options)},
                {json_beside(options.output), json_of_float32(options)}};
    return {{options.output, tools::signal_bytes(noisy_spectrum(
                                 options.noise_sd, options.seed,
                                 static_cast<std::size_t>(std::max(ap, noise_stop))))}};
}

static void check_usage(const simulate_options &options, const std::string &format) {
    const auto refuse = [](const std::string &text) { throw tool_error(tools::wrong_usage, text); };
    if (format == "bin" && options.count > 1)
        refuse("--count " + std::to_string(options.count) +
               ": the fit's own format holds one spectrum; expected --format nifti or float32");
    if (format != "nifti" && !options.grid.empty()) refuse("--grid needs --format nifti");
    if (format == "nifti" && (!options.mhz || options.nucleus.empty()))
        refuse("NIfTI-MRS needs --frequency MHZ and --nucleus NAME");
    if (format == "bin" && (options.mhz || options.ppm_at_carrier || !options.nucleus.empty()))
        refuse("--frequency, --ppm-at-carrier and --nucleus need --format nifti or float32; the "
               "fit's own format knows points only");
    if (!options.truth_file.empty() && format == "float32" &&
        options.truth_file == json_beside(options.output))
        refuse("--truth " + options.truth_file +
               " is the JSON that goes with the FIDs; expected another name");
    geometry_of_option(options.grid);
}

int main(int argc, char **argv) {
    simulate_options options;

    tools::option_parser app(
        "Simulates a spectrum from the start values of a control file, the links of "
        "dependent parameters followed,\nand adds Gaussian noise. Points behind the fitted "
        "ones, when the noise window lies there, hold noise only.",
        "varokel-simulate");
    app.add_option("START", options.start, "start value / fit control file")->required();
    app.add_option("-o,--output", options.output, "spectrum, or FIDs")
        ->type_name("FILE")
        ->required();
    app.add_option("--format", options.format,
                   "bin: a spectrum as the fit reads it (default); nifti: FIDs as NIfTI-MRS "
                   "(default for .nii and .nii.gz); float32: FIDs, with a .json beside them "
                   "(default for .f32)")
        ->type_name("NAME")
        ->check(tools::one_of({"bin", "nifti", "float32"}));
    app.add_option("--noise", options.noise_sd,
                   "standard deviation of the real and of the imaginary part of the spectrum")
        ->type_name("SD")
        ->required()
        ->check(tools::not_negative_number);
    app.add_option("--seed", options.seed,
                   "the noise; the same seed gives the same numbers everywhere")
        ->type_name("N")
        ->required();
    app.add_option("--count", options.count,
                   "so many spectra, with this seed and those after it (nifti, float32)")
        ->type_name("N")
        ->check(tools::in_range(1, 1LL << 20));
    app.add_option("--grid", options.grid,
                   "so many voxels, each with a seed of its own, x first (nifti)")
        ->type_name("X,Y,Z");
    app.add_option("--frequency", options.mhz, "spectrometer frequency [MHz] (nifti, float32)")
        ->type_name("MHZ")
        ->check(tools::positive_number);
    app.add_option("--nucleus", options.nucleus, "such as 31P (nifti, float32)")->type_name("NAME");
    app.add_option("--ppm-at-carrier", options.ppm_at_carrier,
                   "chemical shift of the carrier (nifti, float32)")
        ->type_name("PPM");
    app.add_option("--truth", options.truth_file, "also write the parameters of the model, as JSON")
        ->type_name("FILE");
    app.add_flag("--force", options.force, "replace existing output files");
    tools::common_options(app, "  varokel-simulate examples/single_line/start.par -o line.bin "
                               "--noise 0.01 --seed 1\n"
                               "  varokel-simulate examples/single_line/start.par -o line.nii.gz "
                               "--noise 0.01 --seed 1 --count 8 --frequency 123.2 --nucleus 1H");

    return tools::run_tool("varokel-simulate", [&] {
        if (const std::optional<int> status = tools::parse_command_line(app, argc, argv))
            return *status;
        const std::string format = format_of_output(options);
        check_usage(options, format);
        const std::string &start = options.start;
        std::error_code error;
        if (!std::filesystem::is_regular_file(start, error))
            throw tool_error(tools::bad_input, start + ": no such file; expected a start value "
                                                       "file");
        if (start.size() >= sizeof strtvalfnm)
            throw tool_error(tools::bad_input, "name of the start value file too long");
        bool ended = false;
        const std::string messages = messages_of([&] { build_model(start); }, ended);
        try {
            refuse_start_file(start, ended);
        } catch (const tool_error &) {
            std::cerr << messages;
            throw;
        }

        std::vector<tools::output_file> files = simulated_files(options, format);
        if (!options.truth_file.empty())
            files.push_back(
                {options.truth_file,
                 truth_of_model(options,
                                options.count * geometry_of_option(options.grid).voxels())});
        std::vector<std::string> inputs = {start};
        for (int p = 1; p <= n_patterns; ++p) inputs.emplace_back(pat_name[p]);
        free_memory(ap);
        tools::write_files(files, inputs, options.force);
        for (const tools::output_file &file : files) std::cout << file.name << '\n';
        return static_cast<int>(tools::all_right);
    });
}
