// SPDX-License-Identifier: BSD-3-Clause
// all_parts.cpp -- the fits of a batch whose shards are all done
#include "files/batch/all_parts.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <filesystem>
#include <string>

namespace tools {

namespace fs = std::filesystem;

all_parts::all_parts(const batch_plan &plan, const plan_lines &lines) : plan_(plan) {
    long long reached = 0, shards = 0;
    std::string missing;
    const std::vector<finished_shard> found = finished_shards(plan, lines);
    for (const finished_shard &each : found) shards = std::max(shards, each.shards);
    const auto miss = [&](long long first, long long stop) {
        if (first < stop)
            missing += (missing.empty() ? "" : ", ") + std::to_string(first) + " to " +
                       std::to_string(stop - 1);
    };
    for (const finished_shard &each : found) {
        if (each.stop <= reached) continue; // fitted with another number of shards, too
        miss(reached, each.first);
        check_part(plan, each);
        shards_.push_back(each);
        reached = each.stop;
    }
    miss(reached, plan.spectra);
    if (missing.empty()) return;
    std::string names;
    std::error_code error;
    for (long long shard = 0; shard < shards; ++shard)
        if (!fs::exists(shard_stem(plan, shard, shards) + ".done", error))
            names +=
                (names.empty() ? "" : ", ") + std::to_string(shard) + "/" + std::to_string(shards);
    throw tool_error(bad_input, plan.folder + ": not all spectra are fitted; missing: " +
                                    (names.empty() ? "" : "shards " + names + "; ") + "lines " +
                                    missing +
                                    " of the manifest. varokel-batch run --resume does them");
}

long long all_parts::first() const {
    return at_ == 0 ? shards_[0].first : std::max(shards_[at_].first, shards_[at_ - 1].stop);
}

const fit_record &all_parts::read(long long line) {
    while (line < first() || line >= stop()) {
        at_ = line < first() ? at_ - 1 : at_ + 1;
        reader_.reset();
    }
    if (!reader_) reader_ = std::make_unique<part_reader>(plan_, shards_[at_]);
    return reader_->read(line);
}

std::vector<long long> lines_by_number(const batch_plan &plan, const plan_lines &lines) {
    std::vector<long long> line_of(static_cast<std::size_t>(plan.spectra));
    for (long long line = 0; line < plan.spectra; ++line)
        line_of[static_cast<std::size_t>(
            plan.blocks == plan.spectra ? line : lines.read(line).number)] = line;
    return line_of;
}

} // namespace tools
