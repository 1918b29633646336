// SPDX-License-Identifier: BSD-3-Clause
// job_scripts.h -- a batch as a job array of Slurm, and as rules of Snakemake
#pragma once

#include <string>

namespace tools {

struct job_options {
    std::string folder;
    long long shards = 0;   // 0: so many that a shard has about 1,000 spectra
    long long at_once = 50; // tasks of the array that may run at a time
    std::string time = "01:00:00", memory = "500M";
};

// Complete scripts, with the absolute paths of run/ and of this program.
// Errors: bad_input without a plan; wrong_usage for more shards than blocks, and for paths and
// words that a script cannot hold.
std::string slurm_script(const job_options &options);
std::string snakemake_rules(const job_options &options);

} // namespace tools
