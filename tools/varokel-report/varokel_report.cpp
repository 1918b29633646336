// SPDX-License-Identifier: BSD-3-Clause
// varokel_report.cpp -- page, tables, picture and NIfTI-MRS of the fits in a folder
#include "files/base/output_file.h"
#include "files/base/tool_error.h"
#include "files/batch/derived_batch.h"
#include "files/nifti/write_nifti_mrs.h"
#include "files/results/amounts.h"
#include "files/results/judge_run.h"
#include "files/results/number_text.h"
#include "files/results/results_table.h"
#include "files/batch/fit_record.h"
#include "files/pages/overview_page.h"
#include "files/pages/report_curves.h"
#include "files/pages/report_page.h"
#include "files/pages/page_frame.h"
#include "common/command_line.h"
#include "varokel-report/region_labels.h"
#include "varokel-report/report_places.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>

#include <unistd.h>

namespace fs = std::filesystem;
using tools::report_place;
using tools::reported_run;
using tools::run_result;
using tools::tool_error;

struct report_options {
    std::string folder, output, regions; // regions: mask of a batch
    std::vector<std::string> spectra, derive;
    tools::result_options files;
    bool nifti = true, force = false, judgement = false;
    long long one_file_up_to = tools::default_one_file_up_to;
};

// A spectrum whose files cannot be read must not hide the others.
static run_result read_or_say_why(const report_place &place, const report_options &options,
                                  bool alone) {
    try {
        return tools::read_run(place.folder, place.name, options.files);
    } catch (const tool_error &error) {
        if (alone || error.status() != tools::bad_input) throw;
        run_result run;
        run.folder = place.folder;
        run.name = place.name;
        run.why_not = error.what();
        tools::judge_run(run);
        return run;
    }
}

static double from_sidecar(const run_result &run, const char *item) {
    const auto found = run.sidecar.find(item);
    return found != run.sidecar.end() && found->is_number() ? found->get<double>() : std::nan("");
}

// Fit, residual and components as FIDs; nothing when the sidecar lacks what the format requires.
static void add_nifti(const run_result &run, const std::string &stem,
                      std::vector<tools::output_file> &files, std::string &why_not) {
    const double dwell_time = from_sidecar(run, "dwell_time_s");
    if (!(dwell_time > 0.0) || !run.axis.mhz || run.axis.nucleus.empty()) {
        why_not = "dwell_time_s, spectrometer_mhz and nucleus must stand in " + run.name + ".json";
        return;
    }
    const auto n = static_cast<long long>(run.data.size());
    const auto image_of = [&](const std::vector<const tools::complex_signal *> &spectra,
                              const std::vector<tools::nifti_mrs_dimension> &dimensions,
                              const char *what) {
        tools::nifti_mrs_image image({}, n, dimensions);
        image.dwell_time = dwell_time;
        image.mhz = *run.axis.mhz;
        image.nucleus = run.axis.nucleus;
        const double begin = from_sidecar(run, "begin_time_s");
        if (std::isfinite(begin)) image.begin_time = begin;
        const double echo = from_sidecar(run, "echo_time_s");
        if (std::isfinite(echo)) image.echo_time = echo;
        image.ppm_at_carrier = run.axis.ppm_at_carrier;
        image.description = std::string("varokel-report: ") + what;
        for (std::size_t k = 0; k < spectra.size(); ++k)
            image.set_fid(
                0, static_cast<long long>(k),
                tools::nifti_fid_of_spectrum(*spectra[k], run.axis.ppm_rises_with_points));
        return tools::nifti_mrs_bytes(image, true);
    };
    files.push_back({stem + "fit.nii.gz", image_of({&run.fit}, {}, "fit")});
    files.push_back({stem + "residual.nii.gz", image_of({&run.residual}, {}, "residual")});
    if (run.components.empty()) return;
    std::vector<const tools::complex_signal *> components;
    tools::ordered_json names = tools::ordered_json::array();
    for (std::size_t k = 0; k < run.components.size(); ++k) {
        components.push_back(&run.components[k]);
        names.push_back(run.entries[k].name);
    }
    tools::nifti_mrs_dimension dimension;
    dimension.tag = "DIM_USER_0";
    dimension.size = static_cast<long long>(components.size());
    dimension.info = "entries of the fitted model";
    dimension.header = {
        {"EntryName", {{"Value", names}, {"Description", "name of the entry of the model"}}}};
    files.push_back({stem + "components.nii.gz", image_of(components, {dimension}, "components")});
}

