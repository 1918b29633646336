// SPDX-License-Identifier: BSD-3-Clause
// varokel_bids.cpp -- fits the NIfTI-MRS files of a BIDS data set, results as BIDS derivatives
//
//   varokel-bids bids_dir output_dir participant [--participant-label 01 02]
//
// Reads sub-*/[ses-*/]mrs/*_svs.nii.gz and *_mrsi.nii.gz (or .nii). The data set is never written
// to: it may be mounted read-only.
#include "files/base/input_file.h"
#include "files/base/ordered_json.h"
#include "files/base/output_file.h"
#include "files/base/own_folder.h"
#include "files/base/part_file.h"
#include "files/base/plain_text.h"
#include "files/base/read_json.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"

#include "common/command_line.h"
#include "varokel-batch/batch_options.h"
#include "varokel-batch/bids_names.h"
#include "varokel-batch/merge_batch.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include <unistd.h>

using tools::tool_error;
namespace fs = std::filesystem;

struct bids_options {
    std::string data_set, output, level;
    std::vector<std::string> labels, sessions;
    tools::plan_options plan; // alike for all files
    tools::run_options run;
    bool force = false, resume = false;
};

static void write_json(const fs::path &name, const tools::ordered_json &items) {
    tools::write_files({{name.string(), tools::json_text(items, 2, name.string()) + "\n"}}, {},
                       true);
}

// Errors: bad_input, bad_output.
static void copy_bytes(const fs::path &from, const fs::path &to) {
    std::ifstream stream = tools::open_input(from.string());
    if (!stream) throw tool_error(tools::bad_input, from.string() + ": cannot be read");
    tools::part_file written(to.string());
    std::string piece(1 << 16, '\0');
    while (stream) {
        stream.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        written.add(std::string_view(piece).substr(0, static_cast<std::size_t>(stream.gcount())));
    }
    if (stream.bad()) throw tool_error(tools::bad_input, from.string() + ": cannot be read");
    written.finish();
}

// The folder of a participant's derivatives below the output, made step by step: a link on the way
// could lead into the data set.
static fs::path folder_in_output(const bids_options &own, const fs::path &relative) {
    fs::path target(own.output);
    std::error_code error;
    for (const fs::path &part : relative) {
        if (part == "." || part == ".." || !tools::is_plain_name(part.string()))
            throw tool_error(tools::bad_input, relative.string() +
                                                   ": not the place of a measurement in a data "
                                                   "set; expected sub-*/[ses-*/]mrs");
        target /= part;
        fs::create_directory(target, error);
        if (fs::symlink_status(target, error).type() != fs::file_type::directory)
            throw tool_error(tools::bad_output, target.string() +
                                                    ": cannot be made, or is no folder but a link; "
                                                    "choose another output folder");
    }
    return target;
}

static void describe_output(const bids_options &own) {
    tools::ordered_json items;
    items["Name"] = "varokel: areas, frequencies, widths and phases of fitted lines";
    items["BIDSVersion"] = "1.10.0"; // the first with the mrs data type
    items["DatasetType"] = "derivative";
    tools::ordered_json program = {{"Name", "varokel"}, {"Version", VAROKEL_VERSION}};
    if (const char *const image = std::getenv("VAROKEL_CONTAINER"); image != nullptr)
        program["Container"] = {{"Type", "oci"}, {"Tag", image}};
    items["GeneratedBy"] = tools::ordered_json::array({program});
    // where the data set lies on this machine is nobody's business
    const tools::ordered_json source =
        tools::json_of_file((fs::path(own.data_set) / "dataset_description.json").string());
    if (source.is_object() && source.contains("DatasetDOI") && source["DatasetDOI"].is_string())
        items["SourceDatasets"] = {{{"DOI", source["DatasetDOI"]}}};
    write_json(fs::path(own.output) / "dataset_description.json", items);
}

// What a map holds, from its file name in maps/.
static std::string label_of_map(const std::string &stem) {
    // entities of BIDS are letters and digits only
    std::string label;
    bool upper = false;
    for (const char c : stem) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) {
            upper = true;
            continue;
        }
        label += upper ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
        upper = false;
    }
    return label;
}

// The same for all maps of a folder, in the order of their names: where two would be called alike
// ("Cr+PCr" and "CrPCr"), the later ones have a number behind.
static std::map<std::string, std::string> labels_of_maps(const fs::path &folder) {
    std::set<std::string> stems, taken;
    std::error_code error;
    for (const fs::directory_entry &map : fs::directory_iterator(folder, error)) {
        const std::string name = map.path().filename().string();
        stems.insert(name.substr(0, name.find(".nii")));
    }
    std::map<std::string, std::string> labels;
    for (const std::string &stem : stems) {
        std::string label = label_of_map(stem);
        for (int number = 2; !taken.insert(label).second; ++number)
            label = label_of_map(stem) + "x" + std::to_string(number);
        labels[stem] = label;
    }
    return labels;
}

