// SPDX-License-Identifier: BSD-3-Clause
// plan_lines.cpp -- the spectra of a batch, a line of the manifest each
#include "files/batch/plan_lines.h"

#include "files/base/plain_text.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/batch/plan_head.h"

#include <charconv>
#include <cstring>
#include <unordered_set>

namespace tools {

static const char *const state_names[] = {"fit", "all zero", "not finite"};

std::string line_of(const planned_spectrum &spectrum) {
    std::string line = "{\"number\":" + std::to_string(spectrum.number) +
                       ",\"name\":" + nlohmann::json(spectrum.name).dump() + ",\"at\":[";
    for (std::size_t a = 0; a < spectrum.at.size(); ++a)
        line += (a == 0 ? "" : ",") + std::to_string(spectrum.at[a]);
    line += "],\"state\":\"" + std::string(state_names[static_cast<int>(spectrum.state)]) +
            "\",\"block\":" + std::to_string(spectrum.block) +
            ",\"wave\":" + std::to_string(spectrum.wave) + ",\"sha256\":\"" + spectrum.sha256 +
            "\"}";
    return line;
}

plan_lines::plan_lines(const batch_plan &plan) : plan_(plan) {
    const std::string &name = plan.file_read->name();
    const auto refuse = [&](long long line, const char *what) {
        refuse_manifest(name, "spectrum " + std::to_string(line) + " " + what);
    };
    std::vector<bool> seen(static_cast<std::size_t>(plan.spectra), false);
    std::unordered_set<std::string> names;
    sha256 hash;
    long long block = 0;
    int wave = 0;
    for (long long line = 0; line < plan.spectra; ++line) {
        const std::string text = text_of(line);
        const planned_spectrum spectrum = parse(text, line);
        const std::string own = line_of(spectrum);
        hash.add(own.data(), own.size());
        if (seen[static_cast<std::size_t>(spectrum.number)]) refuse(line, "has a number twice");
        seen[static_cast<std::size_t>(spectrum.number)] = true;
        if (!names.insert(spectrum.name).second) refuse(line, "has the name of another");
        if (spectrum.block != block) wave = 0;
        if (spectrum.block < block || spectrum.block > block + 1 || spectrum.wave < wave ||
            (line == 0 && spectrum.block != 0))
            refuse(line, "is not in the order of blocks and waves");
        block = spectrum.block;
        wave = spectrum.wave;
    }
    if (block + 1 != plan.blocks)
        refuse_manifest(name, "has another number of blocks than it says");
    if (hash.digits() != plan.list_sha256)
        refuse_manifest(name, "has a list of spectra that was changed");
    if (char end[sizeof spectra_end] = "";
        !plan.file_read->read(end, strlen(spectra_end),
                              plan.list_begin + plan.spectra * plan.line_bytes) ||
        std::strcmp(end, spectra_end) != 0)
        refuse_manifest(name, "does not end behind its list");
}

std::string plan_lines::text_of(long long line) const {
    std::string text(static_cast<std::size_t>(plan_.line_bytes), '\0');
    if (line < 0 || line >= plan_.spectra ||
        !plan_.file_read->read(text.data(), text.size(),
                               plan_.list_begin + line * plan_.line_bytes))
        text.clear();
    return text;
}

planned_spectrum plan_lines::read(long long line) const {
    return parse(text_of(line), line);
}

planned_spectrum plan_lines::parse(const std::string &text, long long line) const {
    const auto damaged = [&] {
        throw tool_error(bad_input, plan_.file_read->name() + ": spectrum " + std::to_string(line) +
                                        " does not stand where it should; expected the file as "
                                        "varokel-batch plan wrote it. Plan again");
    };
    if (text.empty() || text.back() != '\n') damaged();
    planned_spectrum spectrum;
    // as line_of has it, without a JSON reader: there may be 100,000 of them
    const char *p = text.data(), *const end = p + text.size();
    const auto expect = [&](const char *word) {
        const std::size_t n = std::strlen(word);
        if (static_cast<std::size_t>(end - p) < n || std::memcmp(p, word, n) != 0) damaged();
        p += n;
    };
    const auto number = [&] {
        long long value = 0;
        const auto read = std::from_chars(p, end, value);
        if (read.ec != std::errc()) damaged();
        p = read.ptr;
        return value;
    };
    const auto quoted = [&] {
        const char *const begin = p;
        expect("\"");
        while (p < end && *p != '"') p += *p == '\\' && p + 1 < end ? 2 : 1;
        if (p >= end) damaged();
        ++p;
        return std::string(begin, p);
    };
    expect("{\"number\":");
    spectrum.number = number();
    expect(",\"name\":");
    const nlohmann::json name = nlohmann::json::parse(quoted(), nullptr, false);
    if (!name.is_string() || !is_plain_name(name.get<std::string>())) damaged();
    spectrum.name = name.get<std::string>();
    expect(",\"at\":[");
    while (p < end && *p != ']') {
        const std::size_t axis = spectrum.at.size();
        spectrum.at.push_back(number());
        if (axis >= plan_.axes.size() || spectrum.at.back() < 0 ||
            spectrum.at.back() >= plan_.axes[axis].size)
            damaged();
        if (p < end && *p == ',') ++p;
    }
    expect("],\"state\":");
    const std::string state = quoted();
    int found = -1;
    for (int s = 0; s < 3; ++s)
        if (state == "\"" + std::string(state_names[s]) + "\"") found = s;
    if (found < 0) damaged();
    spectrum.state = static_cast<signal_state>(found);
    expect(",\"block\":");
    spectrum.block = number();
    expect(",\"wave\":");
    const long long wave = number();
    if (spectrum.block < 0 || spectrum.block >= plan_.blocks || wave < 0 || wave > plan_.spectra)
        damaged();
    spectrum.wave = static_cast<int>(wave);
    expect(",\"sha256\":\"");
    if (end - p < 64) damaged();
    spectrum.sha256.assign(p, p + 64);
    if (!is_digest(spectrum.sha256)) damaged();
    p += 64;
    expect("\"}");
    if (spectrum.number < 0 || spectrum.number >= plan_.spectra ||
        spectrum.at.size() != plan_.axes.size())
        damaged();
    return spectrum;
}

// First line of a block, or the number of lines behind the last one.
static long long line_of_block(const batch_plan &plan, const plan_lines &lines, long long block) {
    if (plan.blocks == plan.spectra || block >= plan.blocks)
        return block >= plan.blocks ? plan.spectra : block;
    long long below = 0, above = plan.spectra;
    while (below < above) {
        const long long middle = below + (above - below) / 2;
        if (lines.read(middle).block < block)
            below = middle + 1;
        else
            above = middle;
    }
    return below;
}

std::pair<long long, long long> lines_of_shard(const batch_plan &plan, const plan_lines &lines,
                                               long long shard, long long shards) {
    return {line_of_block(plan, lines, plan.blocks * shard / shards),
            line_of_block(plan, lines, plan.blocks * (shard + 1) / shards)};
}

} // namespace tools
