// SPDX-License-Identifier: BSD-3-Clause
// varokel_batch.cpp -- fits grids and series: plan, run, status, merge, and scripts for engines
#include "files/base/tool_error.h"
#include "common/command_line.h"
#include "common/import_options.h"
#include "varokel-batch/batch_options.h"
#include "varokel-batch/job_scripts.h"
#include "varokel-batch/merge_batch.h"
#include "varokel-batch/make_plan.h"
#include "varokel-batch/run_batch.h"

#include <iostream>

static void add_folder(tools::option_parser &app, std::string &folder) {
    app.add_option("RUN", folder, "folder of the batch")->required();
}

static void add_plan_options(tools::option_parser &app, tools::plan_options &own) {
    app.add_option("INPUT", own.input.input,
                   "a file that varokel-import reads, or the folder that it filled")
        ->required();
    app.add_option("-o,--output RUN", own.folder, "folder of the batch")->required();
    tools::add_model_options(app, own);
    app.add_option("--derive EXPR", own.derive,
                   "what merge derives from the results, such as \"PCr/GATP\"; behind the rows "
                   "derive: of the table; may be repeated");
    tools::add_water_options(app, own.water);
    app.add_option("--time-step [DIM=]S", own.time_step,
                   "seconds from one spectrum of a series to the next, for tables and pages; with "
                   "several dimensions as DIM_DYN=3");
    app.add_option("--mask NIFTI", own.mask, "image; voxels above 0 are fitted");
    app.add_option("--select LIST", own.select, "spectra by number, such as 0:99,200");
    app.add_option("--keep WHICH", own.keep,
                   "curves kept for pictures: all, none or worst:N (default all up to 1000 "
                   "spectra, else worst:100)");
    app.add_option("--memory MIB", own.spectrum.memory, "storage for FIDs (default 32)",
                   tools::in_range(1, 1LL << 20));
    app.add_flag("--force", own.input.force, "replace a plan and what was fitted by it");
    const std::string group = "Import (see varokel-import --help)";
    tools::add_input_options(app, own.input, group);
    tools::add_spectrum_options(app, own.spectrum, group);
    app.option_named("--index")->add_to_description(" (default: all of each dimension)");
    app.footer("\nExample:\n  varokel-batch plan csi.nii.gz --start start.par -o run");
}

static void add_run_options(tools::option_parser &app, tools::run_options &own) {
    add_folder(app, own.folder);
    tools::add_work_options(app, own, "-j,--workers");
    app.add_option("--shard I/N", own.shard, "one of N parts of equal size, from 0 (default 0/1)");
    app.add_flag("--resume", own.resume, "do what is missing");
    app.add_flag("--again", own.again, "with --resume: also what failed");
    app.add_flag("--force", own.force, "begin anew");
    app.add_flag("--times", own.times, "tell at the end what it took");
    app.footer("\nExample:\n  varokel-batch run run -j 2 --resume");
}

static void add_job_options(tools::option_parser &slurm, tools::option_parser &snakemake,
                            tools::job_options &own) {
    for (tools::option_parser *const each : {&slurm, &snakemake}) {
        add_folder(*each, own.folder);
        each->add_option("--shards N", own.shards, "parts (default: about 1000 spectra in each)",
                         tools::in_range(1, 1000000));
    }
    slurm.add_option("--at-once N", own.at_once, "tasks at a time (default 50)",
                     tools::in_range(1, 1000000));
    slurm.add_option("--time TIME", own.time, "limit of a task (default 01:00:00)");
    slurm.add_option("--mem SIZE", own.memory, "storage of a task (default 500M)");
    slurm.footer("\nExample:\n  varokel-batch slurm run > submit.sh");
    snakemake.footer("\nExample:\n  varokel-batch snakemake run > Snakefile");
}

static void add_merge_options(tools::option_parser &app, tools::merge_options &own) {
    add_folder(app, own.folder);
    app.add_option("--derive EXPR", own.derive,
                   "what follows from the results, such as \"PCr/GATP\", into derived.tsv and "
                   "maps; beside what the plan asks for; may be repeated");
    app.add_flag("--force", own.force, "replace them");
    app.footer("\nExample:\n  varokel-batch merge run");
}

int main(int argc, char **argv) {
    tools::plan_options plan;
    tools::run_options run;
    tools::job_options jobs;
    std::string status_folder;
    tools::merge_options merge;

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
    add_run_options(*runner, run);

    tools::option_parser *const status =
        app.add_subcommand("status", "Says what is done and what is missing.");
    add_folder(*status, status_folder);
    status->footer("\nExample:\n  varokel-batch status run");

    tools::option_parser *const merger = app.add_subcommand("merge", "Writes tables and maps.");
    add_merge_options(*merger, merge);

    tools::option_parser *const slurm =
        app.add_subcommand("slurm", "Prints a job script for Slurm.");
    tools::option_parser *const snakemake =
        app.add_subcommand("snakemake", "Prints rules for Snakemake.");
    add_job_options(*slurm, *snakemake, jobs);

    return tools::run_tool(app, argc, argv, [&] {
        for (int i = 0; i < argc; ++i) plan.command.emplace_back(argv[i]);
        if (planner->parsed())
            tools::make_plan(plan);
        else if (runner->parsed())
            return tools::run_batch(run);
        else if (status->parsed())
            return tools::show_status(status_folder);
        else if (merger->parsed())
            return tools::merge_batch(merge);
        else
            std::cout << (slurm->parsed() ? tools::slurm_script(jobs)
                                          : tools::snakemake_rules(jobs));
        return static_cast<int>(tools::all_right);
    });
}