// Derivatives of the measurement that this fit did not write: of entries that an earlier one had.
static void name_leftovers(const fs::path &target, const tools::measured_name &parts,
                           const std::set<fs::path> &written) {
    std::error_code error;
    for (const fs::directory_entry &each : fs::directory_iterator(target, error)) {
        const std::string name = each.path().filename().string();
        const std::string ending = "_" + parts.suffix;
        const std::size_t dot = name.find('.');
        if (!name.starts_with(parts.base + "_desc-") || dot == name.npos ||
            !name.substr(0, dot).ends_with(ending) || written.contains(each.path()))
            continue;
        std::cerr << "varokel-bids: " << each.path().string()
                  << ": is of an earlier fit, not of this one\n";
    }
}

// What derivatives are made of, and how: beside them, and what --resume compares.
static tools::ordered_json made_from(const bids_options &own, const fs::path &relative,
                                     const fs::path &file) {
    tools::ordered_json about;
    about["Sources"] = {"bids:raw:" + (relative / file.filename()).generic_string()};
    about["SourceSHA256"] = tools::sha256_of_file(file.string());
    about["StartValues"] = own.plan.values;
    about["Method"] = own.plan.method;
    if (!own.plan.start.empty()) about["StartFileSHA256"] = tools::sha256_of_file(own.plan.start);
    if (!own.plan.peaks.empty()) about["PeaksSHA256"] = tools::sha256_of_file(own.plan.peaks);
    if (!own.plan.names.empty()) about["NamesSHA256"] = tools::sha256_of_file(own.plan.names);
    if (!own.plan.input.choice.average.empty())
        about["AveragedOver"] = own.plan.input.choice.average;
    if (!own.plan.input.choice.index.empty()) about["Index"] = own.plan.input.choice.index;
    return about;
}

// Whether the derivatives of a table are there, and made from these. Errors: bad_output when they
// are, but of something else.
static bool is_done(const fs::path &table, const tools::ordered_json &about) {
    std::error_code error;
    if (!fs::exists(table, error)) return false;
    fs::path sidecar = table;
    sidecar.replace_extension(".json");
    const tools::ordered_json there = tools::json_of_file(sidecar.string());
    for (const auto &[item, value] : about.items())
        if (!there.is_object() || !there.contains(item) || there[item] != value)
            throw tool_error(tools::bad_output, table.string() + ": was made with another " + item +
                                                    "; --force replaces it");
    return true;
}

// Plans, fits and merges in a folder of its own. What the steps print is about places that are gone
// at the end: it is not shown. Returns the exit status.
static int fit_batch(const tools::plan_options &plan, const tools::run_options &run) {
    std::ostringstream said;
    std::streambuf *const shown = std::cout.rdbuf(said.rdbuf());
    try {
        tools::make_plan(plan);
        int status = tools::run_batch(run);
        if (status <= tools::different)
            status = std::max(status, tools::merge_batch({plan.folder, {}, false}));
        std::cout.rdbuf(shown);
        return status;
    } catch (...) {
        std::cout.rdbuf(shown);
        throw;
    }
}

// The files of a batch as derivatives of a measurement; the table last: it says that all are there.
static void put_derivatives(const fs::path &run, const fs::path &target,
                            const tools::measured_name &parts, const tools::ordered_json &about,
                            const std::string &name) {
    std::error_code error;
    std::set<fs::path> written;
    const auto put = [&](const fs::path &from, const std::string &description,
                         const std::string &extension) {
        if (!fs::exists(from, error)) return;
        const fs::path to = target / parts.derivative(description, extension);
        copy_bytes(from, to);
        written.insert(to);
        std::cout << to.string() << '\n';
    };
    // the table of an earlier fit says that all are there, and they are about to be replaced
    fs::remove(target / parts.derivative("fit", ".tsv"), error);
    // columns of the table, and what it was made of
    const tools::ordered_json columns = tools::json_of_file((run / "results.json").string());
    tools::ordered_json with_source = about;
    with_source.update(columns);
    write_json(run / "results.json", with_source);
    put(run / "quality.tsv", "quality", ".tsv");
    put(run / "quality.json", "quality", ".json");
    put(run / "start.par", "start", ".par");
    for (const auto &[stem, label] : labels_of_maps(run / "maps")) {
        tools::ordered_json items = about;
        items["Description"] = stem + " of the fit of " + name;
        put(run / "maps" / (stem + ".nii.gz"), label, ".nii.gz");
        const fs::path beside = target / parts.derivative(label, ".json");
        write_json(beside, items);
        written.insert(beside);
    }
    put(run / "results.json", "fit", ".json");
    put(run / "results.tsv", "fit", ".tsv");
    name_leftovers(target, parts, written);
}

