// SPDX-License-Identifier: BSD-3-Clause
// varokel_batch.cpp -- fits grids and series: plan, run, status, merge, and scripts for engines
#include "files/base/tool_error.h"
#include "common/command_line.h"
#include "common/run_tool.h"
#include "varokel-batch/engine_scripts.h"
#include "varokel-batch/merge_batch.h"
#include "varokel-batch/plan_batch.h"
#include "varokel-batch/run_batch.h"

#include <iostream>

static void add_plan_options(tools::option_parser &app, tools::plan_options &own) {
    app.add_option("INPUT", own.input.input,
                   "a file that varokel-import reads, or the folder that it filled")
        ->required();
    app.add_option("-o,--output", own.folder, "folder of the batch")->type_name("RUN")->required();
    app.add_option("--start", own.start, "start file, one for all")->type_name("FILE");
    app.add_option("--peaks", own.peaks, "table of peaks, as varokel-start reads it")
        ->type_name("TABLE");
    app.add_option("--names", own.names,
                   "names of the entries, one a line (default: names.txt beside the start file)")
        ->type_name("FILE");
    app.add_option("--values", own.values,
                   "start values: same for all, estimate for each (with --peaks), or those of the "
                   "nearest good neighbour (default same)")
        ->type_name("FROM")
        ->check(tools::one_of({"same", "estimate", "neighbour"}));
    app.add_option("--method", own.method,
                   "exact: the optimum by the engine, in this process (default); classic: the "
                   "search by varokel, a process each; both: that search, then the optimum from "
                   "its end and from the start values")
        ->type_name("HOW")
        ->check(tools::one_of({"exact", "classic", "both"}));
    app.add_option("--mask", own.mask, "image; voxels above 0 are fitted")->type_name("NIFTI");
    app.add_option("--select", own.select, "spectra by number, such as 0:99,200")
        ->type_name("LIST");
    app.add_option("--keep", own.keep,
                   "curves kept for pictures: all, none or worst:N (default all up to 1000 "
                   "spectra, else worst:100)")
        ->type_name("WHICH");
    app.add_option("--format", own.input.format,
                   "of INPUT, as varokel-import has it (default: by the name's ending)")
        ->type_name("NAME")
        ->check(tools::one_of({"nifti", "raw", "jmrui", "sdat", "rda", "text", "float32"}));
    app.add_option("--json", own.input.json, "what is known about INPUT")->type_name("FILE");
    app.add_option("--points", own.input.points, "points of one FID")
        ->type_name("N")
        ->check(tools::positive_number);
    app.add_option("--voxel", own.input.choice.voxel, "one voxel of a grid")->type_name("X,Y,Z");
    app.add_option("--index", own.input.choice.index,
                   "which FID of several (default: all of each dimension)")
        ->type_name("[DIM=]I")
        ->allow_extra_args(false);
    app.add_option("--average", own.input.choice.average, "take the mean over this dimension")
        ->type_name("DIM")
        ->allow_extra_args(false);
    app.add_option("--resize", own.input.resize, "points of the FID, or cut, or fill")
        ->type_name("N");
    app.add_option("--phase", own.input.phase, "degrees, or auto for each")->type_name("DEG");
    app.add_flag("--combine-coils", own.input.combine_coils,
                 "combine the coils of DIM_COIL, as varokel-import does");
    app.add_flag("--align-averages", own.input.align_averages,
                 "align the FIDs of DIM_DYN and take their mean, as varokel-import does");
    app.add_flag("--conjugate", own.input.conjugate, "reverse the sense of frequency");
    app.add_option("--dwell", own.spectrum.dwell_time, "dwell time [s]")
        ->type_name("S")
        ->check(tools::positive_number);
    app.add_option("--bandwidth", own.spectrum.bandwidth, "spectral width [Hz]")
        ->type_name("HZ")
        ->check(tools::positive_number);
    app.add_option("--frequency", own.spectrum.mhz, "spectrometer frequency [MHz]")
        ->type_name("MHZ")
        ->check(tools::positive_number);
    app.add_option("--ppm-at-carrier", own.spectrum.ppm_at_carrier, "chemical shift of the carrier")
        ->type_name("PPM");
    app.add_option("--reference-peak", own.spectrum.reference_text,
                   "set the ppm axis by this line of known shift, as \"NAA 2.01 ppm\"")
        ->type_name("PPM");
    app.add_option("--remove-water", own.spectrum.remove_water,
                   "take the lines between two shifts out of each FID, as varokel-import does")
        ->type_name("LOW:HIGH");
    app.add_option("--axis", own.spectrum.axis, "ppm along the points: rising or falling")
        ->type_name("SENSE")
        ->check(tools::one_of({"rising", "falling"}));
    app.add_option("--begin-time", own.spectrum.begin_time, "time of the first point [s]")
        ->type_name("S");
    app.add_option("--nucleus", own.spectrum.nucleus, "such as 31P")->type_name("NAME");
    app.add_option("--noise", own.spectrum.noise, "points that hold noise only")
        ->type_name("FIRST:LAST");
    app.add_option("--memory", own.spectrum.memory, "storage for FIDs (default 32)")
        ->type_name("MIB")
        ->check(tools::in_range(1, 1LL << 20));
    app.add_flag("--force", own.input.force, "replace a plan and what was fitted by it");
    app.footer("\nExample:\n  varokel-batch plan csi.nii.gz --start start.par -o run");
}

