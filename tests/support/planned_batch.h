// SPDX-License-Identifier: BSD-3-Clause
// planned_batch.h -- a plan with a list of spectra, as far as its lines are read
#pragma once

#include "files/base/sha256.h"
#include "files/batch/plan_head.h"
#include "files/batch/plan_lines.h"
#include "files/batch/shard_files.h"

#include "support/support.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace support {

// Spectra 0, 1, ... of a block each with these many, along one axis; all of wave 0.
inline std::vector<tools::planned_spectrum> spectra_in_blocks(const std::vector<int> &sizes) {
    std::vector<tools::planned_spectrum> all;
    for (std::size_t block = 0; block < sizes.size(); ++block)
        for (int k = 0; k < sizes[block]; ++k) {
            tools::planned_spectrum &one = all.emplace_back();
            one.number = static_cast<long long>(all.size()) - 1;
            one.name = "s" + std::to_string(one.number);
            one.at = {one.number};
            one.block = static_cast<long long>(block);
            one.sha256 = std::string(64, '0');
        }
    return all;
}

// Writes the list as a plan has it into a file. Blocks are as many as the last spectrum says.
inline tools::batch_plan plan_with(const std::vector<tools::planned_spectrum> &spectra,
                                   const std::string &file) {
    tools::batch_plan plan;
    plan.id = std::string(tools::shard_head_size, 'a');
    plan.points = 4;
    plan.spectra = static_cast<long long>(spectra.size());
    plan.blocks = spectra.empty() ? 0 : spectra.back().block + 1;
    tools::plan_axis axis;
    axis.size = plan.spectra;
    plan.axes = {axis};
    std::size_t longest = 0;
    tools::sha256 hash;
    for (const tools::planned_spectrum &each : spectra) {
        const std::string line = line_of(each);
        hash.add(line.data(), line.size());
        longest = std::max(longest, line.size());
    }
    plan.list_sha256 = hash.digits();
    std::string text = std::string("{\n") + tools::spectra_begin;
    plan.list_begin = static_cast<long long>(text.size());
    plan.line_bytes = static_cast<long long>(longest) + 2;
    for (std::size_t k = 0; k < spectra.size(); ++k) {
        std::string line = line_of(spectra[k]) + (k + 1 < spectra.size() ? "," : "");
        line.resize(longest + 1, ' ');
        text += line + "\n";
    }
    write_file(file, text + tools::spectra_end);
    plan.file_read = std::make_shared<tools::manifest_file>(file);
    return plan;
}

} // namespace support