// What is derived here joins what merge derived, in the table as on the page.
static void derive_more(tools::batch_view &batch, const report_options &options,
                        const std::string &output, std::vector<std::string> &written) {
    const tools::batch_plan plan = tools::read_plan(options.folder);
    const tools::plan_lines lines(plan);
    tools::all_parts parts(plan, lines);
    // those of the plan are among the ones that merge derived
    const std::vector<tools::derived_column> columns =
        tools::derive_batch(plan, lines, parts,
                            tools::expressions_of(plan, {{plan.file("derived.tsv"), batch.derived},
                                                         {"", options.derive}}));
    for (const tools::derived_column &column : columns) {
        std::erase_if(batch.further, [&](const tools::batch_column &other) {
            return other.name == column.name && !other.errors.empty();
        });
        batch.further.push_back({column.name, column.unit, column.values, column.errors});
    }
    const std::string names[] = {(fs::path(output) / "derived.tsv").string(),
                                 (fs::path(output) / "derived.json").string()};
    tools::write_files({{names[0], tools::derived_table(plan, lines, columns)},
                        {names[1], tools::derived_dictionary(tools::table_shape_of(plan))}},
                       {}, options.force);
    written.insert(written.end(), std::begin(names), std::end(names));
}

static int write_batch(const report_options &options) {
    if (!options.spectra.empty())
        throw tool_error(tools::wrong_usage, options.folder + ": a batch; --spectrum is for the "
                                                              "folders of single fits");
    tools::batch_view batch(options.folder);
    const std::string output = options.output.empty() ? options.folder : options.output;
    if (!options.regions.empty()) {
        batch.regions = tools::region_labels(batch, options.regions);
        batch.files_read.push_back(options.regions);
    }
    std::vector<std::string> written;
    if (!options.derive.empty()) derive_more(batch, options, output, written);
    tools::write_overview(batch, output, options.one_file_up_to, options.force, written);
    for (const std::string &name : written) std::cout << name << '\n';
    const auto failed =
        std::count_if(batch.spectra.begin(), batch.spectra.end(),
                      [](const tools::batch_spectrum &s) { return s.status == "not_fitted"; });
    if (failed > 0)
        std::cerr << "varokel-report: " << failed << " of " << batch.spectra.size()
                  << " spectra not fitted\n";
    // voxels outside of the body hold zeros: that these have no fit is as it should be
    const auto without_signal = std::count_if(
        batch.spectra.begin(), batch.spectra.end(), [](const tools::batch_spectrum &s) {
            return s.status == "not_fitted" && s.reason == tools::reason_all_zero;
        });
    return failed > without_signal ? tools::different : tools::all_right;
}

// Files of the spectra, NAME.* in their folders, that may be read for the report: none of them may
// be overwritten. Each folder is listed once, however many spectra are in it.
static void add_inputs(const std::vector<report_place> &places, std::vector<std::string> &inputs) {
    static const char *const own[] = {".html", ".tsv", ".svg", ".nii.gz"};
    std::map<std::string, std::set<std::string>> names_in;
    for (const report_place &place : places) names_in[place.folder].insert(place.name);
    std::error_code error;
    for (const auto &[folder, names] : names_in)
        for (const fs::directory_entry &file : fs::directory_iterator(folder, error)) {
            const std::string name = file.path().filename().string();
            if (std::any_of(std::begin(own), std::end(own),
                            [&](const char *ending) { return name.ends_with(ending); }))
                continue;
            bool of_a_spectrum = false; // names may have points themselves
            for (std::size_t dot = name.find('.'); dot != name.npos && !of_a_spectrum;
                 dot = name.find('.', dot + 1))
                of_a_spectrum = names.contains(name.substr(0, dot));
            if (of_a_spectrum) inputs.push_back(file.path().string());
        }
}

