// SPDX-License-Identifier: BSD-3-Clause
// plan_lines.h -- the spectra of a batch, a line of the manifest each
#pragma once

#include "files/batch/batch_plan.h"

#include <string>
#include <utility>
#include <vector>

namespace tools {

// What plan found in the points of a spectrum. Only those that are to be fitted are.
enum class signal_state { fit, all_zero, not_finite };

// Blocks are squares of 8 or stretches of 16 places, with waves by the distance from the middle; a
// batch of fewer spectra may begin with any of them.
inline constexpr int last_wave = 8;

struct planned_spectrum {
    long long number = 0;      // place among the spectra of the batch, and in spectra.f32
    std::string name;          // of the output of varokel-import
    std::vector<long long> at; // along the axes of the plan
    signal_state state = signal_state::fit;
    long long block = 0; // neighbours are looked for within it
    int wave = 0;        // those of earlier waves of the block may be its neighbours
    std::string sha256;  // of its points in spectra.f32
};

// The lines of the manifest, one at a time or by number.
class plan_lines {
  public:
    // Reads all of them once: each spectrum has a number and a name of its own and a place on the
    // axes, blocks follow one another, waves in them rise, and the digest of the list is that of
    // the head. Errors: bad_input.
    explicit plan_lines(const batch_plan &plan);
    // Errors: bad_input when the line is not as plan wrote it.
    planned_spectrum read(long long line) const;

  private:
    std::string text_of(long long line) const;
    planned_spectrum parse(const std::string &text, long long line) const;
    const batch_plan &plan_;
};

// A line of the manifest, without the comma and the blanks that fill it up.
std::string line_of(const planned_spectrum &spectrum);

// First line and line behind the last of shard i of n: whole blocks, as even as they come.
std::pair<long long, long long> lines_of_shard(const batch_plan &plan, const plan_lines &lines,
                                               long long shard, long long shards);

} // namespace tools
