// SPDX-License-Identifier: BSD-3-Clause
// varokel_start.cpp -- start files from tables of peaks, and tables from start files
#include "files/base/input_file.h"
#include "files/base/output_file.h"
#include "files/base/tool_error.h"
#include "files/results/fitted_entries.h"
#include "files/spectra/signal_file.h"
#include "files/start/make_start.h"
#include "files/start/read_start_file.h"
#include "files/start/show_start.h"
#include "files/start/table_of_start.h"
#include "common/command_line.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

using tools::tool_error;
namespace fs = std::filesystem;

struct options {
    std::string peaks, spectrum, sidecar, output, from, names, to;
    bool explain = false, force = false;
};

static void warn(const std::string &text) {
    std::cerr << "varokel-start: " << text << '\n';
}

static std::string folder_of(const std::string &file) {
    const std::string folder = fs::path(file).parent_path().string();
    return folder.empty() ? "." : folder;
}

static bool holds(const std::string &file, const std::string &text) {
    std::ifstream stream = tools::open_input(file);
    return stream && std::string(std::istreambuf_iterator<char>(stream), {}) == text;
}

static std::string sidecar_of(const options &own) {
    if (!own.sidecar.empty()) return own.sidecar;
    return fs::path(own.spectrum).replace_extension(".json").string();
}

// names.txt beside the start file; one that says the same stays as it is.
static void write(const options &own, const tools::start_file &start, const std::string &text,
                  const std::vector<std::string> &inputs, bool with_names) {
    const std::string names = (fs::path(folder_of(own.output)) / "names.txt").string();
    std::vector<tools::output_file> files = {{own.output, text}};
    if (with_names && !holds(names, tools::names_text(start)))
        files.push_back({names, tools::names_text(start)});
    tools::write_files(files, inputs, own.force);
    std::cout << own.output << '\n';
    if (with_names) std::cout << names << '\n';
}

// The axis by the reference of the table, where the import did not set it. The sidecar stays.
static void set_axis(const tools::peak_table &table, const tools::metadata &sidecar,
                     const tools::complex_signal &spectrum, tools::spectrum_facts &facts) {
    const auto set =
        tools::set_axis_by_reference(table, tools::axis_of_sidecar(sidecar), spectrum, facts);
    if (!set) return;
    warn(set->text + ", in the start file; " + sidecar.file() +
         " stays as it is, import with --reference-peak for pages and tables");
    for (const std::string &text : set->warnings) warn(text);
}

static void make(const options &own) {
    std::vector<std::string> inputs = {own.peaks}, folders = {folder_of(own.peaks), "."};
    tools::start_maker maker(tools::read_peak_table(own.peaks), {});
    tools::complex_signal spectrum;
    tools::spectrum_facts facts;
    if (own.spectrum.empty() && own.sidecar.empty()) {
        facts = tools::facts_of_table(maker.table());
    } else {
        const std::string sidecar = sidecar_of(own);
        std::error_code error;
        if (!fs::exists(sidecar, error))
            throw tool_error(tools::bad_input,
                             sidecar + ": no such file; expected the JSON that varokel-import "
                                       "writes beside a spectrum (--json names another)");
        facts = tools::facts_of_sidecar(tools::metadata(sidecar));
        inputs.push_back(sidecar);
        if (!own.spectrum.empty()) {
            inputs.push_back(own.spectrum);
            spectrum = tools::read_points(own.spectrum, 0, facts.points);
            folders.push_back(folder_of(own.spectrum));
            set_axis(maker.table(), tools::metadata(sidecar), spectrum, facts);
        }
    }
    for (const tools::table_row &row : maker.table().rows)
        for (const std::string &folder : folders)
            if (!row.pattern_file.empty())
                inputs.push_back((fs::path(folder) / row.pattern_file).string());
    maker.look_for_patterns_in(folders);
    const tools::start_result result = maker.make(spectrum, facts);
    for (const std::string &guess : result.guesses) warn("guessed " + guess);
    for (const std::string &warning : result.warnings) warn(warning);
    if (own.explain) std::cout << tools::explained(result, tools::table_axis(facts, own.peaks));
    if (own.output.empty()) return;
    write(own, result.start, result.text(), inputs, true);
    if (const std::string windows = result.left_out(); !windows.empty())
        warn(own.output + ": " + windows);
}

