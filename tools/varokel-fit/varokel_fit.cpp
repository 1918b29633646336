// SPDX-License-Identifier: BSD-3-Clause
// varokel_fit.cpp -- from a measured file and a table of peaks to results, in one command
//
// import, start file, fit, tables and page are made in a folder of their own, whose contents
// appear in the folder of the results when all is done.
#include "files/base/output_file.h"
#include "files/base/own_files.h"
#include "files/base/pattern_name.h"
#include "files/base/tool_error.h"
#include "files/problem/fit_folder.h"
#include "files/results/derived_area.h"
#include "files/results/judge_run.h"
#include "files/results/number_text.h"
#include "files/results/results_table.h"
#include "files/start/make_start.h"

#include "common/command_line.h"
#include "common/import_options.h"
#include "common/run_tool.h"
#include "varokel-fit/finish_fits.h"
#include "varokel-fit/fit_options.h"
#include "varokel-fit/look_first.h"
#include "varokel-fit/output_folder.h"
#include "varokel-fit/run_fits.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

#include <unistd.h>

using tools::fit_options;
using tools::tool_error;
namespace fs = std::filesystem;

static void warn(const std::string &text) {
    std::cerr << "varokel-fit: " << text << '\n';
}

// Writes spectra and sidecars; returns their names. What the import prints is no result here.
static std::vector<std::string> import(const fit_options &own, const fs::path &folder,
                                       const std::optional<tools::reference_peak> &reference) {
    std::ostringstream printed;
    std::streambuf *const kept = std::cout.rdbuf(printed.rdbuf());
    try {
        tools::input_options input = own.input;
        // a fit needs a power of two, and filling loses nothing; it is warned of and recorded
        if (input.resize.empty()) input.resize = "fill";
        tools::spectrum_options spectrum = own.spectrum;
        tools::settle_reference(spectrum, reference);
        spectrum.folder = folder.string();
        tools::import_spectra(input, spectrum);
    } catch (...) {
        std::cout.rdbuf(kept);
        throw;
    }
    std::cout.rdbuf(kept);
    std::vector<std::string> names;
    std::istringstream lines(printed.str());
    for (std::string line; std::getline(lines, line);)
        if (line.ends_with(".bin")) names.push_back(fs::path(line).stem().string());
    return names;
}

static void write_new(const fs::path &file, const std::string &text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream)
        throw tool_error(tools::bad_output,
                         file.string() + ": cannot be written; is the disk full?");
}

// Guesses and warnings of many spectra: the same one is said once, and of different ones the first
// few.
class guess_list {
  public:
    void add(const std::string &name, const std::vector<std::string> &list, const char *kind,
             bool alone) {
        for (const std::string &text : list) {
            if (!seen_.insert(text).second) continue;
            if (seen_.size() <= most) warn((alone ? "" : name + ": ") + kind + text);
        }
    }
    void finish() const {
        if (seen_.size() > most)
            warn(std::to_string(seen_.size() - most) +
                 " more warnings of start values; each start.par lists its own behind its end");
    }

  private:
    static constexpr std::size_t most = 5;
    std::set<std::string> seen_;
};

// Start file, names and patterns of a spectrum into its folder.
static void prepare(const fit_options &own, tools::start_maker &maker,
                    tools::prepared_fit &prepared, guess_list &guesses, bool alone) {
    tools::planned_fit &fit = prepared.planned;
    try {
        const tools::start_result made =
            tools::prepare_fit({fit.folder, fit.name}, maker, own.peaks);
        guesses.add(fit.name, made.guesses, "guessed ", alone);
        guesses.add(fit.name, made.warnings, "", alone);
        prepared.start = made.start;
        prepared.guesses = made.guesses;
        prepared.warnings = made.warnings;
    } catch (const tool_error &error) {
        fit.why_not = error.what();
    } catch (const fs::filesystem_error &error) {
        fit.why_not = error.what();
    }
}

static std::string padded(const std::string &text, std::size_t width) {
    return text.size() < width ? text + std::string(width - text.size(), ' ') : text;
}

