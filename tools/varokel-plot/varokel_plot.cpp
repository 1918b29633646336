// SPDX-License-Identifier: BSD-3-Clause
// varokel_plot.cpp -- picture of a run (its .org, .fit, .res and .nln0 signals), of an imported
// spectrum, or of a measured file
#include "files/base/output_file.h"
#include "files/base/tool_error.h"
#include "files/measured/import_spectra.h"
#include "files/results/number_text.h"
#include "files/spectra/metadata.h"
#include "files/spectra/number_range.h"
#include "files/spectra/spectrum_axis.h"
#include "files/spectra/point_range.h"
#include "files/spectra/signal_file.h"
#include "files/pictures/draw_spectra.h"
#include "files/pictures/spectrum_view.h"
#include "common/command_line.h"
#include "common/import_options.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

using tools::complex_signal;
using tools::tool_error;

struct plot_options {
    tools::input_options input; // of a measured file
    std::string run, output, sidecar, axis, title, view, noise;
    std::vector<std::string> ranges;
    std::optional<double> hz_per_point, mhz, ppm_at_carrier;
    std::optional<double> phase, phi_1, bandwidth; // [degrees], [Hz]
    bool ppm_falls = false, components = false, force = false;
};

static bool exists(const std::string &file) {
    std::error_code error;
    return std::filesystem::exists(file, error);
}

// Options that the axis and the phases are made of. Errors: wrong_usage.
static void check_ranges(const plot_options &options) {
    const auto check = [](const char *option, const std::optional<double> &value, bool scale) {
        if (!value || (scale ? tools::is_scale(*value) : tools::is_in_range(*value))) return;
        throw tool_error(tools::wrong_usage,
                         std::string(option) + " " + tools::short_number(*value) + ": expected " +
                             (scale ? tools::scale_expected : tools::number_expected));
    };
    check("--hz-per-point", options.hz_per_point, true);
    check("--mhz", options.mhz, true);
    check("--ppm-at-carrier", options.ppm_at_carrier, false);
    check("--phase", options.phase, false);
    check("--phi-1", options.phi_1, false);
}

static tools::spectrum_axis with_options(tools::spectrum_axis axis, const plot_options &options) {
    if (options.hz_per_point) axis.hz_per_point = options.hz_per_point;
    if (options.mhz) axis.mhz = options.mhz;
    if (options.ppm_at_carrier) axis.ppm_at_carrier = options.ppm_at_carrier;
    if (options.ppm_falls) axis.ppm_rises_with_points = false;
    return axis;
}

static tools::metadata sidecar_of(const plot_options &options, const std::string &base) {
    std::string sidecar = options.sidecar;
    if (sidecar.empty() && exists(base + ".json")) sidecar = base + ".json";
    return sidecar.empty() ? tools::metadata("", tools::ordered_json::object())
                           : tools::metadata(sidecar);
}

// Points shown and shaded, and the picture itself.
static int draw(const plot_options &options, tools::spectra_plot &plot,
                const std::vector<std::string> &inputs) {
    const auto n = static_cast<long long>(plot.data.size());
    plot.title = options.title;
    plot.last = n - 1;
    for (const std::string &range : options.ranges) {
        long long first = 0, last = 0;
        tools::parse_point_range(range, "--range", first, last);
        plot.intervals.emplace_back(first, std::min(last, n - 1));
    }
    if (!options.noise.empty()) {
        long long first = 0, last = 0;
        tools::parse_point_range(options.noise, "--noise", first, last);
        plot.noise = {first, std::min(last, n - 1)};
    }
    if (!options.view.empty()) {
        tools::parse_point_range(options.view, "--view", plot.first, plot.last);
        plot.last = std::min(plot.last, n - 1);
        if (plot.first >= plot.last)
            throw tool_error(tools::wrong_usage, "--view " + options.view +
                                                     ": shows less than two "
                                                     "of the " +
                                                     std::to_string(n) + " points");
    }
    tools::write_files({{options.output, tools::draw_spectra(plot)}}, inputs, options.force);
    std::cout << options.output << '\n';
    return tools::all_right;
}

// The noise window of a sidecar, shaded where it lies in the spectrum.
static void take_window(const tools::metadata &sidecar, tools::spectra_plot &plot) {
    const tools::metadata window = sidecar.inside("noise_window");
    const auto first = window.number("first"), stop = window.number("stop");
    const auto n = static_cast<double>(plot.data.size());
    if (first && stop && *first >= 0.0 && *stop > *first + 1.0 && *stop <= n)
        plot.noise = {static_cast<long long>(*first), static_cast<long long>(*stop) - 1};
}