int main(int argc, char **argv) {
    tools::plan_options plan;
    plan.spectrum.memory = 32;
    tools::run_options run;
    tools::engine_options engine;
    std::string status_folder, merge_folder;
    bool merge_force = false;

    tools::option_parser app(
        "Fits all spectra of a grid or a series, and brings the results together: plan, "
        "run, merge.",
        "varokel-batch");
    tools::common_options(app,
                          "  varokel-batch plan csi.nii.gz --start start.par -o run\n"
                          "  varokel-batch run run -j 2\n"
                          "  varokel-batch merge run",
                          "0 all right, 1 some fits failed or are missing");
    app.require_subcommand();

    tools::option_parser *const planner =
        app.add_subcommand("plan", "Makes the folder of a batch.");
    add_plan_options(*planner, plan);

    tools::option_parser *const runner = app.add_subcommand("run", "Fits what is planned.");
    runner->add_option("RUN", run.folder, "folder of the batch")->required();
    runner->add_option("-j,--workers", run.workers, "fits at a time (default 1)")
        ->type_name("N")
        ->check(tools::in_range(1, 1024));
    runner->add_option("--shard", run.shard, "one of N parts of equal size, from 0 (default 0/1)")
        ->type_name("I/N");
    runner->add_flag("--resume", run.resume, "do what is missing");
    runner->add_flag("--again", run.again, "with --resume: also what failed");
    runner->add_flag("--force", run.force, "begin anew");
    runner
        ->add_option("--scratch", run.scratch,
                     "place for the folders of the searches (default TMPDIR, else /tmp)")
        ->type_name("DIR");
    runner
        ->add_option("--limit", run.limit, "a search that takes longer has failed (default: none)")
        ->type_name("SECONDS")
        ->check(tools::positive_number);
    runner
        ->add_option("--varokel", run.program,
                     "the program that searches (default: beside this one, else in PATH)")
        ->type_name("FILE");
    runner->add_flag("--times", run.times, "tell at the end what it took");
    runner->footer("\nExample:\n  varokel-batch run run -j 2 --resume");

    tools::option_parser *const status =
        app.add_subcommand("status", "Says what is done and what is missing.");
    status->add_option("RUN", status_folder, "folder of the batch")->required();
    status->footer("\nExample:\n  varokel-batch status run");

    tools::option_parser *const merger = app.add_subcommand("merge", "Writes tables and maps.");
    merger->add_option("RUN", merge_folder, "folder of the batch")->required();
    merger->add_flag("--force", merge_force, "replace them");
    merger->footer("\nExample:\n  varokel-batch merge run");

    tools::option_parser *const slurm =
        app.add_subcommand("slurm", "Prints a job script for Slurm.");
    tools::option_parser *const snakemake =
        app.add_subcommand("snakemake", "Prints rules for Snakemake.");
    for (tools::option_parser *const each : {slurm, snakemake}) {
        each->add_option("RUN", engine.folder, "folder of the batch")->required();
        each->add_option("--shards", engine.shards, "parts (default: about 1000 spectra in each)")
            ->type_name("N")
            ->check(tools::in_range(1, 1000000));
    }
    slurm->add_option("--at-once", engine.at_once, "tasks at a time (default 50)")
        ->type_name("N")
        ->check(tools::in_range(1, 1000000));
    slurm->add_option("--time", engine.time, "limit of a task (default 01:00:00)")
        ->type_name("TIME");
    slurm->add_option("--mem", engine.memory, "storage of a task (default 500M)")
        ->type_name("SIZE");
    slurm->footer("\nExample:\n  varokel-batch slurm run > submit.sh");
    snakemake->footer("\nExample:\n  varokel-batch snakemake run > Snakefile");

    return tools::run_tool("varokel-batch", [&] {
        if (const std::optional<int> end = tools::parse_command_line(app, argc, argv)) return *end;
        for (int i = 0; i < argc; ++i) plan.command.emplace_back(argv[i]);
        if (planner->parsed())
            tools::plan_batch(plan);
        else if (runner->parsed())
            return tools::run_batch(run);
        else if (status->parsed())
            return tools::show_status(status_folder);
        else if (merger->parsed())
            return tools::merge_batch(merge_folder, merge_force);
        else
            std::cout << (slurm->parsed() ? tools::slurm_script(engine)
                                          : tools::snakemake_rules(engine));
        return static_cast<int>(tools::all_right);
    });
}
