// SPDX-License-Identifier: BSD-3-Clause
// fuzz_folder_run.cpp -- the folder of a fit that somebody changed, as varokel-report reads it
//
// A fit of two lines in 64 points is run once, with its exact end. The bytes are edits of its
// files: a word, a number of a signal, an item of a JSON, a cut. The list of the fit's files is not
// there, or has them as the fit left them, or as they are now. What the readers let pass becomes
// rows of both tables, the page with the lines that an import took out, the picture and a ratio of
// areas with its error.
#include "edits.h"
#include "fuzz_reader.h"
#include "written_files.h"

#include "support/small_fit.h"

#include "files/base/tool_error.h"
#include "files/pages/report_curves.h"
#include "files/pages/report_page.h"
#include "files/problem/fit_folder.h"
#include "files/results/fit_list.h"
#include "files/results/judge_run.h"
#include "files/results/removed_signal.h"
#include "files/results/results_table.h"
#include "files/results/run_files.h"
#include "files/start/read_start_file.h"

#include "run/varokel.h"

#include <cmath>
#include <filesystem>
#include <map>

namespace fs = std::filesystem;
using fuzz::edit_bytes;
using fuzz::expect;
using fuzz::folder_files;

static const char *const sidecar =
    "{\"points\": 64, \"hz_per_point\": 2.0, \"dwell_time_s\": 0.0078125, \"spectrometer_mhz\": "
    "51.7, \"ppm_at_carrier\": 0.0, \"ppm_rises_with_points\": false, \"nucleus\": \"31P\", "
    "\"begin_time_s\": 0.001, \"echo_time_s\": 0.03, \"measured_points\": 60, \"source\": "
    "{\"file\": \"a.nii\", \"sha256\": \"x\"}, \"guessed\": [{\"item\": \"a\", \"value\": 1, "
    "\"reason\": \"b\"}], \"warnings\": [\"c\"], \"lines_removed\": {\"text\": \"d\", "
    "\"points\": 60, \"lines\": [{\"hz_from_carrier\": 3.0, \"width_hz\": 2.0, \"amplitude\": 9.0, "
    "\"phase_degrees\": 20.0}, {\"hz_from_carrier\": -5.0, \"width_hz\": 0.0, \"amplitude\": 0.5, "
    "\"phase_degrees\": -90.0}]}, \"reference_peak\": {\"text\": \"e\"}, \"noise_window\": "
    "{\"first\": 2, \"stop\": 12}}";

// A fit, its exact end, and everything that lies there then.
static folder_files whole_run() {
    support::write_small_fit({.verbose = 3, .patterns = true, .alignment = true});
    support::write_file("data.json", sidecar);
    support::write_file("names.txt", "one\ntwo\nthree\n");
    const std::string log = support::stdout_of(
        [] { fuzz::with_fresh_state([] { varokel("", "data.bin", "start.par"); }); });
    support::write_file("data.log", log);
    engine::model_workspace workspace;
    const tools::start_file start = tools::read_start_file("start.par");
    tools::finish_fit({".", "data"}, start, {}, workspace);
    folder_files files;
    for (const fs::directory_entry &each : fs::directory_iterator("."))
        files[each.path().filename().string()] = support::read_file(each.path().string());
    return files;
}

static bool is_signal(const std::string &name) {
    for (const char *ending : {".bin", ".org", ".fit", ".res", ".nln0", ".fit0", ".cor"})
        if (name.ends_with(ending)) return true;
    return false;
}

static void edit(folder_files &files, edit_bytes &bytes) {
    auto file = files.begin();
    std::advance(file, static_cast<std::ptrdiff_t>(bytes.below(files.size())));
    auto &[name, text] = *file;
    const std::size_t how = bytes.below(8);
    if (how == 0) return fuzz::edit_bytes_of(text, bytes);
    if (how == 1) {
        files.erase(file);
        return;
    }
    if (is_signal(name)) return fuzz::edit_number(text, bytes);
    if (name.ends_with(".json") && how < 6) {
        tools::ordered_json items = tools::ordered_json::parse_or_null(text);
        if (!items.is_structured()) return;
        fuzz::edit_json(items, bytes);
        text = items.dump_valid();
        return;
    }
    fuzz::edit_word(text, bytes);
}