// Phases that turn a spectrum upright, of what is known of it: the delay gives the first-order one;
// the other makes the mean of the strongest points absorption.
static std::pair<double, double> phases_of(const tools::complex_signal &x,
                                           const tools::metadata &sidecar,
                                           const plot_options &options) {
    const double phi_1 = options.phi_1.value_or(sidecar.number("phi_1_degrees").value_or(0.0));
    if (options.phase) return {*options.phase, phi_1};
    return {tools::upright_phase(x, phi_1), phi_1};
}

// Those of a run: without a delay its points are drawn as they are.
static std::pair<double, double> phases_of_run(const tools::complex_signal &data,
                                               const tools::metadata &sidecar,
                                               const plot_options &options) {
    if (options.phi_1 || sidecar.number("phi_1_degrees").value_or(0.0) == 0.0)
        return {options.phase.value_or(0.0), options.phi_1.value_or(0.0)};
    return phases_of(data, sidecar, options);
}

// What was taken off without being asked for.
static void tell_phases(const plot_options &options, std::pair<double, double> taken) {
    const auto [phase, phi_1] = taken;
    if (!options.phi_1 && phi_1 != 0.0)
        std::cerr << "varokel-plot: a first-order phase of " << tools::short_number(phi_1)
                  << " degrees, that of the delay, is taken off; --phi-1 0 leaves it\n";
    if (!options.phase && phase != 0.0)
        std::cerr << "varokel-plot: a phase of " << tools::short_number(phase)
                  << " degrees is taken off, so that the strongest lines stand upright; --phase 0 "
                     "draws the points as they are\n";
}

static int plot_spectrum(const plot_options &options, const tools::complex_signal &x,
                         const tools::metadata &sidecar, const std::vector<std::string> &inputs) {
    if (x.size() < 2)
        throw tool_error(tools::bad_input, inputs.front() + ": one point; expected a spectrum");
    if (options.components)
        throw tool_error(tools::wrong_usage, "--components: " + inputs.front() +
                                                 " is a spectrum, not a fit; it has none");
    tools::spectra_plot plot;
    const tools::spectrum_axis axis = with_options(tools::axis_of_sidecar(sidecar), options);
    plot.axis = tools::plot_axis_of(axis, options.axis, static_cast<long long>(x.size()));
    const auto [phase, phi_1] = phases_of(x, sidecar, options);
    plot.data = tools::real_part(x, 0, x.size(), phase, phi_1);
    take_window(sidecar, plot);
    tell_phases(options, {phase, phi_1});
    return draw(options, plot, inputs);
}

static int plot_imported(const plot_options &options, const std::string &base) {
    const std::string file = base + ".bin";
    return plot_spectrum(options, tools::read_points(file, 0, tools::points_of_spectrum(file)),
                         sidecar_of(options, base), {file, base + ".json"});
}

static int plot_measured(const plot_options &options) {
    tools::input_options input = options.input;
    input.input = options.run;
    input.json = options.sidecar;
    if (input.resize.empty()) input.resize = "fill";
    tools::spectrum_options known;
    known.mhz = options.mhz;
    known.ppm_at_carrier = options.ppm_at_carrier;
    known.bandwidth = options.bandwidth;
    known.noise = options.noise;
    if (options.ppm_falls) known.axis = "falling";
    const tools::converted_spectra all = tools::spectra_of_file(input, known, 1);
    const tools::converted_spectrum &one = all.spectra.front();
    for (const std::string &text : all.remarks) std::cerr << "varokel-plot: " << text << '\n';
    if (all.chosen > 1)
        std::cerr << "varokel-plot: " << options.run << " holds " << all.chosen
                  << " spectra; drawn is " << one.name << ", --index or --voxel choose another\n";
    plot_options rest = options;
    rest.noise.clear(); // it stands in the sidecar
    if (rest.title.empty()) rest.title = one.name;
    return plot_spectrum(rest, one.points, tools::metadata(options.run, one.sidecar),
                         {options.run, input.json});
}

static int plot_run(const plot_options &options) {
    const std::vector<std::string> names = {tools::signal_of_run(options.run, ".org"),
                                            tools::signal_of_run(options.run, ".fit"),
                                            tools::signal_of_run(options.run, ".res")};
    const long long n = tools::points_of_spectrum(names[0]);
    if (n < 2) throw tool_error(tools::bad_input, names[0] + ": one point; expected a spectrum");
    const auto length = static_cast<std::size_t>(n);

    tools::spectra_plot plot;
    const tools::metadata sidecar = sidecar_of(options, options.run);
    plot.axis = tools::plot_axis_of(with_options(tools::axis_of_sidecar(sidecar), options),
                                    options.axis, n);
    const auto taken = phases_of_run(tools::read_points(names[0], 0, n), sidecar, options);
    const auto upright = [&](const complex_signal &of, std::size_t first) {
        return tools::real_part(of, first, length, taken.first, taken.second);
    };
    std::vector<double> *const curves[] = {&plot.data, &plot.fit, &plot.residual};
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (tools::count_points(names[i]) != n)
            throw tool_error(tools::bad_input, names[i] + ": " +
                                                   std::to_string(tools::count_points(names[i])) +
                                                   " points, but " + names[0] + " has " +
                                                   std::to_string(n) + "; are they of one run?");
        *curves[i] = upright(tools::read_points(names[i], 0, n), 0);
    }
    if (options.components) {
        const std::string file = tools::signal_of_run(options.run, ".nln0");
        const long long points = tools::count_points(file);
        if (points % n != 0)
            throw tool_error(tools::bad_input, file + ": " + std::to_string(points) +
                                                   " points are no whole number of components of " +
                                                   std::to_string(n));
        const complex_signal all = tools::read_points(file, 0, points);
        for (std::size_t first = 0; first < all.size(); first += length)
            plot.components.push_back(upright(all, first));
    }

    take_window(sidecar, plot);
    tell_phases(options, taken);
    return draw(options, plot, names);
}