static std::string with_error(const tools::fitted_parameter &parameter) {
    if (parameter.state == tools::parameter_state::unused) return "-";
    const std::string value = tools::with_digits_of(parameter.value, parameter.error_1sd());
    if (!(parameter.error_2sd > 0.0)) return value;
    return value + " +- " + tools::short_number(parameter.error_1sd());
}

static void print_columns(const std::vector<std::vector<std::string>> &cells) {
    std::vector<std::size_t> widths(cells.front().size());
    for (const auto &row : cells)
        for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
    std::cout << '\n';
    for (const auto &row : cells) {
        std::string line;
        for (std::size_t c = 0; c < row.size(); ++c) line += padded(row[c], widths[c] + 2);
        line.erase(line.find_last_not_of(' ') + 1);
        std::cout << line << '\n';
    }
}

static void print_derived(const tools::run_result &run, const std::vector<std::string> &derive) {
    if (derive.empty()) return;
    std::vector<std::vector<std::string>> cells = {{"derived", "value", "%"}};
    for (const std::string &text : derive) {
        const tools::derived_area d = tools::derive_area(run, text);
        std::string value = tools::with_digits_of(d.value, d.error_1sd);
        if (std::isfinite(d.error_1sd)) value += " +- " + tools::short_number(d.error_1sd);
        char percent[40] = "n/a";
        if (std::isfinite(d.percent_1sd()))
            std::snprintf(percent, sizeof percent, "%.1f", d.percent_1sd());
        cells.push_back({d.name, value, percent});
    }
    print_columns(cells);
}

// The entries of a single fit: a newcomer looks here first.
static void print_entries(const tools::run_result &run, const std::vector<std::string> &derive) {
    std::vector<std::vector<std::string>> cells = {
        {"entry", "area", "%", "ppm", "Gauss Hz", "Lorentz Hz", "phase"}};
    for (const tools::fitted_entry &entry : run.entries) {
        char ppm[40] = "n/a", percent[40] = "n/a";
        if (std::isfinite(entry.ppm)) std::snprintf(ppm, sizeof ppm, "%.4f", entry.ppm);
        if (std::isfinite(entry.area.percent_1sd()))
            std::snprintf(percent, sizeof percent, "%.1f", entry.area.percent_1sd());
        cells.push_back({entry.name, with_error(entry.area), percent, ppm,
                         with_error(entry.gauss_width), with_error(entry.lorentz_width),
                         with_error(entry.phase)});
    }
    print_columns(cells);
    print_derived(run, derive);
    std::cout << "\nErrors are one standard deviation (Cramer-Rao bounds).\n";
}

static bool progress_is_shown() {
    return isatty(STDERR_FILENO) != 0;
}

static void show_progress(const tools::planned_fit &, std::size_t number, std::size_t of) {
    if (of > 1 && progress_is_shown())
        std::cerr << '\r' << number << " of " << of << " fits" << (number == of ? "\n" : "")
                  << std::flush;
}

static void write_tables(const fs::path &folder, const std::string &results,
                         const std::string &quality) {
    write_new(folder / "results.tsv", results);
    write_new(folder / "quality.tsv", quality);
    write_new(folder / "results.json", tools::results_dictionary());
    write_new(folder / "quality.json", tools::quality_dictionary());
}

// Returns whether there is a page, or none was to be had.
static bool report(const std::vector<std::string> &derive, const fs::path &folder) {
    const std::string program = tools::find_program("varokel-report");
    if (program.empty()) {
        warn("varokel-report is not there: no page, tables only");
        return true;
    }
    tools::program_call call = {{program, ".", "--force"}, folder.string(), "report.log"};
    for (const std::string &expression : derive) {
        call.words.emplace_back("--derive");
        call.words.push_back(expression);
    }
    const int status = tools::run_program(call);
    if (tools::interrupted_by() != 0)
        throw tool_error(tools::different, "interrupted; nothing was written");
    std::ifstream log(folder / "report.log");
    for (std::string line; std::getline(log, line);)
        if (line.starts_with("varokel-report: ")) std::cerr << line << '\n';
    fs::remove(folder / "report.log");
    if (status <= 1) return true;
    warn("no page, tables only: varokel-report ended with status " + std::to_string(status));
    return false;
}

