// SPDX-License-Identifier: BSD-3-Clause
// fit_order.h -- which spectrum of a shard comes next
//
// Where start values come from neighbours, a spectrum waits for those of earlier waves of its
// block; else every line of the manifest stands alone. For one thread at a time.
#pragma once

#include "files/batch/shard_journal.h"

#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace tools {

enum class task_state : char { waiting, running, done };

// The spectra of a block, some of them at work.
struct active_block {
    std::vector<planned_spectrum> spectra;
    std::vector<long long> lines;
    std::vector<task_state> states;
    std::vector<fit_record> records; // only where neighbours are wanted
    std::size_t left = 0;
};

// A spectrum to be fitted. What is pointed to stays as it is until finish.
struct fit_task {
    active_block *block = nullptr;
    std::size_t at = 0;
    const fit_record *neighbour = nullptr; // the nearest good one; nullptr: none

    const planned_spectrum &spectrum() const { return block->spectra[at]; }
    long long line() const { return block->lines[at]; }
};

class fit_order {
  public:
    fit_order(const batch_plan &plan, const plan_lines &lines, shard_journal &journal,
              long long first, long long stop);
    // The first spectrum that waits for nothing: all of earlier waves of its block are done. None
    // when there is none now. Spectra without points to fit go into the journal on the way.
    std::optional<fit_task> next();
    void finish(const fit_task &task, const fit_record &record);

  private:
    bool load_block();
    void load_line(active_block &block, planned_spectrum &&spectrum, bool done);
    const fit_record *neighbour_of(const active_block &block, std::size_t task) const;

    const batch_plan &plan_;
    const plan_lines &lines_;
    shard_journal &journal_;
    long long next_line_, stop_;
    bool neighbours_;
    std::deque<std::unique_ptr<active_block>> blocks_;
};

} // namespace tools
