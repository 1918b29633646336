// SPDX-License-Identifier: BSD-3-Clause
// shard_files.cpp -- names of what a shard leaves, and the curves among it
#include "files/batch/shard_files.h"

#include <cmath>
#include <cstring>

#include <unistd.h>

namespace tools {

std::string shard_stem(const batch_plan &plan, long long shard, long long shards) {
    char text[64];
    std::snprintf(text, sizeof text, "/shards/%04lld_of_%04lld", shard, shards);
    return plan.folder + text;
}

void discard_journal(const std::string &stem) {
    for (const char *const ending : {".journal", ".fitted"}) unlink((stem + ending).c_str());
}

void discard_shard(const std::string &stem) {
    for (const char *const ending : {".done", ".part", ".curves"}) unlink((stem + ending).c_str());
    discard_journal(stem);
}

long long curve_size(const batch_plan &plan) {
    return static_cast<long long>(sizeof(curve_head)) + 8 * plan.points;
}

bool read_curve(const batch_plan &plan, const std::string &bytes, curve_head &head) {
    if (bytes.size() != static_cast<std::size_t>(curve_size(plan))) return false;
    std::memcpy(&head, bytes.data(), sizeof head);
    return head.line >= 0 && head.line < plan.spectra && !std::isnan(head.quality) &&
           head.sum == check_sum(bytes.data() + sizeof head, bytes.size() - sizeof head);
}

std::optional<std::pair<long long, long long>> shard_of_name(const std::string &name) {
    long long shard = 0, shards = 0;
    int length = 0;
    if (name.size() > 60 ||
        std::sscanf(name.c_str(), "%19lld_of_%19lld%n", &shard, &shards, &length) != 2 ||
        shard < 0 || shard >= shards)
        return std::nullopt;
    const std::size_t end = static_cast<std::size_t>(length);
    if (name.size() > end && name[end] != '.') return std::nullopt;
    char exact[64];
    std::snprintf(exact, sizeof exact, "%04lld_of_%04lld", shard, shards);
    if (name.substr(0, end) != exact) return std::nullopt;
    return std::pair(shard, shards);
}

} // namespace tools