// The judgement of each fit as JSON on standard output; no file is written.
static int print_judgements(report_options options) {
    options.files.quality_before = options.files.hashes = false;
    const auto places = tools::report_places(options.folder, options.spectra);
    tools::ordered_json all = tools::ordered_json::array();
    bool failed = false;
    for (const report_place &place : places) {
        const run_result run = read_or_say_why(place, options, places.size() == 1);
        const tools::fit_judgement &judged = run.judgement;
        failed = failed || judged.status == tools::fit_status::not_fitted;
        tools::ordered_json one = {{"spectrum", place.shown},
                                   {"status", tools::status_text(judged.status)},
                                   {"level", tools::level_text(judged.level())},
                                   {"reason", judged.reason},
                                   {"findings", tools::ordered_json::array()}};
        for (const tools::finding &each : judged.findings)
            one["findings"].push_back({{"kind", tools::finding_text(each.kind)},
                                       {"level", tools::level_text(each.level)},
                                       {"text", tools::valid_text(each.text)},
                                       {"entries", each.entries}});
        all.push_back(std::move(one));
    }
    std::cout << all.dump(2) << '\n';
    return failed ? tools::different : tools::all_right;
}

static std::vector<std::string> inputs_of(const report_options &options,
                                          const std::vector<report_place> &places) {
    std::vector<std::string> inputs = {options.files.names_file, options.files.start_file,
                                       options.files.log_file};
    add_inputs(places, inputs);
    return inputs;
}

namespace {

// Page, tables and files of the fits, which come one at a time: the signals of many need much
// storage.
class folder_report {
  public:
    folder_report(const report_options &options, const std::vector<report_place> &places)
        : options_(options), alone_(places.size() == 1),
          output_(options.output.empty() ? options.folder : options.output),
          inputs_(inputs_of(options, places)), files_(inputs_, options.force),
          page_(places.size()) {
        for (const char *const name :
             {"report.html", "results.tsv", "results.json", "quality.tsv", "quality.json"})
            files_.refuse_overwriting(in_output(name)); // before the long work
    }

    void add(const report_place &place) {
        reported_run reported{read_or_say_why(place, options_, alone_), {}, {}};
        run_result &run = reported.run;
        reported.derived = tools::derived_of(run, options_.derive);
        any_derived_ = any_derived_ || !reported.derived.empty();
        if (run.judgement.status == tools::fit_status::not_fitted) ++failed_;
        inputs_.insert(inputs_.end(), run.files_read.begin(), run.files_read.end());
        run.name = place.shown; // behind all that is read by its name
        run.provenance.push_back({"report", "varokel-report " VAROKEL_VERSION});
        if (run.fitted) reported.picture = tools::report_picture(run);
        page_.add(reported);
        results_ += tools::results_rows(run);
        quality_ += tools::quality_row(run);
        for (const tools::derived_area &d : reported.derived)
            derived_ += tools::derived_row(run.name, d);
        if (run.fitted) write_signals(reported);
    }

    // Writes all and returns the names of the files.
    std::vector<std::string> finish() {
        write({in_output("results.tsv"), results_});
        write({in_output("results.json"), tools::results_dictionary()});
        write({in_output("quality.tsv"), quality_});
        write({in_output("quality.json"), tools::quality_dictionary()});
        if (!options_.derive.empty() || any_derived_) {
            write({in_output("derived.tsv"), derived_});
            write({in_output("derived.json"), tools::derived_dictionary()});
        } else if (fs::exists(in_output("derived.tsv"))) { // whose it is cannot be told from it
            std::cerr << "varokel-report: " << in_output("derived.tsv")
                      << " stays as an earlier report left it; --derive makes it anew\n";
        }
        write({in_output("report.html"), page_.text()});
        const tools::output_batch all_inputs(inputs_, true);
        for (const std::string &name : written_) all_inputs.refuse_overwriting(name);
        files_.commit();
        std::rotate(written_.begin(), written_.end() - 1, written_.end()); // what is opened first
        return written_;
    }

    std::size_t failed() const { return failed_; }

