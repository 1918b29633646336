// SPDX-License-Identifier: BSD-3-Clause
// batch_plan.h -- the manifest of a batch: which spectra, from where, fitted how
//
// run/manifest.json is one JSON document that is written so that it can be read by pieces: the head
// comes first, then one spectrum a line, all lines of one length. A shard reads its own lines only.
#pragma once

#include "files/spectra/metadata.h"
#include "files/start/start_file.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace tools {

// What plan found in the points of a spectrum. Only those that are to be fitted are.
enum class signal_state { fit, all_zero, not_finite };

struct planned_spectrum {
    long long number = 0;      // place among the spectra of the batch, and in spectra.f32
    std::string name;          // of the output of varokel-import
    std::vector<long long> at; // along the axes of the plan
    signal_state state = signal_state::fit;
    long long block = 0; // neighbours are looked for within it
    int wave = 0;        // those of earlier waves of the block may be its neighbours
    std::string sha256;  // of its points in spectra.f32
};

struct plan_axis {
    std::string name; // "x", "DIM_DYN"
    long long size = 1;
    bool spatial = false;
};

struct batch_plan {
    std::string folder; // run/
    std::string id;     // sha256 of the head: parts of another plan are refused
    nlohmann::ordered_json head;
    start_file start; // run/start.par
    long long spectra = 0, blocks = 0, points = 0;
    std::string values; // same, estimate or neighbour
    std::vector<plan_axis> axes;
    std::vector<std::string> entry_names;
    spectrum_axis scale;
    bool grid = false;  // there is run/voxels.nii
    long long keep = 0; // fits kept for pictures: the worst so many; all when it is `spectra`

    std::string file(const std::string &name) const { return folder + "/" + name; }
};

// The lines of the manifest, one at a time or by number.
class plan_lines {
  public:
    // Errors: bad_input.
    explicit plan_lines(const batch_plan &plan);
    plan_lines(const plan_lines &) = delete;
    plan_lines &operator=(const plan_lines &) = delete;
    ~plan_lines();
    // Errors: bad_input when the line is not as plan wrote it.
    planned_spectrum read(long long line);

  private:
    const batch_plan &plan_;
    std::FILE *file_;
    long long begin_ = 0, length_ = 0;
};

// A line of the manifest, without the comma and the blanks that fill it up.
std::string line_of(const planned_spectrum &spectrum);

// Reads head and start file, and finds out whether both are what plan wrote.
// Errors: bad_input, with what to do.
batch_plan read_plan(const std::string &folder);

// The inputs that a plan was made from are compared with it: a file whose size or time differs is
// hashed. Errors: bad_input when one holds something else now. A file that is not there any more is
// no error: all that a fit needs is in the folder of the plan. Returns the names of those.
std::vector<std::string> check_inputs(const batch_plan &plan);

// Size and time of a file as the manifest has them; nothing when it is not there.
nlohmann::ordered_json stamp_of(const std::string &file);

// First line and line behind the last of shard i of n: whole blocks, as even as they come.
std::pair<long long, long long> lines_of_shard(const batch_plan &plan, plan_lines &lines,
                                               long long shard, long long shards);

} // namespace tools
