// SPDX-License-Identifier: BSD-3-Clause
// all_parts.h -- the fits of a batch whose shards are all done
#pragma once

#include "files/batch/finished_shard.h"

#include <memory>
#include <vector>

namespace tools {

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