  private:
    std::string in_output(const std::string &name) const {
        return (fs::path(output_) / name).string();
    }
    void write(const tools::output_file &file) {
        files_.add(file);
        written_.push_back(file.name);
    }
    // Picture and images of a fit.
    void write_signals(const reported_run &reported) {
        const run_result &run = reported.run;
        const std::string stem = in_output(alone_ ? "" : run.name + ".");
        write({stem + "fit.svg", reported.picture});
        if (!options_.nifti) return;
        std::vector<tools::output_file> images;
        std::string why_not;
        add_nifti(run, stem, images, why_not);
        for (const tools::output_file &image : images) write(image);
        if (!why_not.empty())
            std::cerr << "varokel-report: " << run.name << ": no NIfTI-MRS: " << why_not << '\n';
    }

    const report_options &options_;
    bool alone_;
    std::string output_;
    std::vector<std::string> inputs_, written_;
    tools::output_batch files_;
    tools::report_page page_;
    std::string results_ = tools::results_header(), quality_ = tools::quality_header(),
                derived_ = tools::derived_header();
    std::size_t failed_ = 0;
    bool any_derived_ = false;
};

} // namespace

static int write_report(report_options options) {
    tools::fit_lists lists;
    options.files.lists = &lists;
    if (options.judgement) return print_judgements(options);
    if (tools::is_batch(options.folder)) return write_batch(options);
    const auto places = tools::report_places(options.folder, options.spectra);
    folder_report report(options, places);
    const bool progress = places.size() > 20 && isatty(STDERR_FILENO) != 0;
    std::size_t done = 0;
    for (const report_place &place : places) {
        report.add(place);
        if (progress) std::cerr << '\r' << ++done << " of " << places.size() << " read";
    }
    if (progress) std::cerr << '\n';
    for (const std::string &name : report.finish()) std::cout << name << '\n';
    if (report.failed() > 0)
        std::cerr << "varokel-report: " << report.failed() << " of " << places.size()
                  << (places.size() == 1 ? " spectrum" : " spectra") << " not fitted\n";
    return report.failed() > 0 ? tools::different : tools::all_right;
}

int main(int argc, char **argv) {
    report_options options;
    tools::option_parser app(
        "Reports the fits in a folder: report.html (one page that loads nothing), "
        "results.tsv and quality.tsv\nwith JSON that describes their columns, fit.svg, and "
        "fit, residual and components as NIfTI-MRS. Of a batch: overview.html, with maps or time "
        "courses.",
        "varokel-report");
    app.add_option("FOLDER", options.folder, "folder of a fit, or of folders of fits")->required();
    app.add_option("-o,--output FOLDER", options.output, "folder for the report (default: FOLDER)");
    app.add_option("--spectrum NAME", options.spectra, "only this spectrum; may be repeated")
        ->takes_several();
    app.add_option("--derive EXPR", options.derive,
                   "sum, difference, product or ratio of areas with its error, as in "
                   "\"PDE=GPE+GPC\" or \"PCr/gATP\"; may be repeated")
        ->takes_several();
    app.add_option("--names FILE", options.files.names_file,
                   "names of the entries, one a line (default: names.txt beside the results)");
    app.add_option("--start FILE", options.files.start_file,
                   "start file of the fit (default: the one that the results name)");
    app.add_option("--log FILE", options.files.log_file,
                   "what the fit printed (default: NAME.log or run.log)");
    app.add_flag("!--no-nifti", options.nifti, "no NIfTI-MRS files");
    app.add_option("--regions FILE", options.regions,
                   "NIfTI image of labels on the grid of a batch: the overview gives medians and "
                   "spreads for each");
    app.add_option("--one-file-up-to N", options.one_file_up_to,
                   "spectra of a batch whose overview is one file; beyond, curves stand in files "
                   "beside the page",
                   tools::not_negative_number)
        ->show_default();
    app.add_flag("--judgement", options.judgement,
                 "print status and warnings of each fit as JSON, and write nothing");
    app.add_flag("--force", options.force, "replace existing files");
    tools::common_options(app, "  varokel-report run --derive \"PCr/gATP\"",
                          "0 all right, 1 a spectrum was not fitted");
    return tools::run_tool(app, argc, argv, [&] { return write_report(options); });
}