static int fit_one(const bids_options &own, const fs::path &file) {
    const std::string name = file.filename().string();
    const tools::measured_name parts = tools::parts_of(file);
    // by its names, not by where links on the way lead
    const fs::path relative = file.parent_path().lexically_relative(own.data_set);
    const fs::path target = folder_in_output(own, relative);
    std::error_code error;
    const fs::path table = target / parts.derivative("fit", ".tsv");
    tools::ordered_json about = made_from(own, relative, file);
    if (own.resume && is_done(table, about)) return tools::all_right;
    if (fs::exists(table, error) && !own.force)
        throw tool_error(tools::bad_output, table.string() + ": exists; --force replaces it, "
                                                             "--resume does what is missing");
    const std::string place = tools::scratch_place(own.run.scratch);
    const std::string purpose = "bids for " + tools::identity_of(target.string()).text();
    tools::remove_leftovers(place, "varokel-bids.", purpose);
    const tools::own_folder work(place, "varokel-bids.", purpose);

    // The copy is ours: the data set may be mounted read-only.
    const std::string copy = work.name() + "/" + name;
    copy_bytes(file, copy);
    tools::plan_options plan = own.plan;
    plan.input.input = copy;
    plan.folder = work.name() + "/run";
    plan.keep = "none";
    tools::run_options run = own.run;
    run.folder = plan.folder;
    run.scratch = work.name();
    const int status = fit_batch(plan, run);
    if (status > tools::different) return status; // a signal

    about["Description"] = "Lines and patterns fitted to " + name;
    if (about["SourceSHA256"] != tools::sha256_of_file(copy))
        throw tool_error(tools::bad_input, file.string() + ": was changed while it was fitted");
    put_derivatives(plan.folder, target, parts, about, name);
    return status;
}

static void add_bids_options(tools::option_parser &app, bids_options &own) {
    app.add_option("bids_dir", own.data_set, "top folder of the data set; never written to")
        ->required();
    app.add_option("output_dir", own.output, "folder for the derivatives")->required();
    app.add_option("analysis_level", own.level, "participant", tools::one_of({"participant"}))
        ->required();
    app.add_option("--participant-label,--participant_label LABEL", own.labels,
                   "participants, with or without sub- (default: all)")
        ->takes_several();
    app.add_option("--session-label,--session_label LABEL", own.sessions,
                   "sessions, with or without ses- (default: all)")
        ->takes_several();
    tools::add_model_options(app, own.plan);
    app.add_option("--average DIM", own.plan.input.choice.average,
                   "take the mean over this dimension");
    app.add_option("--index DIM=I", own.plan.input.choice.index,
                   "which FID of several, DIM=I (default: all)");
    tools::add_work_options(app, own.run, "-j,--workers,--n_cpus");
    app.add_flag(
        "--resume", own.resume,
        "keep derivatives that are there and were made from the same files in the same way");
    app.add_flag("--force", own.force, "replace derivatives that are there");
    tools::common_options(app,
                          "  varokel-bids /data /data/derivatives/varokel participant "
                          "--start start.par \\\n      --participant-label 01",
                          "0 all right, 1 some fits failed");
}

// All measurements of the data set; one that cannot be read does not end the others. Returns the
// exit status.
static int fit_all(const bids_options &own) {
    if (own.force && own.resume)
        throw tool_error(tools::wrong_usage, "--force and --resume exclude each other");
    const std::vector<fs::path> files = tools::measurements(own.data_set, own.labels, own.sessions);
    std::error_code error;
    fs::create_directories(own.output, error);
    if (!fs::is_directory(own.output, error))
        throw tool_error(tools::bad_output, own.output + ": cannot be made; is its folder yours?");
    describe_output(own);
    int status = tools::all_right;
    std::map<fs::path, int> of_one_name;
    for (const fs::path &file : files) ++of_one_name[tools::shared_name(file)];
    for (const fs::path &file : files) {
        int own_status = tools::all_right;
        try {
            if (of_one_name[tools::shared_name(file)] > 1)
                throw tool_error(tools::bad_input,
                                 "there is a .nii and a .nii.gz of this name, and one name for "
                                 "the results of both; expected one of them");
            own_status = fit_one(own, file);
        } catch (const tool_error &fault) { // the others of the data set go on
            if (fault.status() != tools::bad_input || files.size() == 1) throw;
            std::cerr << "varokel-bids: " << file.string() << ": " << fault.what() << '\n';
            own_status = tools::different;
        }
        if (own_status > tools::different) return own_status;
        status = std::max(status, own_status);
    }
    return status;
}

int main(int argc, char **argv) {
    bids_options own;
    tools::option_parser app(
        "Fits the NIfTI-MRS files of a BIDS data set, one start file or table of peaks "
        "for all, and writes the\nresults as BIDS derivatives.",
        "varokel-bids");
    add_bids_options(app, own);
    return tools::run_tool(app, argc, argv, [&] { return fit_all(own); });
}
