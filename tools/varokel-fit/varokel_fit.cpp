// SPDX-License-Identifier: BSD-3-Clause
// varokel_fit.cpp -- from a measured file and a table of peaks to results, in one command
//
// import, start file, fit, tables and page are made in a folder of their own, whose contents
// appear in the folder of the results when all is done.
#include "files/base/output_file.h"
#include "files/base/pattern_name.h"
#include "files/base/tool_error.h"
#include "files/measured/combined_source.h"
#include "files/problem/fit_folder.h"
#include "files/results/derived_area.h"
#include "files/results/judge_run.h"
#include "files/results/number_text.h"
#include "files/results/results_table.h"
#include "files/start/make_start.h"
#include "files/start/table_keys.h"

#include "common/command_line.h"
#include "common/find_program.h"
#include "common/import_options.h"
#include "varokel-fit/finish_fits.h"
#include "varokel-fit/fit_options.h"
#include "varokel-fit/look_first.h"
#include "varokel-fit/output_folder.h"
#include "varokel-fit/print_entries.h"
#include "varokel-fit/run_fits.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>

#include <unistd.h>

using tools::fit_options;
using tools::tool_error;
namespace fs = std::filesystem;

static void warn(const std::string &text) {
    std::cerr << "varokel-fit: " << text << '\n';
}

