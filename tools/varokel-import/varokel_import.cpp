// SPDX-License-Identifier: BSD-3-Clause
// varokel_import.cpp -- a measured FID becomes a file that varokel fits
//
//   spectrum  S = rotate_{n/2}( (1/n) sum_k w_k fid[k] exp(-2 pi i jk/n) ),  w_0 = 1/2, else 1
//   pattern   P[j] = conj(S'[(n - j) mod n]),  S' as S with w_0 = 1
#include "varokel-import/convert_fid.h"

#include "common/command_line.h"
#include "common/output_file.h"
#include "common/signal_file.h"
#include "common/tool_error.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <iostream>

using tools::complex_signal;
using tools::tool_error;

// Options of the spectrum that replace or add to the JSON.
struct spectrum_options {
    std::string folder;
    std::optional<double> dwell_time, mhz, ppm_at_carrier, begin_time;
    std::optional<std::string> nucleus, axis;
};

typedef std::optional<std::pair<long long, long long>> point_stretch;

// A stretch of the centred spectrum of n points after the FID was conjugated (point i goes to
// n - i) and resized to m points; nothing when little of it is left.
static point_stretch moved(const point_stretch &stretch, bool conjugate, long long n, long long m) {
    if (!stretch) return stretch;
    long long first = stretch->first, last = stretch->second;
    if (conjugate) {
        if (first == 0) first = 1; // the point at the edge is its own mirror image
        std::swap(first, last);
        first = n - first;
        last = n - last;
    }
    first = (first * m + n - 1) / n;
    last = last * m / n;
    if (last - first < 1) return std::nullopt;
    return std::pair(first, last);
}

static std::string shortest(double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value);
    return std::string(text, end.ptr);
}

// First-order phase of the delay before the first point, 360 degrees per dwell time. Rounded to a
// millionth of a degree: 0.0003 / 0.0001 is a hair below 3.
static double delay_phase(double begin_time, double dwell_time) {
    return std::round(360e6 * begin_time / dwell_time) / 1e6;
}

static int import_spectrum(const tools::import_options &options, const spectrum_options &own) {
    tools::fid_description fid = tools::describe_fid(options);
    if (own.dwell_time) fid.dwell_time = own.dwell_time;
    if (own.mhz) fid.mhz = own.mhz;
    if (own.ppm_at_carrier) fid.ppm_at_carrier = own.ppm_at_carrier;
    if (own.begin_time) fid.begin_time = own.begin_time;
    if (own.nucleus) fid.nucleus = own.nucleus;
    if (own.axis) fid.ppm_rises_with_points = *own.axis == "rising";
    if (!fid.dwell_time)
        throw tool_error(tools::bad_input,
                         fid.file + ": dwell time unknown; expected item \"dwell_time_s\" in a "
                                    "JSON beside it, or --dwell SECONDS");

    const complex_signal signal = tools::chosen_fid(fid, options);
    const auto n = static_cast<long long>(signal.size());
    const complex_signal spectrum = tools::centred_spectrum(signal, 0.5);
    const double hz_per_point = 1.0 / (*fid.dwell_time * static_cast<double>(n));
    const point_stretch known_noise = moved(fid.noise_points, options.conjugate, fid.points, n);
    const point_stretch fit_points = moved(fid.fit_points, options.conjugate, fid.points, n);
    const tools::noise_window noise =
        known_noise ? tools::noise_of_stretch(spectrum, known_noise->first, known_noise->second + 1)
                    : tools::quietest_stretch(spectrum);

    std::string name = fid.stem;
    if (fid.spectra > 1) name += "_" + std::to_string(*options.index);
    const std::filesystem::path folder(own.folder);
    const std::string signal_name = (folder / (name + ".bin")).string();
    const std::string sidecar_name = (folder / (name + ".json")).string();

    nlohmann::ordered_json sidecar;
    sidecar["signal"] = name + ".bin";
    sidecar["content"] = "centred spectrum, complex, little-endian float32; carrier at point n/2";
    sidecar["points"] = n;
    sidecar["dwell_time_s"] = *fid.dwell_time;
    sidecar["hz_per_point"] = hz_per_point;
    if (fid.mhz) sidecar["spectrometer_mhz"] = *fid.mhz;
    if (fid.ppm_at_carrier) sidecar["ppm_at_carrier"] = *fid.ppm_at_carrier;
    sidecar["ppm_rises_with_points"] = fid.ppm_rises_with_points != options.conjugate;
    if (fid.nucleus) sidecar["nucleus"] = *fid.nucleus;
    if (fid.begin_time) {
        sidecar["begin_time_s"] = *fid.begin_time;
        sidecar["phi_1_degrees"] = delay_phase(*fid.begin_time, *fid.dwell_time);
    }
    sidecar["noise_window"] = {{"first", noise.first},
                               {"stop", noise.stop},
                               {"sd_real", noise.sd_re},
                               {"sd_imaginary", noise.sd_im},
                               {"chosen_by", known_noise ? "metadata" : "quietest stretch"}};
    if (fit_points) sidecar["fit_interval_points"] = {fit_points->first, fit_points->second};
    sidecar["source"] = {{"file", std::filesystem::path(fid.file).filename().string()},
                         {"index", options.index.value_or(0)},
                         {"spectra", fid.spectra},
                         {"points", fid.points},
                         {"conjugated", options.conjugate}};
    if (!fid.json.empty())
        sidecar["source"]["metadata"] = std::filesystem::path(fid.json).filename().string();

    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw tool_error(tools::bad_output,
                         own.folder + ": folder cannot be made (" + error.message() + ")");
    std::vector<std::string> inputs = {fid.file};
    if (!fid.json.empty()) inputs.push_back(fid.json);
    tools::write_files(
        {{signal_name, tools::signal_bytes(spectrum)}, {sidecar_name, sidecar.dump(2) + "\n"}},
        inputs, options.force);

    if (n > fid.points)
        std::cerr
            << "varokel-import: filled with zeros from " << fid.points << " to " << n
            << " points: noise of neighbouring points is no longer independent, and the error "
               "bounds of a fit come out too small\n";
    if (!known_noise)
        std::cerr << "varokel-import: no noise-only points known, took the quietest stretch; look "
                     "at it before you trust the error bounds\n";
    std::cout << signal_name << '\n' << sidecar_name << '\n';
    // as the keywords of a control file have them
    std::cout << "n_pnts " << n << "\nHz_p_p " << shortest(hz_per_point) << "\nnoistr "
              << noise.first << "\nnoistp " << noise.stop << '\n';
    if (fid.begin_time)
        std::cout << "phi__1 " << shortest(delay_phase(*fid.begin_time, *fid.dwell_time)) << '\n';
    return tools::all_right;
}

