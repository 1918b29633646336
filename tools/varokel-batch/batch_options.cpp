// SPDX-License-Identifier: BSD-3-Clause
// batch_options.cpp -- options that varokel-batch and varokel-bids have alike
#include "varokel-batch/batch_options.h"

#include "files/start/fit_method.h"

#include <cstdlib>

namespace tools {

void add_model_options(option_parser &app, plan_options &options) {
    app.add_option("--start FILE", options.start, "start file, one for all");
    app.add_option("--peaks TABLE", options.peaks, "table of peaks, as varokel-start reads it");
    app.add_option("--names FILE", options.names,
                   "names of the entries, one a line (default: names.txt beside the start file)");
    app.add_option("--values FROM", options.values,
                   "start values: same for all, estimate for each (with --peaks), or those of the "
                   "nearest good neighbour (default same)",
                   one_of({"same", "estimate", "neighbour"}));
    app.add_option("--method HOW", options.method,
                   "exact: the optimum by the engine, in this process (default); classic: the "
                   "search by varokel, a process each; both: that search, then the optimum from "
                   "its end and from the start values",
                   one_of(method_names()));
}

void add_work_options(option_parser &app, run_options &options, const std::string &workers) {
    app.add_option(workers + " N", options.workers, "fits at a time (default 1)",
                   in_range(1, 1024));
    app.add_option("--limit SECONDS", options.limit,
                   "a search that takes longer has failed (default: none)", positive_number);
    app.add_option("--scratch DIR", options.scratch,
                   "place for the folders of the searches (default TMPDIR, else /tmp)");
    app.add_option("--varokel FILE", options.program,
                   "the program that searches (default: beside this one, else in PATH)");
}

std::string scratch_place(const std::string &given) {
    if (!given.empty()) return given;
    const char *const set = std::getenv("TMPDIR");
    return set != nullptr && *set != '\0' ? set : "/tmp";
}

} // namespace tools
