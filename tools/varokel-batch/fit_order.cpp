// SPDX-License-Identifier: BSD-3-Clause
// fit_order.cpp -- which spectrum of a shard comes next
#include "varokel-batch/fit_order.h"

#include "varokel-batch/spectrum_blocks.h"
#include "varokel-batch/start_choice.h"

#include <algorithm>

namespace tools {

fit_order::fit_order(const batch_plan &plan, const plan_lines &lines, shard_journal &journal,
                     long long first, long long stop)
    : plan_(plan), lines_(lines), journal_(journal), next_line_(first), stop_(stop),
      neighbours_(plan.values == "neighbour") {}

void fit_order::load_line(active_block &block, planned_spectrum &&spectrum, bool done) {
    fit_record record;
    if (done && neighbours_) record = journal_.read(next_line_);
    if (!done && spectrum.state != signal_state::fit) {
        record = record_without_fit(next_line_, fit_state::not_tried,
                                    spectrum.state == signal_state::all_zero
                                        ? reason_all_zero
                                        : "holds points that are no finite numbers",
                                    plan_.start.entries.size());
        journal_.add(record, {});
    }
    const bool waits = !done && spectrum.state == signal_state::fit;
    block.states.push_back(waits ? task_state::waiting : task_state::done);
    block.left += waits ? 1 : 0;
    block.lines.push_back(next_line_);
    block.spectra.push_back(std::move(spectrum));
    if (neighbours_) block.records.push_back(std::move(record));
}

// Takes the next block that has something to do. false when there is none.
bool fit_order::load_block() {
    while (next_line_ < stop_) {
        auto block = std::make_unique<active_block>();
        long long number = -1;
        for (; next_line_ < stop_; ++next_line_) {
            // without neighbours a line is a block, and what is done needs no look
            if (!neighbours_ && journal_.has(next_line_)) continue;
            planned_spectrum spectrum = lines_.read(next_line_);
            if (!block->lines.empty() && spectrum.block != number) break;
            number = spectrum.block;
            load_line(*block, std::move(spectrum), journal_.has(next_line_));
            if (!neighbours_) {
                ++next_line_;
                break;
            }
        }
        if (block->left > 0) {
            blocks_.push_back(std::move(block));
            return true;
        }
    }
    return false;
}

const fit_record *fit_order::neighbour_of(const active_block &block, std::size_t task) const {
    if (!neighbours_) return nullptr;
    const planned_spectrum &own = block.spectra[task];
    const fit_record *nearest = nullptr;
    long long least = 0;
    for (std::size_t t = 0; t < task && block.spectra[t].wave < own.wave; ++t) {
        const long long distance = distance_between(own, block.spectra[t]);
        if ((nearest != nullptr && distance >= least) ||
            !is_good_neighbour(plan_.start, block.records[t]))
            continue;
        nearest = &block.records[t];
        least = distance;
    }
    return nearest;
}

std::optional<fit_task> fit_order::next() {
    for (std::size_t b = 0;; ++b) {
        if (b == blocks_.size() && !load_block()) return std::nullopt;
        active_block &own = *blocks_[b];
        int wave = -1; // of the first that is not done; lines are in the order of waves
        for (std::size_t t = 0; t < own.states.size(); ++t) {
            if (own.states[t] == task_state::done) continue;
            if (wave < 0) wave = own.spectra[t].wave;
            if (own.spectra[t].wave != wave) break;
            if (own.states[t] != task_state::waiting) continue;
            own.states[t] = task_state::running;
            return fit_task{&own, t, neighbour_of(own, t)};
        }
    }
}

void fit_order::finish(const fit_task &task, const fit_record &record) {
    active_block &block = *task.block;
    block.states[task.at] = task_state::done;
    if (neighbours_) block.records[task.at] = record;
    if (--block.left > 0) return;
    std::erase_if(blocks_, [&](const auto &each) { return each.get() == &block; });
}

} // namespace tools
