// SPDX-License-Identifier: BSD-3-Clause
// varokel_plot.cpp -- picture of a run: its .org, .fit, .res and .nln0 signals
#include "files/base/output_file.h"
#include "files/base/tool_error.h"
#include "files/spectra/metadata.h"
#include "files/spectra/spectrum_axis.h"
#include "files/spectra/point_range.h"
#include "files/spectra/signal_file.h"
#include "files/pictures/draw_spectra.h"
#include "files/pictures/spectrum_view.h"
#include "common/command_line.h"
#include "common/run_tool.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

using tools::complex_signal;
using tools::tool_error;

struct plot_options {
    std::string run, output, sidecar, axis, title, view;
    std::vector<std::string> ranges;
    std::optional<double> hz_per_point, mhz, ppm_at_carrier;
    double phase = 0.0, phi_1 = 0.0; // [degrees]
    bool ppm_falls = false, components = false, force = false;
};

static bool exists(const std::string &file) {
    std::error_code error;
    return std::filesystem::exists(file, error);
}

static tools::spectrum_axis axis_items(const plot_options &options) {
    tools::spectrum_axis axis;
    std::string sidecar = options.sidecar;
    if (sidecar.empty() && exists(options.run + ".json")) sidecar = options.run + ".json";
    if (!sidecar.empty()) axis = tools::axis_of_sidecar(tools::metadata(sidecar));
    if (options.hz_per_point) axis.hz_per_point = options.hz_per_point;
    if (options.mhz) axis.mhz = options.mhz;
    if (options.ppm_at_carrier) axis.ppm_at_carrier = options.ppm_at_carrier;
    if (options.ppm_falls) axis.ppm_rises_with_points = false;
    return axis;
}

static int plot_run(plot_options options) {
    if (options.run.size() > 4 && options.run.ends_with(".bin") && !exists(options.run + ".org"))
        options.run.resize(options.run.size() - 4); // as the fit names its outputs
    const std::vector<std::string> names = {tools::signal_of_run(options.run, ".org"),
                                            tools::signal_of_run(options.run, ".fit"),
                                            tools::signal_of_run(options.run, ".res")};
    const long long n = tools::count_points(names[0]);
    if (n < 2) throw tool_error(tools::bad_input, names[0] + ": one point; expected a spectrum");
    const auto length = static_cast<std::size_t>(n);

    tools::spectra_plot plot;
    plot.title = options.title;
    plot.axis = tools::plot_axis_of(axis_items(options), options.axis, n);
    std::vector<double> *const curves[] = {&plot.data, &plot.fit, &plot.residual};
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (tools::count_points(names[i]) != n)
            throw tool_error(tools::bad_input, names[i] + ": " +
                                                   std::to_string(tools::count_points(names[i])) +
                                                   " points, but " + names[0] + " has " +
                                                   std::to_string(n) + "; are they of one run?");
        *curves[i] = tools::real_part(tools::read_points(names[i], 0, n), 0, length, options.phase,
                                      options.phi_1);
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
            plot.components.push_back(
                tools::real_part(all, first, length, options.phase, options.phi_1));
    }

    plot.last = n - 1;
    for (const std::string &range : options.ranges) {
        long long first = 0, last = 0;
        tools::parse_point_range(range, "--range", first, last);
        plot.intervals.emplace_back(first, std::min(last, n - 1));
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
    tools::write_files({{options.output, tools::draw_spectra(plot)}}, names, options.force);
    std::cout << options.output << '\n';
    return tools::all_right;
}

int main(int argc, char **argv) {
    plot_options options;
    tools::option_parser app("Draws data, fit and residual of a run (real part) as an SVG picture.",
                             "varokel-plot");
    app.add_option("RUN", options.run,
                   "folder and name of the fitted signal, without ending: RUN.org, RUN.fit and "
                   "RUN.res are read, and RUN.json if it is there")
        ->required();
    app.add_option("-o,--output", options.output, "picture")->type_name("FILE.svg")->required();
    app.add_option("--axis", options.axis, "points, hz or ppm (default: ppm if known, then hz)")
        ->type_name("UNIT")
        ->check(tools::one_of({"points", "hz", "ppm"}));
    app.add_option("--sidecar", options.sidecar, "JSON of varokel-import (default: RUN.json)")
        ->type_name("FILE");
    app.add_option("--hz-per-point", options.hz_per_point, "Hz_p_p of the control file")
        ->type_name("HZ")
        ->check(tools::positive_number);
    app.add_option("--mhz", options.mhz, "spectrometer frequency")
        ->type_name("MHZ")
        ->check(tools::positive_number);
    app.add_option("--ppm-at-carrier", options.ppm_at_carrier, "chemical shift of point n/2")
        ->type_name("PPM");
    app.add_flag("--ppm-falls", options.ppm_falls, "ppm falls with the point number");
    app.add_option("--range", options.ranges, "shade a fitted interval, points; may be repeated")
        ->type_name("FIRST:LAST")
        ->allow_extra_args(false);
    app.add_option("--view", options.view, "points shown (default: all)")->type_name("FIRST:LAST");
    app.add_option("--phase", options.phase, "zero-order phase to take off [degrees]")
        ->type_name("P");
    app.add_option("--phi-1", options.phi_1,
                   "first-order phase to take off, phi__1 of the control "
                   "file [degrees]")
        ->type_name("P");
    app.add_flag("--components", options.components, "also draw each line and pattern (RUN.nln0)");
    app.add_option("--title", options.title, "heading of the picture")->type_name("TEXT");
    app.add_flag("--force", options.force, "replace an existing picture");
    tools::common_options(app, "  varokel-plot examples/single_line/line -o line.svg --axis hz "
                               "--hz-per-point 1");
    return tools::run_tool("varokel-plot", [&] {
        if (const std::optional<int> status = tools::parse_command_line(app, argc, argv))
            return *status;
        return plot_run(options);
    });
}