// Writes spectra and sidecars; returns their names.
static std::vector<std::string> import(const fit_options &own, const fs::path &folder,
                                       const std::optional<tools::reference_peak> &reference) {
    tools::input_options input = own.input;
    // a fit needs a power of two, and filling loses nothing; it is warned of and recorded
    if (input.resize.empty()) input.resize = "fill";
    tools::spectrum_options spectrum = own.spectrum;
    spectrum.reference_peak = tools::settled_reference(spectrum.reference_text, reference);
    spectrum.folder = folder.string();
    std::vector<std::string> names;
    tools::import_listener listener;
    listener.made = [&](const tools::imported_spectrum &made) { names.push_back(made.name); };
    listener.passed = tools::show_passed;
    for (const std::string &text : tools::import_spectra(input, spectrum, listener))
        std::cerr << "varokel-import: " << text << '\n';
    return names;
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

static void show_progress(const tools::planned_fit &, std::size_t number, std::size_t of) {
    if (of > 1 && isatty(STDERR_FILENO) != 0)
        std::cerr << '\r' << number << " of " << of << " fits" << (number == of ? "\n" : "")
                  << std::flush;
}

static void write_tables(const fs::path &folder, const std::string &results,
                         const std::string &quality) {
    tools::write_text(folder / "results.tsv", results);
    tools::write_text(folder / "quality.tsv", quality);
    tools::write_text(folder / "results.json", tools::results_dictionary());
    tools::write_text(folder / "quality.json", tools::quality_dictionary());
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
    for (const std::string &expression : table.derived)
        tools::check_derived_area(names, own.peaks, expression, own.peaks);
    for (const std::string &expression : own.derive)
        tools::check_derived_area(names, own.peaks, expression);
    for (const tools::amount_row &row : table.amounts.amounts)
        tools::check_derived_area(names, own.peaks, row.name + "=" + row.expression, own.peaks);
    return all;
}

// What is read; what the import finds beside the measured files stands in their folders.
static std::vector<std::string> inputs_of(const fit_options &own, const tools::peak_table &table) {
    std::vector<std::string> inputs = {own.input.input, own.peaks, own.input.json,
                                       own.spectrum.reference, own.water.file};
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
    tools::write_text(output.work() / "look.html", page);
    output.finish();
    std::cout << (fs::path(given) / "look.html").string() << '\n';
    const bool all = std::all_of(fits.begin(), fits.end(), [](const tools::prepared_fit &f) {
        return f.planned.why_not.empty();
    });
    return all ? tools::all_right : tools::different;
}

// Notes that the import has printed already.
static bool was_said_at_import(const tools::run_result &run, const std::string &text) {
    return std::any_of(std::begin(tools::notes_of_import), std::end(tools::notes_of_import),
                       [&](const char *item) {
                           const auto at = run.sidecar.find(item);
                           if (at == run.sidecar.end()) return false;
                           const auto said = at->find("text");
                           return said != at->end() && *said == text;
                       });
}

// Imports into the folder `work` and makes start values.
static std::vector<tools::prepared_fit> prepare_fits(const fit_options &own, const fs::path &work,
                                                     tools::peak_table table) {
    const std::vector<std::string> names = import(own, work, table.reference);
    if (!own.water.file.empty())
        for (const std::string &text :
             tools::add_water(own.water, own.input, own.spectrum, table, work.string(), names))
            warn(text);
    tools::start_maker maker(std::move(table),
                             {fs::absolute(own.peaks).parent_path().string(), "."},
                             *tools::method_named(own.method));
    std::vector<tools::prepared_fit> fits;
    guess_list guesses;
    for (const std::string &name : names) {
        tools::prepared_fit prepared;
        tools::planned_fit &planned = prepared.planned;
        planned = {work.string(), name, ""};
        if (names.size() > 1) { // a fit writes files of fixed names: each has its own folder
            planned.folder = (work / name).string();
            fs::create_directory(planned.folder);
            std::error_code error;
            for (const char *const ending : {".bin", ".json", ".bin.ref"})
                fs::rename(work / (name + ending), fs::path(planned.folder) / (name + ending),
                           error);
        }
        prepare(own, maker, prepared, guesses, names.size() == 1);
        fits.push_back(std::move(prepared));
    }
    guesses.finish();
    return fits;
}

// What the files of a fit say; a fit without results, with the reason, where they cannot be read.
static tools::run_result run_of(const tools::planned_fit &planned, bool searches) {
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
    return run;
}

namespace {
struct fit_results {
    std::string results = tools::results_header(), quality = tools::quality_header();
    std::size_t failed = 0, at_limit = 0;
    std::vector<tools::begin_time_hint> begin_times; // that would explain misfits
};
} // namespace

// Prints a line for each fit, of a single one its entries, too.
static fit_results show_fits(const fit_options &own, const std::vector<tools::prepared_fit> &fits,
                             const std::vector<std::string> &derived) {
    const bool searches = own.method != "exact";
    fit_results all;
    std::size_t width = 8;
    for (const tools::prepared_fit &each : fits) width = std::max(width, each.planned.name.size());
    std::cout << tools::padded("spectrum", width + 2)
              << "status      verdict         quality  warnings\n";
    for (const tools::prepared_fit &each : fits) {
        if (!each.not_exact.empty() && searches)
            warn(each.planned.name + ": no exact fit, the search stands alone: " + each.not_exact);
        if (own.method == "both" && !each.search_failed.empty() && each.not_exact.empty())
            warn(each.planned.name + ": the search has no result (" + each.search_failed +
                 "); the exact fit began from the table alone");
        const tools::run_result run = run_of(each.planned, searches);
        all.results += tools::results_rows(run);
        all.quality += tools::quality_row(run);
        const tools::fit_judgement &judged = run.judgement;
        std::cout << tools::padded(run.name, width + 2)
                  << tools::padded(tools::status_text(judged.status), 12);
        if (judged.status == tools::fit_status::not_fitted) {
            ++all.failed;
            std::cout << (judged.reason.empty() ? run.why_not : judged.reason) << '\n';
            continue;
        }
        std::cout << tools::padded(run.optimum ? run.optimum->verdict : "n/a", 16)
                  << tools::padded(tools::short_number(run.quality), 9) << run.warnings.size()
                  << '\n';
        if (judged.status == tools::fit_status::at_limit) ++all.at_limit;
        if (run.optimum && run.optimum->begin_time)
            all.begin_times.push_back(*run.optimum->begin_time);
        if (fits.size() > 1) continue;
        for (const std::string &text : run.warnings) warn(text);
        for (const std::string &text : run.notes)
            if (!was_said_at_import(run, text)) warn(text);
        tools::print_entries(run, derived);
    }
    return all;
}

static int fit(const fit_options &own) {
    tools::peak_table table = tools::read_peak_table(own.peaks); // before the long work
    const std::vector<std::string> derived = derived_of(own, table);
    tools::check_amounts(own.water, table);
    if (const std::string text = tools::missing_water(own.water, table); !text.empty()) warn(text);
    if (table.fit_mode == 2 && own.spectrum.reference.empty())
        throw tool_error(tools::bad_input,
                         own.peaks + ": \"lineshape: measured\" needs the FID of the line that was "
                                     "measured; expected --reference FILE");
    const bool searches = own.method != "exact" && !own.look;
    const std::string program = searches ? tools::find_fitter(own.program) : "";
    tools::output_folder output(own.output, own.input.force);
    output.refuse_inputs(inputs_of(own, table));
    output.begin();
    const fs::path &work = output.work();
    std::vector<tools::prepared_fit> fits = prepare_fits(own, work, std::move(table));
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

    const fit_results all = show_fits(own, fits, derived);
    const bool page_failed = own.report && !report(derived, work);
    write_tables(work, all.results, all.quality); // in the order of the file, page or not
    output.finish();
    std::cout << '\n';
    std::error_code error;
    for (const char *const file : {"report.html", "results.tsv", "quality.tsv"})
        if (fs::exists(output.name() / file, error))
            std::cout << (fs::path(own.output) / file).string() << '\n';
    if (all.at_limit > 0 && fits.size() > 1)
        warn(std::to_string(all.at_limit) + " of " + std::to_string(fits.size()) +
             " ended at their number of iterations, not at the tolerance; quality.tsv names them");
    if (!all.begin_times.empty() && fits.size() > 1)
        warn(std::to_string(all.begin_times.size()) + " of " + std::to_string(fits.size()) + ": " +
             tools::begin_time_text(tools::middle_of(all.begin_times)));
    if (all.failed > 0)
        warn(std::to_string(all.failed) + " of " + std::to_string(fits.size()) + " not fitted");
    if (page_failed) return tools::bad_output;
    return all.failed > 0 ? tools::different : tools::all_right;
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
    const int ended = tools::run_tool(app, argc, argv, [&] {
        tools::watch_for_interrupts();
        try {
            own.input.coils_beside = tools::has_coils(own.water.file, own.input) ||
                                     tools::has_coils(own.spectrum.reference, own.input);
            return fit(own);
        } catch (const fs::filesystem_error &error) {
            throw tool_error(tools::bad_output, error.what());
        }
    });
    return tools::interrupted_by() != 0 && ended != 0 ? 128 + tools::interrupted_by() : ended;
}