// What RUN names: the signals of a fit, a spectrum that was imported, or a file as it was measured.
static int plot(plot_options options) {
    const bool bin = options.run.size() > 4 && options.run.ends_with(".bin");
    const std::string base = bin ? options.run.substr(0, options.run.size() - 4) : options.run;
    for (const std::string &run : {options.run, base})
        if (exists(run + ".org") || exists(run + ".org.sdf")) {
            options.run = run; // as the fit names its outputs
            return plot_run(options);
        }
    if (bin && exists(options.run)) return plot_imported(options, base);
    if (exists(options.run)) return plot_measured(options);
    if (exists(base + ".bin")) return plot_imported(options, base);
    return plot_run(options); // which says what is missing
}

static void add_plot_options(tools::option_parser &app, plot_options &options) {
    app.add_option("RUN", options.run,
                   "folder and name of the fitted signal, without ending: RUN.org, RUN.fit and "
                   "RUN.res are read, and RUN.json if it is there; or NAME.bin of an import; or a "
                   "measured file")
        ->required();
    app.add_option("-o,--output FILE.svg", options.output, "picture")->required();
    app.add_option("--axis UNIT", options.axis,
                   "points, hz or ppm (default: ppm if known, then hz)",
                   tools::one_of({"points", "hz", "ppm"}));
    app.add_option("--sidecar FILE", options.sidecar, "JSON of varokel-import (default: RUN.json)");
    app.add_option("--hz-per-point HZ", options.hz_per_point, "Hz_p_p of the control file",
                   tools::positive_number);
    app.add_option("--mhz MHZ", options.mhz, "spectrometer frequency", tools::positive_number);
    app.add_option("--ppm-at-carrier PPM", options.ppm_at_carrier, "chemical shift of point n/2");
    app.add_flag("--ppm-falls", options.ppm_falls, "ppm falls with the point number");
    app.add_option("--range FIRST:LAST", options.ranges,
                   "shade a fitted interval, points; may be repeated");
    app.add_option("--noise FIRST:LAST", options.noise,
                   "shade this noise window (default: of the sidecar)");
    app.add_option("--view FIRST:LAST", options.view, "points shown (default: all)");
    app.add_option("--phase P", options.phase,
                   "zero-order phase to take off [degrees] (default: what turns the strongest "
                   "lines upright; 0 of a fit without a delay)");
    app.add_option("--phi-1 P", options.phi_1,
                   "first-order phase to take off, phi__1 of the control "
                   "file [degrees] (default: that of the delay in the sidecar)");
    app.add_flag("--components", options.components, "also draw each line and pattern (RUN.nln0)");
    app.add_option("--title TEXT", options.title, "heading of the picture");
    app.add_option("--bandwidth HZ", options.bandwidth, "spectral width of a measured file [Hz]",
                   tools::positive_number);
    tools::add_format_option(app, options.input.format, "of a measured file: ");
    app.add_option("--index [DIM=]I", options.input.choice.index,
                   "which FID of several in a measured file, from 0: I, or DIM=I");
    app.add_option("--voxel X,Y,Z", options.input.choice.voxel, "which voxel of a measured grid");
    app.add_flag("--force", options.force, "replace an existing picture");
}

int main(int argc, char **argv) {
    plot_options options;
    tools::option_parser app(
        "Draws data, fit and residual of a run (real part) as an SVG picture, or a "
        "spectrum that was not fitted:\nan imported one, or any file that "
        "varokel-import reads. The noise window is shaded.",
        "varokel-plot");
    add_plot_options(app, options);
    tools::common_options(app, "  varokel-plot examples/single_line/line -o line.svg --axis hz "
                               "--hz-per-point 1\n"
                               "  varokel-plot examples/p31_brain/p31_brain.fid.f32 -o p31.svg");
    return tools::run_tool(app, argc, argv, [&] {
        check_ranges(options);
        return plot(options);
    });
}
