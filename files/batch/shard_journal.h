// SPDX-License-Identifier: BSD-3-Clause
// shard_journal.h -- the fits of a shard while it works
#pragma once

#include "files/base/file_descriptor.h"
#include "files/batch/finished_shard.h"

#include <set>
#include <string>
#include <vector>

namespace tools {

class shard_journal {
  public:
    // Opens, or goes on with, the journal of the lines first to stop - 1. A torn end is cut off.
    // The caller has the lock of the shard. Errors: bad_input when it is of another plan;
    // bad_output when it cannot be written.
    shard_journal(const batch_plan &plan, const std::string &stem, long long first, long long stop);
    shard_journal(const shard_journal &) = delete;
    shard_journal &operator=(const shard_journal &) = delete;

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
    file_descriptor file_, curves_;
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

} // namespace tools