// What the report would refuse after all fits is refused before the first.
// Those of the table come first.
static std::vector<std::string> derived_of(const fit_options &own, const tools::peak_table &table) {
    std::vector<std::string> names;
    for (const tools::table_row &row : table.rows) names.push_back(row.name);
    std::vector<std::string> all = table.derived;
    all.insert(all.end(), own.derive.begin(), own.derive.end());
    for (const std::string &expression : all)
        tools::check_derived_area(names, own.peaks, expression);
    return all;
}

// What is read; what the import finds beside the measured files stands in their folders.
static std::vector<std::string> inputs_of(const fit_options &own, const tools::peak_table &table) {
    std::vector<std::string> inputs = {own.input.input, own.peaks, own.input.json,
                                       own.spectrum.reference};
    for (const tools::table_row &row : table.rows)
        if (!row.pattern_file.empty())
            inputs.push_back(tools::find_pattern_file(own.peaks, row.pattern_file));
    return inputs;
}

// Only the page stays of what was prepared.
static int look(const std::vector<tools::prepared_fit> &fits, tools::output_folder &output,
                const std::string &given) {
    const std::string page = tools::page_before_fits(fits);
    for (const tools::prepared_fit &each : fits) {
        const tools::planned_fit &planned = each.planned;
        if (!planned.why_not.empty()) warn(planned.name + ": " + planned.why_not);
        if (fs::path(planned.folder) != output.work()) fs::remove_all(planned.folder);
    }
    for (const fs::directory_entry &file : fs::directory_iterator(output.work()))
        if (file.path().filename() != ".owner") fs::remove_all(file.path());
    write_new(output.work() / "look.html", page);
    output.finish();
    std::cout << (fs::path(given) / "look.html").string() << '\n';
    const bool all = std::all_of(fits.begin(), fits.end(), [](const tools::prepared_fit &f) {
        return f.planned.why_not.empty();
    });
    return static_cast<int>(all ? tools::all_right : tools::different);
}

