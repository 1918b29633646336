// SPDX-License-Identifier: BSD-3-Clause
// shard_files.h -- what a shard leaves: a journal while it works, then a part file and its marker
//
//   run/shards/0003_of_0050.journal   records in the order in which fits ended
//   run/shards/0003_of_0050.fitted    curves of fits, likewise
//   run/shards/0003_of_0050.part      records in the order of the manifest
//   run/shards/0003_of_0050.curves    curves of the fits that are kept, likewise
//   run/shards/0003_of_0050.done      JSON, written last: the other two are whole
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
    std::string stem;
    long long shard = 0, shards = 1, first = 0, stop = 0, fitted = 0, failed = 0, not_tried = 0;
};

class shard_journal {
  public:
    // Opens, or goes on with, the journal of the lines first to stop - 1. A torn end is cut off.
    // Errors: bad_input when it is of another plan; bad_output when it cannot be written, or
    // another process works on this shard.
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
    // Forgets the fits that failed, so that they are tried again.
    void drop_failed();
    // Part, curves and marker; then the journal is removed. Errors: bad_output.
    void finish();

  private:
    std::size_t at(long long line) const { return static_cast<std::size_t>(line - first_); }
    void take_curves();
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

// Those of the plan, by their first line. Errors: bad_input for a marker that cannot be read, and
// for one of another plan.
std::vector<finished_shard> finished_shards(const batch_plan &plan);

// Removes all files of a shard. Errors: bad_output when another process works on it.
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

// A curve in .fitted and .curves: the line of the manifest, the fit's quality, complex float32.
struct curve_head {
    long long line;
    double quality;
};

} // namespace tools
