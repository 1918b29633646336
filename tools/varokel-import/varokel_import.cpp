// SPDX-License-Identifier: BSD-3-Clause
// varokel_import.cpp -- measured FIDs become files that varokel fits
//
//   spectrum  S = rotate_{n/2}( (1/n) sum_k w_k fid[k] exp(-2 pi i jk/n) ),  w_0 = 1/2, else 1
//   pattern   P[j] = conj(S'[(n - j) mod n]),  S' as S with w_0 = 1
#include "files/base/held_text.h"
#include "files/base/tool_error.h"
#include "files/measured/import_spectra.h"
#include "files/measured/import_basis.h"
#include "files/measured/signal_items.h"
#include "files/start/table_keys.h"
#include "common/command_line.h"
#include "common/import_options.h"

#include <iostream>

using tools::tool_error;

// The file, and --force: of INPUT into whatever is made of it.
static void add_source(tools::option_parser &app, tools::input_options &options) {
    app.add_option(
        "INPUT", options.input,
        "NIfTI-MRS (.nii, .nii.gz), LCModel .RAW or .H2O, jMRUI .txt, .SPAR/.SDAT, .rda, "
        "two columns of text, or complex points as little-endian float32");
    tools::add_input_options(app, options);
    app.add_flag("--force", options.force, "replace existing output files");
}

static void add_basis_options(tools::option_parser &app, tools::basis_options &own) {
    app.add_option("INPUT", own.input, "basis set, .BASIS");
    app.add_option("-o,--output FOLDER", own.folder, "folder for the patterns");
    app.add_option("--like FILE.json", own.like,
                   "sidecar of the imported spectrum: points, dwell time, frequency, axis");
    app.add_option("--points N", own.points, "points of the data", tools::positive_number);
    app.add_option("--dwell S", own.dwell_time, "dwell time of the data [s]",
                   tools::positive_number);
    app.add_option("--bandwidth HZ", own.bandwidth, "spectral width of the data [Hz]",
                   tools::positive_number);
    app.add_option("--frequency MHZ", own.mhz, "spectrometer frequency of the data [MHz]",
                   tools::positive_number);
    app.add_option("--ppm-at-carrier PPM", own.ppm_at_carrier, "chemical shift of the carrier");
    app.add_option("--only NAME", own.only, "this metabolite; may be repeated");
    app.add_flag("--rescale", own.rescale, "take a basis of a field that differs by up to 5 %");
    app.add_flag("--force", own.force, "replace existing output files");
    app.footer("\nExample:\n  varokel-import basis press30.BASIS -o run --like run/brain.json");
}

static void warn(const std::vector<std::string> &texts) {
    for (const std::string &text : texts) std::cerr << "varokel-import: " << text << '\n';
}

// The names of its files, and what a control file says of it.
static std::string lines_of(const tools::imported_spectrum &made) {
    std::string lines = made.signal + "\n" + made.sidecar + "\n";
    if (!made.reference.empty()) lines += made.reference + "\n";
    lines += "n_pnts " + std::to_string(made.points) + "\nHz_p_p " +
             tools::shortest(made.hz_per_point) + "\nnoistr " + std::to_string(made.noise.first) +
             "\nnoistp " + std::to_string(made.noise.stop) + "\n";
    if (made.phi_1) lines += "phi__1 " + tools::shortest(*made.phi_1) + "\n";
    return lines;
}

static void import_and_print(const tools::input_options &options,
                             const tools::spectrum_options &own) {
    tools::held_text report; // printed when the files are there
    tools::import_listener listener;
    listener.made = [&](const tools::imported_spectrum &made) {
        report.add(lines_of(made), own.folder);
    };
    listener.passed = tools::show_passed;
    warn(tools::import_spectra(options, own, listener));
    report.print(std::cout);
}

// With the lines of a control file for the patterns.
static void print_basis(const tools::imported_basis &made) {
    warn(made.warnings);
    for (const std::string &file : made.patterns) std::cout << file << '\n';
    std::cout << made.sidecar << "\npattrn " << made.patterns.size() << '\n';
    for (const std::string &file : made.patterns) std::cout << file << '\n';
}

int main(int argc, char **argv) {
    tools::input_options options, pattern_options;
    tools::spectrum_options own;
    std::string pattern_output;
    tools::basis_options basis_set;

    tools::option_parser app(
        "Turns measured FIDs into the centred spectra that varokel fits, with a JSON "
        "sidecar beside each.\nThe names of the written files and the control file's "
        "keywords for them are printed.",
        "varokel-import");
    add_source(app, options);
    app.add_option("-o,--output FOLDER", own.folder, "folder for the spectra and their sidecars");
    tools::add_spectrum_options(app, own);
    tools::add_reference_options(app, own);
    app.add_option("--memory MIB", own.memory,
                   "storage for FIDs; a larger grid is read in several passes (default 128)",
                   tools::in_range(1, 1LL << 20));
    tools::common_options(app, "  varokel-import brain.nii.gz -o run\n"
                               "  varokel-import brain.fid.f32 -o run --dwell 0.0001\n"
                               "  varokel-import pattern naa.fid.f32 -o run/naa.bin");

    tools::option_parser *const pattern = app.add_subcommand(
        "pattern", "Turns the FID of a whole metabolite into a binary pattern of varokel.");
    add_source(*pattern, pattern_options);
    pattern->add_option("-o,--output FILE.bin", pattern_output, "pattern file");
    pattern->footer("\nExample:\n  varokel-import pattern naa.fid.f32 -o run/naa.bin");

    tools::option_parser *const basis = app.add_subcommand(
        "basis", "Turns an LCModel basis set into binary patterns of varokel that match the data.");
    add_basis_options(*basis, basis_set);

    return tools::run_tool(app, argc, argv, [&] {
        const std::string &input = pattern->parsed() ? pattern_options.input
                                   : basis->parsed() ? basis_set.input
                                                     : options.input;
        const std::string &output = pattern->parsed() ? pattern_output
                                    : basis->parsed() ? basis_set.folder
                                                      : own.folder;
        if (input.empty())
            throw tool_error(tools::wrong_usage, "no INPUT given; try varokel-import --help");
        if (output.empty())
            throw tool_error(tools::wrong_usage, std::string("no output given; expected -o ") +
                                                     (pattern->parsed() ? "FILE.bin" : "FOLDER"));
        own.reference_peak = tools::settled_reference(own.reference_text, std::nullopt);
        if (pattern->parsed()) {
            tools::import_pattern(pattern_options, output);
            std::cout << output << '\n';
        } else if (basis->parsed()) {
            print_basis(tools::import_basis(basis_set));
        } else {
            import_and_print(options, own);
        }
        return static_cast<int>(tools::all_right);
    });
}