static int fit(const fit_options &own) {
    tools::peak_table table = tools::read_peak_table(own.peaks); // before the long work
    const std::vector<std::string> derived = derived_of(own, table);
    if (table.fit_mode == 2 && own.spectrum.reference.empty())
        throw tool_error(tools::bad_input,
                         own.peaks + ": \"lineshape: measured\" needs the FID of the line that was "
                                     "measured; expected --reference FILE");
    const bool searches = own.method != "exact" && !own.look;
    const std::string program =
        own.program.empty() ? tools::find_program("varokel") : fs::absolute(own.program).string();
    if (searches && (program.empty() || access(program.c_str(), X_OK) != 0))
        throw tool_error(tools::bad_input,
                         (own.program.empty() ? std::string("varokel") : own.program) +
                             ": no such program, neither beside this one nor in PATH; expected the "
                             "fitter, --varokel FILE names it");
    tools::output_folder output(own.output, own.input.force);
    output.refuse_inputs(inputs_of(own, table));
    output.begin();
    const fs::path &work = output.work();
    std::error_code error;

    const std::vector<std::string> names = import(own, work, table.reference);
    tools::start_maker maker(std::move(table),
                             {fs::absolute(own.peaks).parent_path().string(), "."},
                             searches ? tools::fitted_by::search : tools::fitted_by::engine);
    std::vector<tools::prepared_fit> fits;
    guess_list guesses;
    for (const std::string &name : names) {
        tools::prepared_fit prepared;
        tools::planned_fit &planned = prepared.planned;
        planned = {work.string(), name, ""};
        if (names.size() > 1) { // a fit writes files of fixed names: each has its own folder
            planned.folder = (work / name).string();
            fs::create_directory(planned.folder);
            for (const char *const ending : {".bin", ".json", ".bin.ref"})
                fs::rename(work / (name + ending), fs::path(planned.folder) / (name + ending),
                           error);
        }
        prepare(own, maker, prepared, guesses, names.size() == 1);
        fits.push_back(std::move(prepared));
    }
    guesses.finish();
    if (own.look) return look(fits, output, own.output);
    const std::string &first_reason = fits.front().planned.why_not;
    if (std::all_of(fits.begin(), fits.end(), [&](const tools::prepared_fit &f) {
            return !f.planned.why_not.empty() && f.planned.why_not == first_reason;
        })) // the table fits none of them
        throw tool_error(tools::bad_input, first_reason);

    std::vector<tools::planned_fit> searched;
    for (const tools::prepared_fit &each : fits) searched.push_back(each.planned);
    if (searches) tools::run_fits(program, searched, own.jobs, own.limit, show_progress);
    if (own.method != "classic") tools::finish_fits(fits, searches, own.starts, own.jobs);

    std::string results = tools::results_header(), quality = tools::quality_header();
    std::size_t width = 8, failed = 0, at_limit = 0;
    for (const tools::prepared_fit &each : fits) width = std::max(width, each.planned.name.size());
    std::cout << padded("spectrum", width + 2) << "status      verdict         quality  warnings\n";
    for (const tools::prepared_fit &each : fits) {
        const tools::planned_fit &planned = each.planned;
        if (!each.not_exact.empty() && searches)
            warn(planned.name + ": no exact fit, the search stands alone: " + each.not_exact);
        if (own.method == "both" && !each.search_failed.empty() && each.not_exact.empty())
            warn(planned.name + ": the search has no result (" + each.search_failed +
                 "); the exact fit began from the table alone");
        tools::run_result run;
        try {
            run = tools::read_run(planned.folder, planned.name, {});
        } catch (const tool_error &unreadable) {
            run.folder = planned.folder;
            run.name = planned.name;
            run.why_not = unreadable.what();
            tools::judge_run(run);
        }
        if (!run.fitted && !searches && !planned.why_not.empty()) {
            run.why_not = planned.why_not;
            tools::judge_run(run);
        }
        results += tools::results_rows(run);
        quality += tools::quality_row(run);
        const tools::fit_judgement &judged = run.judgement;
        const bool bad = judged.status == tools::fit_status::not_fitted;
        std::cout << padded(run.name, width + 2) << padded(tools::status_text(judged.status), 12);
        if (bad) {
            ++failed;
            std::cout << (judged.reason.empty() ? run.why_not : judged.reason) << '\n';
            continue;
        }
        std::cout << padded(run.optimum ? run.optimum->verdict : "n/a", 16)
                  << padded(tools::short_number(run.quality), 9) << run.warnings.size() << '\n';
        if (judged.status == tools::fit_status::at_limit) ++at_limit;
        if (fits.size() > 1) continue;
        for (const std::string &text : run.warnings) warn(text);
        for (const std::string &text : run.notes) warn(text);
        print_entries(run, derived);
    }
    const bool page_failed = own.report && !report(derived, work);
    write_tables(work, results, quality); // in the order of the file, page or not
    output.finish();
    std::cout << '\n';
    for (const char *const file : {"report.html", "results.tsv", "quality.tsv"})
        if (fs::exists(output.name() / file, error))
            std::cout << (fs::path(own.output) / file).string() << '\n';
    if (at_limit > 0 && fits.size() > 1)
        warn(std::to_string(at_limit) + " of " + std::to_string(fits.size()) +
             " ended at their number of iterations, not at the tolerance; quality.tsv names them");
    if (failed > 0)
        warn(std::to_string(failed) + " of " + std::to_string(fits.size()) + " not fitted");
    if (page_failed) return tools::bad_output;
    return failed > 0 ? static_cast<int>(tools::different) : static_cast<int>(tools::all_right);
}

int main(int argc, char **argv) {
    fit_options own;
    tools::option_parser app(
        "Fits the spectra of a measured file with the peaks of a table: import, start "
        "values, fit, report.\nSeveral spectra in a file get a folder each, and rows in "
        "one table.",
        "varokel-fit");
    tools::add_fit_options(app, own);
    tools::common_options(app, "  varokel-fit brain.nii.gz peaks.txt -o run",
                          "0 all right, 1 some spectra were not fitted");
    const int ended = tools::run_tool("varokel-fit", [&] {
        if (const std::optional<int> status = tools::parse_command_line(app, argc, argv))
            return *status;
        tools::watch_for_interrupts();
        try {
            return fit(own);
        } catch (const fs::filesystem_error &error) {
            throw tool_error(tools::bad_output, error.what());
        }
    });
    return tools::interrupted_by() != 0 && ended != 0 ? 128 + tools::interrupted_by() : ended;
}
