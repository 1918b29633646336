// SPDX-License-Identifier: BSD-3-Clause
// shard_files.h -- what a shard leaves: a journal while it works, then a part file and its marker
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
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tools {

// Stem of the files of shard i of n, without ending.
std::string shard_stem(const batch_plan &plan, long long shard, long long shards);

// A shard that is done.
struct finished_shard {
    std::string stem, part_sha256, curves_sha256; // without curves the second is empty
    long long shard = 0, shards = 1, first = 0, stop = 0, fitted = 0, failed = 0, not_tried = 0;
};

class shard_journal {
  public:
    // Opens, or goes on with, the journal of the lines first to stop - 1. A torn end is cut off.
    // The caller has the lock of the shard. Errors: bad_input when it is of another plan;
    // bad_output when it cannot be written.
    shard_journal(const batch_plan &plan, const std::string &stem, long long first, long long stop);
    shard_journal(const shard_journal &) = delete;
    shard_journal &operator=(const shard_journal &) = delete;
    ~shard_journal();

    bool has(long long line) const { return offset_[at(line)] >= 0; }
    fit_record read(long long line) const;
    long long finished() const { return finished_; }
    // Whether the curve of a fit of this quality would be kept.
    bool wants_curve(double quality) const;
    // Errors: bad_output; the journal then ends with the record before.
    void add(const fit_record &record, const std::string &curve);
    // Takes over what a finished shard holds, curves included. Errors: bad_input, bad_output.
    void take_part(const finished_shard &done);
    // Forgets these fits, in the file, too.
    void withdraw(const std::vector<long long> &gone);
    // Part, curves and marker; then the journal is removed. Errors: bad_output.
    void finish();

  private:
    std::size_t at(long long line) const { return static_cast<std::size_t>(line - first_); }
    void take_curves();
    void withdraw_without_curve();
    const batch_plan &plan_;
    std::string stem_;
    long long first_, stop_, finished_ = 0;
    int file_ = -1, curves_ = -1;
    long long end_ = 0, curves_end_ = 0;
    std::vector<long long> offset_;
    struct kept_curve {
        double badness;
        long long line, offset;
        bool operator<(const kept_curve &other) const {
            return badness != other.badness ? badness < other.badness : line > other.line;
        }
    };
    std::set<kept_curve> kept_; // the best of them first: it is the next to go
};

// I and N of a file NNNN_of_NNNN.ending; none for any other name.
std::optional<std::pair<long long, long long>> shard_of_name(const std::string &name);

// Those of the plan, by their first line. What a marker says is held against the plan: its lines
// are those of its shard, its counts are as many. Errors: bad_input for a marker that says
// otherwise, for one that cannot be read, and for one of another plan.
std::vector<finished_shard> finished_shards(const batch_plan &plan, const plan_lines &lines);

// Whether part and curves are those that the marker was written for. Errors: bad_input when not.
void check_part(const batch_plan &plan, const finished_shard &shard);

// Removes all files of a shard but its lock, which the caller holds.
void discard_shard(const std::string &stem);

// Records of a part, one after the other. Errors: bad_input when one is damaged.
class part_reader {
  public:
    part_reader(const batch_plan &plan, const finished_shard &shard);
    part_reader(const part_reader &) = delete;
    part_reader &operator=(const part_reader &) = delete;
    ~part_reader();
    const fit_record &read(long long line); // of the manifest

  private:
    const batch_plan &plan_;
    const finished_shard &shard_;
    std::FILE *file_;
    long long next_ = -1;
    std::string bytes_;
    fit_record record_;
};

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
