// SPDX-License-Identifier: BSD-3-Clause
// make_plan.cpp -- from an input with many spectra to the folder that a batch works on
#include "varokel-batch/make_plan.h"

#include "files/base/file_identity.h"
#include "files/base/output_file.h"
#include "files/base/read_json.h"
#include "files/base/tool_error.h"
#include "files/nifti/grid_maps.h"

#include "varokel-batch/plan_folder.h"
#include "varokel-batch/spectrum_blocks.h"
#include "varokel-batch/write_manifest.h"

#include <filesystem>
#include <iostream>

namespace tools {

namespace fs = std::filesystem;

static void refuse_usage(const plan_options &options) {
    const auto refuse = [](const char *text) { throw tool_error(wrong_usage, text); };
    const bool with_water = !options.water.file.empty();
    if (options.start.empty() == options.peaks.empty())
        refuse("start values are needed: --start FILE or --peaks TABLE");
    if (options.folder.empty()) refuse("-o FOLDER is needed");
    if (!options.spectrum.reference.empty() || options.spectrum.eddy)
        refuse("reference lines are for varokel-import; plan its folder");
    if (options.peaks.empty() && (with_water || options.water.scale))
        refuse("--water needs the rows \"amount\" of a table: --peaks TABLE");
}

static bool is_folder(const std::string &path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// What they say of each other, before the long work.
static void check_table(const plan_options &options) {
    const peak_table table = read_peak_table(options.peaks);
    check_amounts(options.water, table);
    const std::string text = missing_water(options.water, table);
    if (!text.empty()) warn_of_plan(text);
}

static void plan_input(const plan_options &options, const std::string &work, plan_draft &batch) {
    for (const std::string &input :
         {options.input.input, options.input.json, options.mask, options.start, options.peaks,
          options.names, options.water.file})
        batch.states[input] = file_state(input);
    if (!is_folder(options.input.input)) {
        plan_signals(options, work, batch);
        return;
    }
    if (!options.mask.empty())
        throw tool_error(wrong_usage, "--mask needs an input with a grid, not a folder");
    if (!options.water.file.empty())
        throw tool_error(wrong_usage, "--water needs the measured file as INPUT, not the folder "
                                      "that was imported");
    plan_imported(options, work, batch);
}

static void write_scale(const plan_draft &batch, const std::string &work) {
    ordered_json sidecar = {{"points", batch.points}};
    sidecar.update(batch.scale);
    if (batch.source.contains("guessed")) sidecar["guessed"] = batch.source["guessed"];
    write_files({{work + "/sidecar.json", json_text(sidecar, 2, "sidecar.json") + "\n"}}, {},
                false);
}

// voxels.nii: 1 where something is to be fitted.
static void write_voxels(const plan_options &options, const plan_draft &batch,
                         const std::string &work) {
    std::vector<long long> sizes;
    std::size_t voxels = 1;
    for (const plan_axis &axis : batch.axes) {
        if (!axis.spatial) continue;
        sizes.push_back(axis.size);
        voxels *= static_cast<std::size_t>(axis.size);
    }
    std::vector<double> planned(voxels, 0.0);
    for (const planned_spectrum &each : batch.spectra)
        planned[static_cast<std::size_t>(each.at[0] +
                                         sizes[0] * (each.at[1] + sizes[1] * each.at[2]))] =
            each.state == signal_state::fit ? 1.0 : 0.0;
    write_map(work + "/voxels.nii", options.input.input, sizes, planned, "voxels to be fitted");
}

void make_plan(const plan_options &options) {
    refuse_usage(options);
    if (!options.peaks.empty()) check_table(options);
    plan_folder folder(options.folder, options.input.force);
    const std::string &work = folder.work();
    plan_draft batch;
    plan_input(options, work, batch);
    if (!options.time_step.empty()) take_time_step(batch, options.time_step);
    write_scale(batch, work);
    const start_choice start =
        choose_start(options, batch.scale, batch.points, work, batch.spectra);
    const long long blocks =
        arrange_blocks(batch.spectra, batch.axes, options.values == "neighbour");
    if (batch.grid) write_voxels(options, batch, work);
    write_manifest(options, batch, start, blocks, work);

    folder.put_in_place();
    long long counts[3] = {};
    for (const planned_spectrum &each : batch.spectra) ++counts[static_cast<int>(each.state)];
    std::cout << options.folder + "/manifest.json" << '\n'
              << "spectra " << batch.spectra.size() << "\nto fit " << counts[0] << "\nall zero "
              << counts[1] << "\nnot finite " << counts[2] << "\nentries " << start.names.size()
              << "\nblocks " << blocks << '\n';
}

} // namespace tools
