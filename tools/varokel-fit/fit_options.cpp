// SPDX-License-Identifier: BSD-3-Clause
#include "varokel-fit/fit_options.h"

namespace tools {

void add_fit_options(CLI::App &app, fit_options &own) {
    app.add_option("INPUT", own.input.input, "measured FIDs, any file that varokel-import reads")
        ->required();
    app.add_option("PEAKS", own.peaks, "table of peaks, as varokel-start takes it")->required();
    app.add_option("-o,--output", own.output, "folder of the results")
        ->type_name("FOLDER")
        ->required();
    app.add_option("-j,--jobs", own.jobs, "fits at a time (default 1)")
        ->type_name("N")
        ->check(CLI::Range(1, 256));
    app.add_option("--limit", own.limit, "stop a fit after so many seconds (default: never)")
        ->type_name("S");
    app.add_option("--derive", own.derive,
                   "sum or ratio of areas for the report, such as \"PCr/GATP\"; may be repeated")
        ->type_name("EXPR")
        ->allow_extra_args(false);
    app.add_flag("!--no-report", own.report, "no page and pictures, tables only");
    app.add_option("--varokel", own.program,
                   "the fitter (default: beside this program, or in PATH)")
        ->type_name("FILE");
    app.add_flag("--force", own.input.force, "replace existing output files");
    const std::string group = "Import (see varokel-import --help)";
    const auto text = [&](const char *name, std::string &value, const char *help,
                          const char *type) {
        app.add_option(name, value, help)->type_name(type)->group(group);
    };
    const auto number = [&](const char *name, std::optional<double> &value, const char *help,
                            const char *type) {
        return app.add_option(name, value, help)->type_name(type)->group(group);
    };
    text("--format", own.input.format, "nifti, raw, jmrui, sdat, rda, text or float32", "NAME");
    text("--json", own.input.json, "what is known about INPUT", "FILE");
    app.add_option("--points", own.input.points, "points of one FID")
        ->type_name("N")
        ->check(CLI::PositiveNumber)
        ->group(group);
    app.add_option("--index", own.input.choice.index,
                   "which FID of several: I, DIM=I, all, DIM=all")
        ->type_name("[DIM=]I")
        ->allow_extra_args(false)
        ->group(group);
    app.add_option("--average", own.input.choice.average, "take the mean over this dimension")
        ->type_name("DIM")
        ->allow_extra_args(false)
        ->group(group);
    text("--voxel", own.input.choice.voxel, "one voxel of a grid, from 0", "X,Y,Z");
    text("--resize", own.input.resize, "N, cut or fill (default: fill, if N is no power of two)",
         "N");
    text("--phase", own.input.phase, "turn the FID; auto makes its first point real", "DEG");
    app.add_flag("--conjugate", own.input.conjugate, "reverse the sense of frequency")
        ->group(group);
    number("--dwell", own.spectrum.dwell_time, "dwell time", "S")->check(CLI::PositiveNumber);
    number("--bandwidth", own.spectrum.bandwidth, "spectral width", "HZ")
        ->check(CLI::PositiveNumber);
    number("--frequency", own.spectrum.mhz, "spectrometer frequency", "MHZ")
        ->check(CLI::PositiveNumber);
    number("--ppm-at-carrier", own.spectrum.ppm_at_carrier, "chemical shift of the carrier", "PPM");
    number("--begin-time", own.spectrum.begin_time, "time of the first point", "S");
    app.add_option("--axis", own.spectrum.axis, "ppm along the points: rising or falling")
        ->type_name("SENSE")
        ->check(CLI::IsMember({"rising", "falling"}))
        ->group(group);
    app.add_option("--nucleus", own.spectrum.nucleus, "such as 31P")
        ->type_name("NAME")
        ->group(group);
    text("--noise", own.spectrum.noise, "points that hold noise only", "FIRST:LAST");
    text("--reference", own.spectrum.reference, "FID of a strong single line (water)", "FILE");
    app.add_flag("--eddy", own.spectrum.eddy, "correct eddy currents with it")->group(group);
}

} // namespace tools