static int import_pattern(const tools::import_options &options, const std::string &output) {
    static constexpr std::size_t most_pattern_points = 4096;
    const tools::fid_description fid = tools::describe_fid(options);
    const complex_signal signal = tools::chosen_fid(fid, options);
    if (signal.size() > most_pattern_points)
        throw tool_error(tools::bad_input, fid.file + ": " + std::to_string(signal.size()) +
                                               " points, but a pattern holds up to 4096; --resize "
                                               "4096 cuts");
    tools::write_files({{output, tools::signal_bytes(tools::binary_pattern(signal))}}, {fid.file},
                       options.force);
    std::cout << output << '\n';
    return tools::all_right;
}

static void add_input_options(CLI::App &app, tools::import_options &options) {
    app.add_option("INPUT", options.input,
                   "FID: complex points as little-endian float32, real and imaginary in turn");
    app.add_option("--json", options.json,
                   "what is known about INPUT (default: the .json beside it, if any)")
        ->type_name("FILE");
    app.add_option("--points", options.points,
                   "points of one FID in INPUT (default: item n_points, else all)")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    app.add_option("--index", options.index, "which FID of several, counted from 0")
        ->type_name("K")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--resize", options.resize,
                   "cut the FID to N points, or fill it with zeros; a power of two")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    app.add_flag("--conjugate", options.conjugate, "reverse the sense of frequency");
    app.add_flag("--force", options.force, "replace existing output files");
}

int main(int argc, char **argv) {
    tools::import_options options, pattern_options;
    spectrum_options own;
    std::string pattern_output;

    CLI::App app("Turns a measured FID into the centred spectrum that varokel fits, with a JSON "
                 "sidecar beside it.\nThe names of the written files and the control file's "
                 "keywords for them are printed.",
                 "varokel-import");
    add_input_options(app, options);
    app.add_option("-o,--output", own.folder, "folder for the spectrum and its sidecar")
        ->type_name("FOLDER");
    app.add_option("--dwell", own.dwell_time, "dwell time [s]")
        ->type_name("S")
        ->check(CLI::PositiveNumber);
    app.add_option("--frequency", own.mhz, "spectrometer frequency [MHz]")
        ->type_name("MHZ")
        ->check(CLI::PositiveNumber);
    app.add_option("--ppm-at-carrier", own.ppm_at_carrier, "chemical shift of the carrier")
        ->type_name("PPM");
    app.add_option("--axis", own.axis,
                   "ppm along the points of INPUT's spectrum, before --conjugate: rising (default) "
                   "or falling")
        ->type_name("SENSE")
        ->check(CLI::IsMember({"rising", "falling"}));
    app.add_option("--begin-time", own.begin_time, "time of the first point [s]")->type_name("S");
    app.add_option("--nucleus", own.nucleus, "such as 31P")->type_name("NAME");
    tools::common_options(app, "  varokel-import brain.fid.f32 -o run --dwell 0.0001\n"
                               "  varokel-import pattern naa.fid.f32 -o run/naa.bin");

    CLI::App *const pattern = app.add_subcommand(
        "pattern", "Turns the FID of a whole metabolite into a binary pattern of varokel.");
    add_input_options(*pattern, pattern_options);
    pattern->add_option("-o,--output", pattern_output, "pattern file")->type_name("FILE.bin");
    pattern->footer("\nExample:\n  varokel-import pattern naa.fid.f32 -o run/naa.bin");

    return tools::run_tool("varokel-import", [&] {
        if (const std::optional<int> status = tools::parse_command_line(app, argc, argv))
            return *status;
        const bool makes_pattern = pattern->parsed();
        const tools::import_options &chosen = makes_pattern ? pattern_options : options;
        const std::string &output = makes_pattern ? pattern_output : own.folder;
        if (chosen.input.empty())
            throw tool_error(tools::wrong_usage, "no INPUT given; try varokel-import --help");
        if (output.empty())
            throw tool_error(tools::wrong_usage, std::string("no output given; expected -o ") +
                                                     (makes_pattern ? "FILE.bin" : "FOLDER"));
        return makes_pattern ? import_pattern(chosen, output) : import_spectrum(chosen, own);
    });
}
