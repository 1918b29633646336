// SPDX-License-Identifier: BSD-3-Clause
// shard_files.h -- names of what a shard leaves: a journal while it works, then a part file and
// its marker
//
//   run/shards/0003_of_0050.lock      who works on the shard, see shard_lock.h
//   run/shards/0003_of_0050.journal   records in the order in which fits ended
//   run/shards/0003_of_0050.fitted    curves of fits, likewise, each with a check sum
//   run/shards/0003_of_0050.part      records in the order of the manifest
//   run/shards/0003_of_0050.curves    curves of the fits that are kept, likewise
//   run/shards/0003_of_0050.done      JSON with the digests of the other two, written last: they
//                                     are whole
#pragma once

#include "files/batch/fit_record.h"

#include <optional>
#include <string>
#include <utility>

namespace tools {

// A journal and a part begin with the id of the plan.
static constexpr std::size_t shard_head_size = 64;

// Stem of the files of shard i of n, without ending.
std::string shard_stem(const batch_plan &plan, long long shard, long long shards);

// I and N of a file NNNN_of_NNNN.ending; none for any other name.
std::optional<std::pair<long long, long long>> shard_of_name(const std::string &name);

// Removes what a shard holds while it works: records and curves, which a finished one has in its
// part. The caller holds the lock.
void discard_journal(const std::string &stem);

// Removes all files of a shard but its lock, which the caller holds.
void discard_shard(const std::string &stem);

// A curve in .fitted and .curves: the line of the manifest, the fit's quality, the check sum of the
// points, the points as complex float32.
struct curve_head {
    std::int64_t line;
    double quality;
    std::uint64_t sum;
};
// Bytes of it with its points.
long long curve_size(const batch_plan &plan);
// false when the bytes of a curve are no curve of this plan.
bool read_curve(const batch_plan &plan, const std::string &bytes, curve_head &head);

} // namespace tools
