// SPDX-License-Identifier: BSD-3-Clause
// plan_lines.cpp -- the spectra of a batch, a line of the manifest each
#include "files/batch/plan_lines.h"

#include "files/base/plain_text.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/batch/plan_head.h"

#include <charconv>
#include <cstring>
#include <string_view>
#include <unordered_set>

namespace tools {

static const char *const state_names[] = {"fit", "all zero", "not finite"};

std::string line_of(const planned_spectrum &spectrum) {
    std::string line = "{\"number\":" + std::to_string(spectrum.number) +
                       ",\"name\":" + ordered_json(spectrum.name).dump() + ",\"at\":[";
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
    std::string end(strlen(spectra_end), '\0');
    if (!plan.file_read->read(end, plan.list_begin + plan.spectra * plan.line_bytes) ||
        end != spectra_end)
        refuse_manifest(name, "does not end behind its list");
}

std::string plan_lines::text_of(long long line) const {
    std::string text(static_cast<std::size_t>(plan_.line_bytes), '\0');
    if (line < 0 || line >= plan_.spectra ||
        !plan_.file_read->read(text, plan_.list_begin + line * plan_.line_bytes))
        text.clear();
    return text;
}

planned_spectrum plan_lines::read(long long line) const {
    return parse(text_of(line), line);
}

namespace {

// The text of a line, piece by piece, as line_of has it. Without a JSON reader: there may be
// 100,000 lines. Once something is missing, nothing counts any more.
class line_pieces {
  public:
    explicit line_pieces(const std::string &text)
        : p_(text.data()), end_(p_ + text.size()), good_(!text.empty() && text.back() == '\n') {}
    bool good() const { return good_; }
    void expect(std::string_view word) {
        if (good_ && rest().starts_with(word))
            p_ += word.size();
        else
            good_ = false;
    }
    bool take(char c) {
        if (!good_ || p_ >= end_ || *p_ != c) return false;
        ++p_;
        return true;
    }
    bool is_at(char c) const { return good_ && p_ < end_ && *p_ == c; }
    long long number() {
        long long value = 0;
        const auto read = std::from_chars(p_, end_, value);
        good_ = good_ && read.ec == std::errc();
        if (good_) p_ = read.ptr;
        return value;
    }
    // With its quotation marks.
    std::string quoted() {
        const char *const begin = p_;
        expect("\"");
        while (good_ && p_ < end_ && *p_ != '"') p_ += *p_ == '\\' && p_ + 1 < end_ ? 2 : 1;
        good_ = good_ && p_ < end_;
        if (good_) ++p_;
        return {begin, p_};
    }
    std::string digest() {
        const std::string text(rest().substr(0, 64));
        good_ = good_ && is_digest(text);
        if (good_) p_ += 64;
        return text;
    }

  private:
    std::string_view rest() const { return {p_, static_cast<std::size_t>(end_ - p_)}; }
    const char *p_, *end_;
    bool good_;
};

// What the plan says of its spectra: every number within its bounds.
bool fits_plan(const planned_spectrum &spectrum, long long wave, const batch_plan &plan) {
    bool inside = spectrum.number >= 0 && spectrum.number < plan.spectra && spectrum.block >= 0 &&
                  spectrum.block < plan.blocks && wave >= 0 && wave <= last_wave &&
                  spectrum.at.size() == plan.axes.size();
    for (std::size_t a = 0; inside && a < spectrum.at.size(); ++a)
        inside = spectrum.at[a] >= 0 && spectrum.at[a] < plan.axes[a].size;
    return inside;
}

} // namespace

planned_spectrum plan_lines::parse(const std::string &text, long long line) const {
    planned_spectrum spectrum;
    line_pieces pieces(text);
    pieces.expect("{\"number\":");
    spectrum.number = pieces.number();
    pieces.expect(",\"name\":");
    const ordered_json name = ordered_json::parse_or_null(pieces.quoted());
    pieces.expect(",\"at\":[");
    while (pieces.good() && !pieces.is_at(']') && spectrum.at.size() < plan_.axes.size()) {
        spectrum.at.push_back(pieces.number());
        pieces.take(',');
    }
    pieces.expect("],\"state\":");
    const std::string state = pieces.quoted();
    int found = -1;
    for (int s = 0; s < 3; ++s)
        if (state == "\"" + std::string(state_names[s]) + "\"") found = s;
    pieces.expect(",\"block\":");
    spectrum.block = pieces.number();
    pieces.expect(",\"wave\":");
    const long long wave = pieces.number();
    pieces.expect(",\"sha256\":\"");
    spectrum.sha256 = pieces.digest();
    pieces.expect("\"}");
    if (!pieces.good() || found < 0 || !name.is_string() ||
        !is_plain_name(name.get<std::string>()) || !fits_plan(spectrum, wave, plan_))
        refuse_input(plan_.file_read->name(),
                     "spectrum " + std::to_string(line) +
                         " does not stand where it should; expected the file as varokel-batch plan "
                         "wrote it. Plan again");
    spectrum.name = name.get<std::string>();
    spectrum.state = static_cast<signal_state>(found);
    spectrum.wave = static_cast<int>(wave);
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