// Names of a names.txt; nothing when it belongs to another file.
static void take_names(const options &own, tools::start_file &start,
                       std::vector<std::string> &inputs) {
    std::string file = own.names;
    if (file.empty()) file = (fs::path(folder_of(own.from)) / "names.txt").string();
    if (own.names.empty() && !tools::is_file(file)) return;
    const std::vector<std::string> names = tools::read_names(file);
    if (names.size() != start.entries.size()) {
        const std::string text = file + ": " + std::to_string(names.size()) + " names, but " +
                                 own.from + " has " + std::to_string(start.entries.size()) +
                                 " entries";
        if (!own.names.empty()) throw tool_error(tools::bad_input, text);
        return warn(text + "; names not used");
    }
    inputs.push_back(file);
    for (std::size_t k = 0; k < names.size(); ++k) start.entries[k].name = names[k];
}

static void translate(const options &own) {
    std::vector<std::string> inputs = {own.from};
    tools::start_file start = tools::read_start_file(own.from);
    take_names(own, start, inputs);
    if (own.to == "par") {
        if (start.generation == "old format")
            warn("guessed tolerance 1e-7: " + own.from + " is of the old format, which has none");
        tools::refuse_what_fails(start, own.from);
        std::vector<std::string> remarks;
        for (std::size_t k = 0; k < start.entries.size(); ++k)
            if (!start.entries[k].name.empty())
                remarks.push_back("entry " + std::to_string(k + 1) + " " + start.entries[k].name);
        const std::string text = tools::version_3_text(start, remarks);
        if (own.output.empty())
            std::cout << text;
        else
            write(own, start, text, inputs, false);
        return;
    }
    tools::spectrum_facts facts;
    facts.points = start.points;
    facts.hz_per_point = start.hz_per_point;
    const bool given = !own.spectrum.empty() || !own.sidecar.empty();
    if (given) {
        const std::string sidecar = sidecar_of(own);
        const tools::spectrum_facts of_spectrum = tools::facts_of_sidecar(tools::metadata(sidecar));
        inputs.push_back(sidecar);
        if (of_spectrum.points != start.points ||
            std::fabs(of_spectrum.hz_per_point / start.hz_per_point - 1.0) > 1e-5)
            throw tool_error(tools::bad_input,
                             sidecar + ": points or Hz per point differ from those of " + own.from +
                                 "; expected the spectrum that the file belongs to");
        facts = of_spectrum;
    }
    std::vector<std::string> lost;
    const std::string text =
        tools::table_text(start, tools::table_axis(facts, own.from), given, lost);
    for (const std::string &what : lost) warn(what);
    if (own.output.empty())
        std::cout << text;
    else
        write(own, start, text, inputs, false);
}

int main(int argc, char **argv) {
    options own;
    tools::option_parser app(
        "Makes the start file of a fit from a table of peaks and the spectrum.\nAreas and "
        "phases that the table leaves open are estimated from the spectrum.",
        "varokel-start");
    app.add_option("PEAKS", own.peaks, "table of peaks: a row for each line or pattern");
    app.add_option("-d,--data SPECTRUM", own.spectrum,
                   "spectrum that varokel-import wrote, with its JSON beside it");
    app.add_option("--json FILE", own.sidecar, "the JSON, if it stands elsewhere");
    app.add_option("-o,--output FILE", own.output,
                   "start file, version 3; names.txt is written beside it");
    app.add_flag("--explain", own.explain,
                 "print the model: each parameter free, fixed or tied, in ppm, Hz and points");
    app.add_option("--from FILE", own.from,
                   "write the table of this start file instead (version 3, block or old format)");
    app.add_option("--to KIND", own.to, "with --from: a table (default), or a version 3 file (par)",
                   tools::one_of({"table", "par"}));
    app.add_option("--names FILE", own.names,
                   "with --from: names of the entries (default: names.txt beside it)");
    app.add_flag("--force", own.force, "replace existing output files");
    tools::common_options(app, "  varokel-start peaks.txt -d run/brain.bin -o run/start.par\n"
                               "  varokel-start peaks.txt -d run/brain.bin --explain\n"
                               "  varokel-start --from run/compact.par -d run/brain.bin");
    return tools::run_tool(app, argc, argv, [&] {
        const auto usage = [](const std::string &text) {
            throw tool_error(tools::wrong_usage, text + "; try varokel-start --help");
        };
        if (own.from.empty() && own.peaks.empty()) usage("no PEAKS given");
        if (!own.from.empty() && !own.peaks.empty()) usage("PEAKS and --from exclude each other");
        if (own.from.empty() && (!own.to.empty() || !own.names.empty()))
            usage("--to and --names belong to --from");
        if (!own.from.empty() && own.explain) usage("--explain belongs to a table");
        if (own.from.empty() && own.output.empty() && !own.explain)
            usage("no output given; expected -o FILE or --explain");
        if (own.from.empty())
            make(own);
        else
            translate(own);
        return static_cast<int>(tools::all_right);
    });
}
