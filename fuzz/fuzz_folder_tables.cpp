// SPDX-License-Identifier: BSD-3-Clause
// fuzz_folder_tables.cpp -- the tables of a merged batch that somebody changed, as the overview
// reads them
//
// results.tsv, quality.tsv, pictures.tsv and the curves of four spectra; the bytes are edits of
// them. Values that come out belong to spectra and entries of the plan, and what is written holds
// no markup but its own.
#include "batch_folder.h"
#include "edits.h"

#include "files/base/tool_error.h"
#include "files/batch/batch_table.h"
#include "files/batch/batch_view.h"
#include "files/pages/overview_page.h"

#include <cmath>
#include <filesystem>
#include <map>

namespace fs = std::filesystem;
using fuzz::edit_bytes;
using fuzz::expect;
using fuzz::folder_files;

static const char *const names[] = {"results.tsv", "quality.tsv", "pictures.tsv", "pictures.f32",
                                    "spectra.f32"};

// Beside them stay the files of the batch.
static folder_files with_batch(const folder_files &tables) {
    static const folder_files batch = fuzz::files_there();
    folder_files all = batch;
    all.insert(tables.begin(), tables.end());
    return all;
}

// Writes the folder and its tables, as merge does.
static folder_files whole_tables() {
    fuzz::batch_folder batch = fuzz::whole_folder();
    fuzz::write_folder(batch, 0);
    const tools::batch_plan plan = tools::read_plan(".");
    const tools::plan_lines lines(plan);
    const tools::batch_table table(plan);
    folder_files files;
    files["results.tsv"] = tools::results_header(tools::table_shape_of(plan));
    files["quality.tsv"] = tools::quality_header(tools::table_shape_of(plan));
    files["pictures.tsv"] = "row\tnumber\tspectrum\tfit_quality\n";
    for (long long line = 0; line < plan.spectra; ++line) {
        const tools::planned_spectrum spectrum = lines.read(line);
        tools::fit_record record = tools::record_without_fit(
            line, line < 3 ? tools::fit_state::fitted : tools::fit_state::failed, "as it should be",
            fuzz::entries);
        record.figures = {1.0 + static_cast<double>(line), 1.0, 1.0, 3.0, 2.0, 2.0, 1.0};
        std::fill(record.values.begin(), record.values.end(), 1.5);
        std::fill(record.errors.begin(), record.errors.end(), 0.5);
        const tools::batch_rows rows = table.rows_of(spectrum, record);
        files["results.tsv"] += rows.results;
        files["quality.tsv"] += rows.quality;
        const std::string curve = fuzz::curve_of(line).substr(sizeof(tools::curve_head));
        files["spectra.f32"] += curve;
        if (line >= 2) continue;
        files["pictures.f32"] += curve;
        files["pictures.tsv"] +=
            std::to_string(line) + "\t" + std::to_string(line) + "\t" + spectrum.name + "\t1.0\n";
    }
    fuzz::write_changed(with_batch(files));
    return files;
}

static void edit(folder_files &files, edit_bytes &bytes) {
    const auto file = files.find(names[bytes.below(std::size(names))]);
    if (file == files.end()) return;
    const std::size_t how = bytes.below(8);
    if (how == 0) return fuzz::edit_bytes_of(file->second, bytes);
    if (how == 1) {
        files.erase(file);
        return;
    }
    if (file->first.ends_with(".f32")) return fuzz::edit_number(file->second, bytes);
    if (how == 2) {
        fuzz::edit_line(file->second, bytes);
        return;
    }
    fuzz::edit_word(file->second, bytes);
}

static std::size_t count_of(const std::string &text, const std::string &word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != text.npos; at = text.find(word, at + 1)) ++count;
    return count;
}

static void check(const tools::batch_view &batch, bool with_page) {
    expect(batch.spectra.size() == fuzz::spectra && batch.entries.size() == fuzz::entries);
    for (std::size_t i = 0; i < batch.spectra.size(); ++i) {
        for (std::size_t k = 0; k < batch.entries.size(); ++k)
            static_cast<void>(batch.warnings_of(i, k));
        if (const auto fit = batch.fit_of(i)) expect(fit->size() == fuzz::points);
        expect(std::isfinite(batch.phase_of(i)));
    }
    if (!with_page) return;
    std::vector<std::string> written;
    tools::write_overview(batch, ".", 1000, true, written);
    const std::string page = support::read_file("overview.html");
    static const std::size_t scripts = count_of(page, "<script");
    expect(count_of(page, "<script") == scripts);
    expect(tools::utf8_fault(page) == std::string::npos);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > fuzz::largest_input) return 0;
    fuzz::enter_folder();
    static const folder_files whole = whole_tables();
    static bool first = true;
    if (first) check(tools::batch_view("."), true); // as the program leaves it
    first = false;
    folder_files files = whole;
    edit_bytes bytes(data, size);
    const bool with_page = fuzz::one_of_64(data, size);
    for (int edits = 0; bytes.more() && edits < 8; ++edits) edit(files, bytes);
    fuzz::write_changed(with_batch(files));
    try {
        check(tools::batch_view("."), with_page);
    } catch (const tools::tool_error &error) {
        expect(error.status() == tools::bad_input);
    }
    return 0;
}