// fit_files.sha256 of these files, as varokel-fit leaves it.
static std::string list_of(const folder_files &files) {
    static std::map<std::string, std::string> known; // digests by contents
    std::string list;
    for (const auto &[name, text] : files) {
        if (known.size() > 1000) known.clear();
        const auto [at, is_new] = known.try_emplace(text);
        if (is_new) at->second = tools::sha256_of(text);
        list += at->second + "  " + name + "\n";
    }
    return list;
}

static std::size_t count_of(const std::string &text, const std::string &word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != text.npos; at = text.find(word, at + 1)) ++count;
    return count;
}

// The page is 300 kB of scripts with some values, and takes ten times as long as all else.
static void check_page(const tools::reported_run &reported) {
    if (reported.run.fitted) expect(tools::report_picture(reported.run).ends_with("</svg>\n"));
    tools::report_page page(1);
    page.add(reported);
    const std::string text = page.text();
    expect(text.ends_with("</html>\n") && tools::utf8_fault(text) == std::string::npos);
    static std::map<bool, std::size_t> scripts; // of a fit and of none: alike for any texts in it
    const auto [known, is_new] =
        scripts.try_emplace(reported.run.fitted, count_of(text, "<script"));
    expect(is_new || count_of(text, "<script") == known->second);
}

static void check(const tools::run_result &run, bool with_page) {
    const std::string rows = tools::results_rows(run), quality = tools::quality_row(run);
    const auto lines = static_cast<std::size_t>(std::count(rows.begin(), rows.end(), '\n'));
    expect(lines == std::max<std::size_t>(1, run.entries.size()));
    const std::string header = tools::results_header();
    expect(std::count(rows.begin(), rows.end(), '\t') ==
           static_cast<std::ptrdiff_t>(lines) * std::count(header.begin(), header.end(), '\t'));
    expect(std::count(quality.begin(), quality.end(), '\n') == 1);
    expect(tools::utf8_fault(rows + quality) == std::string::npos);
    tools::reported_run reported{run, {}};
    if (run.fitted) {
        for (const tools::fitted_entry &entry : run.entries)
            expect(std::isfinite(entry.area.value) && std::isfinite(entry.frequency.value));
        if (run.entries.size() >= 2)
            reported.derived.push_back(tools::derive_area(run, "ratio=#1/#2"));
    }
    if (with_page) check_page(reported);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    static const folder_files whole = whole_run();
    static const bool written = (fuzz::files_there() = whole, true);
    static const std::string whole_list = list_of(whole);
    folder_files files = whole;
    edit_bytes bytes(data, size);
    const std::size_t listed = bytes.below(8); // digests take half of the time
    const bool edited = bytes.more();
    if (listed == 1) files[tools::fit_list_name] = whole_list; // the files then
    const bool with_page = fuzz::one_of_64(data, size);
    for (int edits = 0; bytes.more() && edits < 8; ++edits)
        if (!files.empty()) edit(files, bytes);
    if (listed == 2) files[tools::fit_list_name] = list_of(files); // the files now
    fuzz::write_changed(files);
    try {
        tools::result_options options;
        options.hashes = false;
        const tools::run_result run = tools::read_run(".", "data", options);
        expect(written);
        expect(edited || (run.fitted && run.optimum && run.why_not.empty()));
        const std::size_t removed = tools::removed_signal(run).size();
        expect(removed == run.data.size() || (edited && removed == 0));
        check(run, with_page);
    } catch (const tools::tool_error &error) {
        expect(edited && error.status() == tools::bad_input);
    }
    return 0;
}
