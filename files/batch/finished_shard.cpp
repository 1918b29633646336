// SPDX-License-Identifier: BSD-3-Clause
// finished_shard.cpp -- shards that are done, and the records of their parts
#include "files/batch/finished_shard.h"

#include "files/base/sha256.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <tuple>

#include <fcntl.h>

namespace tools {

namespace fs = std::filesystem;

finished_shard read_marker(const batch_plan &plan, const plan_lines &lines,
                           const std::string &name) {
    const auto refuse = [&](const std::string &what) {
        refuse_input(name, what + "; remove the files of this shard, or plan into a fresh folder");
    };
    finished_shard shard;
    shard.stem = name.substr(0, name.size() - std::strlen(".done"));
    const metadata marker(name);
    if (marker.text("plan").value_or("") != plan.id) refuse("the marker of another plan");
    const auto digest = [&](const char *item) {
        const std::string text = marker.text(item).value_or("");
        if (!is_digest(text)) refuse(std::string("item ") + item + " is no digest");
        return text;
    };
    shard.part_sha256 = digest("part_sha256");
    if (plan.keep > 0) shard.curves_sha256 = digest("curves_sha256");
    const auto count = [&](const char *item) {
        const double value = marker.number(item).value_or(-1.0);
        if (!(value >= 0.0 && value <= static_cast<double>(plan.spectra)) ||
            value != std::floor(value))
            refuse(std::string("item ") + item + " is no number of spectra of this plan");
        return static_cast<long long>(value);
    };
    shard.first = count("first");
    shard.stop = count("stop");
    shard.fitted = count("fitted");
    shard.failed = count("failed");
    shard.not_tried = count("not_tried");
    const auto named = shard_of_name(fs::path(name).filename().string());
    if (!named || named->second > plan.blocks) {
        refuse("no shard of this plan");
    } else {
        std::tie(shard.shard, shard.shards) = *named;
        if (std::pair(shard.first, shard.stop) !=
            lines_of_shard(plan, lines, shard.shard, shard.shards))
            refuse("names other lines than its shard has");
    }
    if (shard.fitted + shard.failed + shard.not_tried != shard.stop - shard.first)
        refuse("counts other fits than its lines");
    return shard;
}

std::vector<finished_shard> finished_shards(const batch_plan &plan, const plan_lines &lines) {
    std::vector<finished_shard> found;
    std::error_code error;
    for (const fs::directory_entry &file : fs::directory_iterator(plan.file("shards"), error))
        if (file.path().extension() == ".done")
            found.push_back(read_marker(plan, lines, file.path().string()));
    std::sort(found.begin(), found.end(), [](const finished_shard &a, const finished_shard &b) {
        return a.first != b.first ? a.first < b.first
               : a.stop != b.stop ? a.stop > b.stop
                                  : a.shards < b.shards;
    });
    long long reached = 0; // fitted with another number of shards, too
    std::erase_if(found, [&](const finished_shard &each) {
        if (each.stop <= reached) return true;
        reached = each.stop;
        return false;
    });
    return found;
}

void check_part(const batch_plan &plan, const finished_shard &shard) {
    const auto fits = static_cast<std::uintmax_t>(shard.stop - shard.first);
    const auto expect = [&](const std::string &name, const std::string &digest,
                            std::uintmax_t most) {
        std::error_code error;
        if (!fs::is_regular_file(name, error) || fs::file_size(name, error) > most ||
            sha256_of_file(name) != digest)
            refuse_input(name, "missing or damaged, though its marker is there; remove " +
                                   shard.stem + ".done and run the shard again");
    };
    expect(shard.stem + ".part", shard.part_sha256,
           shard_head_size + fits * record_size(plan.records));
    if (plan.keep > 0)
        expect(shard.stem + ".curves", shard.curves_sha256,
               fits * static_cast<std::uintmax_t>(curve_size(plan)));
}

part_reader::part_reader(const batch_plan &plan, const finished_shard &shard)
    : plan_(plan), shard_(shard),
      file_(open((shard.stem + ".part").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)),
      bytes_(record_size(plan.records), '\0') {
    std::string head(shard_head_size, '\0');
    if (!file_.read_at(head, 0) || head != plan.id)
        refuse_input(shard.stem + ".part",
                     "missing or of another plan, though its marker is there; remove " +
                         shard.stem + ".done and run the shard again");
}

const fit_record &part_reader::read(long long line) {
    const long long place = line - shard_.first;
    if (line < shard_.first || line >= shard_.stop)
        refuse_input(shard_.stem + ".part", "has no line " + std::to_string(line));
    const long long at =
        static_cast<long long>(shard_head_size) + place * static_cast<long long>(bytes_.size());
    if (!file_.read_at(bytes_, at) || !read_record(bytes_.data(), plan_.records, record_) ||
        record_.line != line || record_.state == fit_state::withdrawn)
        refuse_input(shard_.stem + ".part",
                     "damaged; remove " + shard_.stem + ".done and run the shard again");
    return record_;
}

all_parts::all_parts(const batch_plan &plan, const plan_lines &lines)
    : plan_(plan), shards_(finished_shards(plan, lines)) {
    long long reached = 0, shards = 0;
    std::string missing;
    for (const finished_shard &each : shards_) shards = std::max(shards, each.shards);
    const auto miss = [&](long long first, long long stop) {
        if (first < stop)
            missing += (missing.empty() ? "" : ", ") + std::to_string(first) + " to " +
                       std::to_string(stop - 1);
    };
    for (const finished_shard &each : shards_) {
        miss(reached, each.first);
        check_part(plan, each);
        reached = each.stop;
    }
    miss(reached, plan.spectra);
    if (missing.empty()) return;
    std::string names;
    std::error_code error;
    for (long long shard = 0; shard < shards; ++shard)
        if (!fs::exists(shard_stem(plan, shard, shards) + ".done", error))
            names +=
                (names.empty() ? "" : ", ") + std::to_string(shard) + "/" + std::to_string(shards);
    refuse_input(
        plan.folder,
        "not all spectra are fitted; missing: " + (names.empty() ? "" : "shards " + names + "; ") +
            "lines " + missing + " of the manifest. varokel-batch run --resume does them");
}

long long all_parts::first() const {
    return at_ == 0 ? shards_[0].first : std::max(shards_[at_].first, shards_[at_ - 1].stop);
}

const fit_record &all_parts::read(long long line) {
    while (line < first() || line >= stop()) {
        at_ = line < first() ? at_ - 1 : at_ + 1;
        reader_.reset();
    }
    if (!reader_) reader_ = std::make_unique<part_reader>(plan_, shards_[at_]);
    return reader_->read(line);
}

std::vector<long long> lines_by_number(const batch_plan &plan, const plan_lines &lines) {
    std::vector<long long> line_of(static_cast<std::size_t>(plan.spectra));
    for (long long line = 0; line < plan.spectra; ++line)
        line_of[static_cast<std::size_t>(
            plan.blocks == plan.spectra ? line : lines.read(line).number)] = line;
    return line_of;
}

} // namespace tools
