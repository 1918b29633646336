// SPDX-License-Identifier: BSD-3-Clause
// show_status.cpp -- which shards of a batch are done
#include "varokel-batch/run_batch.h"

#include "files/base/tool_error.h"
#include "files/batch/finished_shard.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <vector>

namespace tools {

namespace fs = std::filesystem;

int show_status(const std::string &folder) {
    const batch_plan plan = read_plan(folder);
    const plan_lines lines(plan);
    const std::vector<finished_shard> done = finished_shards(plan, lines);
    std::map<fit_state, long long> count;
    long long reached = 0;
    std::string missing;
    const auto miss = [&](long long first, long long stop) {
        if (first < stop)
            missing += "missing: spectra " + std::to_string(first) + " to " +
                       std::to_string(stop - 1) + " of the manifest\n";
    };
    for (const finished_shard &each : done) {
        miss(reached, each.first);
        if (each.first >= reached) {
            count[fit_state::fitted] += each.fitted;
            count[fit_state::failed] += each.failed;
            count[fit_state::not_tried] += each.not_tried;
        } else { // some were counted with the shard before, of another number of shards
            part_reader part(plan, each);
            for (long long line = reached; line < each.stop; ++line) ++count[part.read(line).state];
        }
        reached = each.stop;
    }
    miss(reached, plan.spectra);
    const long long failed = count[fit_state::failed];
    std::cout << "spectra " << plan.spectra << "\nfitted " << count[fit_state::fitted]
              << "\nfailed " << failed << "\nnot tried " << count[fit_state::not_tried] << '\n';
    long long of = 0;
    std::error_code error;
    std::vector<std::string> open;
    for (const fs::directory_entry &file : fs::directory_iterator(plan.file("shards"), error)) {
        const auto named = shard_of_name(file.path().filename().string());
        if (!named) continue;
        of = std::max(of, named->second);
        if (file.path().extension() != ".journal") continue;
        const long long size = static_cast<long long>(record_size(plan.records));
        const std::uintmax_t bytes = fs::file_size(file.path(), error);
        if (error) continue;
        open.push_back("unfinished: shard " + std::to_string(named->first) + "/" +
                       std::to_string(named->second) + ", " +
                       std::to_string(std::max(0LL, (static_cast<long long>(bytes) - 64) / size)) +
                       " spectra so far\n");
    }
    std::sort(open.begin(), open.end());
    for (const std::string &line : open) std::cout << line;
    if (missing.empty()) {
        std::cout << "complete\n";
        return failed > 0 ? different : all_right;
    }
    for (long long shard = 0; shard < of; ++shard)
        if (!fs::exists(shard_stem(plan, shard, of) + ".done", error))
            std::cout << "missing: shard " << shard << "/" << of << '\n';
    std::cout << missing;
    return different;
}

} // namespace tools
