// SPDX-License-Identifier: BSD-3-Clause
// finished_shard.h -- shards that are done, and the records of their parts
#pragma once

#include "files/base/file_descriptor.h"
#include "files/batch/plan_lines.h"
#include "files/batch/shard_files.h"

#include <memory>
#include <string>
#include <vector>

namespace tools {

// A shard that is done.
struct finished_shard {
    std::string stem, part_sha256, curves_sha256; // without curves the second is empty
    long long shard = 0, shards = 1, first = 0, stop = 0, fitted = 0, failed = 0, not_tried = 0;
};

// The marker of a shard, a file STEM.done. What it says is held against the plan: its lines are
// those of its shard, its counts are as many. Errors: bad_input for a marker that says otherwise,
// for one that cannot be read, and for one of another plan.
finished_shard read_marker(const batch_plan &plan, const plan_lines &lines,
                           const std::string &name);

// Those of the plan, by their first line, without those whose lines others before have. The first
// lines of one may be the last of the one before. Errors: as above.
std::vector<finished_shard> finished_shards(const batch_plan &plan, const plan_lines &lines);

// Whether part and curves are those that the marker was written for. Errors: bad_input when not.
void check_part(const batch_plan &plan, const finished_shard &shard);

// Records of a part, in any order. Errors: bad_input when one is damaged.
class part_reader {
  public:
    part_reader(const batch_plan &plan, const finished_shard &shard);
    const fit_record &read(long long line); // of the manifest

  private:
    const batch_plan &plan_;
    const finished_shard &shard_;
    file_descriptor file_;
    std::string bytes_;
    fit_record record_;
};

// The records of all parts by their line in the manifest.
class all_parts {
  public:
    // Errors: bad_input when shards are missing, which are named, and when a part is damaged.
    all_parts(const batch_plan &plan, const plan_lines &lines);
    // Valid until the next call. Errors: bad_input.
    const fit_record &read(long long line);
    const std::vector<finished_shard> &shards() const { return shards_; }

  private:
    // where shards of two partitions overlap the later one begins at the end of the one before
    long long first() const;
    long long stop() const { return shards_[at_].stop; }
    const batch_plan &plan_;
    std::vector<finished_shard> shards_;
    std::size_t at_ = 0;
    std::unique_ptr<part_reader> reader_;
};

// Line in the manifest of each number of a spectrum.
std::vector<long long> lines_by_number(const batch_plan &plan, const plan_lines &lines);

} // namespace tools
