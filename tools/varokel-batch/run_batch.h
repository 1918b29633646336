// SPDX-License-Identifier: BSD-3-Clause
// run_batch.h -- fits the spectra of a shard, and says how far a batch is
#pragma once

#include <string>

namespace tools {

struct run_options {
    std::string folder, shard, scratch, program;
    int workers = 1;
    bool resume = false, force = false, again = false, times = false;
    double limit = 0.0; // seconds for one search; 0: none
};

// Returns the exit status: all_right, different when fits failed, 128 + signal when interrupted.
// Errors: wrong_usage, bad_input, bad_output; what was fitted before stays, and resume goes on.
int run_batch(const run_options &options);

// Prints which shards are done and which are not. Returns different while some are missing.
int show_status(const std::string &folder);

} // namespace tools
