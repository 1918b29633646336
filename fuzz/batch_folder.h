// SPDX-License-Identifier: BSD-3-Clause
// batch_folder.h -- a small folder as varokel-batch leaves it, in pieces that can be edited
//
// Four spectra in two blocks: the first shard done, the second at work.
#pragma once

#include "fuzz_reader.h"
#include "written_files.h"

#include "files/batch/plan_lines.h"
#include "files/batch/shard_files.h"
#include "files/start/start_file.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace fuzz {

inline constexpr std::size_t entries = 2;
inline constexpr long long spectra = 4, points = 16;
inline constexpr std::size_t sum_of_record = 36; // place of the check sum

struct batch_folder {
    tools::ordered_json head, marker, lock;
    std::vector<std::string> lines; // without comma and blanks
    folder_files files;
    std::string done_stem = "shards/0000_of_0002", open_stem = "shards/0001_of_0002";
};

inline tools::start_file small_start() {
    tools::start_file start;
    start.points = points;
    start.noise_first = 0;
    start.noise_stop = 4;
    start.lines = entries;
    start.hz_per_point = 2.0;
    start.steps.resize(1);
    start.steps[0].points = points;
    start.steps[0].switches[tools::fit_areas] = 1;
    start.steps[0].intervals = {{1, 14}};
    start.entries.resize(entries);
    for (std::size_t k = 0; k < entries; ++k) {
        start.entries[k].parameters[tools::area_of].value = 10.0;
        start.entries[k].parameters[tools::frequency_of].value = 4.0 * static_cast<double>(k);
        start.entries[k].parameters[tools::lorentz_of].value = 2.0;
    }
    return start;
}

inline std::string record_of(long long line) {
    const tools::record_shape shape = tools::record_shape_of(small_start());
    tools::fit_record record =
        tools::record_without_fit(line, tools::fit_state::fitted, "as it should be", entries);
    record.iterations = 7;
    record.figures = {1.0 + static_cast<double>(line), 1.0, 1.0, 3.0, 2.0, 2.0, 1.0};
    std::fill(record.values.begin(), record.values.end(), 1.5);
    std::fill(record.errors.begin(), record.errors.end(), 0.5);
    record.exact.emplace();
    record.exact->reasons.push_back(
        {engine::name_of(engine::finding::degenerate), 1.0, {1}, "entry 1"});
    record.correlations.assign(shape.correlations, 0.25);
    return tools::record_bytes(record, shape);
}

inline std::string curve_of(long long line) {
    const std::string curve(8 * points, static_cast<char>('a' + line));
    const tools::curve_head head{line, 1.0 + static_cast<double>(line),
                                 tools::check_sum(curve.data(), curve.size())};
    return std::string(reinterpret_cast<const char *>(&head), sizeof head) + curve;
}

inline std::string manifest_of(batch_folder &batch, std::size_t broken) {
    if (batch.head.is_object()) {
        if ((broken & 1U) == 0) {
            batch.head["start_sha256"] = tools::sha256_of(batch.files["start.par"]);
            batch.head["sidecar_sha256"] = tools::sha256_of(batch.files["sidecar.json"]);
            batch.head["names_sha256"] = tools::sha256_of(batch.files["names.txt"]);
        }
        std::string list;
        for (const std::string &line : batch.lines) list += line;
        if ((broken & 2U) == 0) batch.head["list_sha256"] = tools::sha256_of(list);
    }
    std::size_t longest = 0;
    for (const std::string &line : batch.lines) longest = std::max(longest, line.size());
    if (batch.head.is_object() && !batch.head.contains("line_bytes"))
        batch.head["line_bytes"] = longest + 2;
    std::string text = batch.head.dump(1);
    text.resize(text.rfind('\n') == text.npos ? 0 : text.rfind('\n'));
    text += ",\n \"spectra\": [\n";
    for (std::size_t l = 0; l < batch.lines.size(); ++l) {
        std::string line = batch.lines[l] + (l + 1 < batch.lines.size() ? "," : " ");
        line.resize(longest + 1, ' ');
        text += line + "\n";
    }
    return text + " ]\n}\n";
}

inline std::string id_of(const std::string &manifest) {
    return tools::sha256_of(manifest.substr(0, manifest.find("\n \"spectra\": [\n") + 1));
}

inline void fill_marker(batch_folder &batch, const std::string &id) {
    batch.marker["plan"] = id;
    batch.marker["part_sha256"] = tools::sha256_of(id + batch.files["part"]);
    batch.marker["curves_sha256"] = tools::sha256_of(batch.files["curves"]);
}

inline batch_folder whole_folder() {
    batch_folder batch;
    batch.files["start.par"] = tools::version_3_text(small_start(), {});
    batch.files["sidecar.json"] = "{\"points\": 16, \"hz_per_point\": 2.0}\n";
    batch.files["names.txt"] = "a\nb\n";
    batch.head = {
        {"format", tools::batch_format},
        {"values", "neighbour"},
        {"method", "both"},
        {"points", points},
        {"grid", false},
        {"axes",
         {{{"name", "x"}, {"size", 2}, {"spatial", true}},
          {{"name", "DIM_DYN"}, {"size", 2}, {"spatial", false}, {"seconds", {0.0, 3.0}}}}},
        {"derived", {"ratio = one/two"}},
        {"entries", {"one", "two"}},
        {"scale", {{"hz_per_point", 2.0}, {"spectrometer_mhz", 51.7}, {"measured_points", 12}}},
        {"patterns", tools::ordered_json::array()},
        {"inputs", {{{"file", "/gone"}, {"sha256", tools::sha256_of("")}, {"stamp", nullptr}}}},
        {"windows", {{{"entry", 1}, {"parameter", 2}, {"from", 1.0}, {"to", 2.0}}}},
        {"keep", 2},
        {"blocks", 2},
        {"count", spectra}};
    for (long long line = 0; line < spectra; ++line) {
        tools::planned_spectrum spectrum;
        spectrum.number = line;
        spectrum.name = "s" + std::to_string(line);
        spectrum.at = {line % 2, line / 2};
        spectrum.block = line / 2;
        spectrum.sha256 = tools::sha256_of(curve_of(line).substr(sizeof(tools::curve_head)));
        batch.lines.push_back(tools::line_of(spectrum));
    }
    batch.marker = {{"first", 0}, {"stop", 2}, {"fitted", 2}, {"failed", 0}, {"not_tried", 0}};
    batch.lock = {
        {"machine", "m"}, {"process", 1}, {"started", 2}, {"shards", "1:2"}, {"scratch", ""}};
    batch.files["part"] = record_of(0) + record_of(1);
    batch.files["curves"] = curve_of(0) + curve_of(1);
    batch.files["journal"] = record_of(2) + record_of(3);
    batch.files["fitted"] = curve_of(2) + curve_of(3);
    const std::string id = id_of(manifest_of(batch, 0));
    batch.head.erase("line_bytes");
    fill_marker(batch, id);
    return batch;
}

// Check sums of records and curves as they are now.
inline void seal(std::string &text, std::size_t size, bool record) {
    for (std::size_t at = 0; at + size <= text.size(); at += size) {
        char *const bytes = text.data() + at;
        if (record) std::memset(bytes + sum_of_record, 0, 8);
        const std::size_t begin = record ? 0 : sizeof(tools::curve_head);
        const std::uint64_t sum = tools::check_sum(bytes + begin, size - begin);
        std::memcpy(bytes + (record ? sum_of_record : 16), &sum, 8);
    }
}

// For files that the code under test may have changed, made or removed: they are written again.
inline void forget_shard(const std::string &stem) {
    std::error_code error;
    for (const char *ending : {".part", ".curves", ".done", ".journal", ".fitted", ".lock"}) {
        std::filesystem::remove(stem + ending, error);
        files_there().erase(stem + ending);
    }
}

inline void write_folder(batch_folder &batch, std::size_t broken) {
    static const bool has_folder = std::filesystem::create_directory("shards");
    static_cast<void>(has_folder);
    const std::size_t record = tools::record_size(tools::record_shape_of(small_start())),
                      curve = sizeof(tools::curve_head) + 8 * points;
    if ((broken & 4U) == 0) {
        for (const char *name : {"part", "journal"}) seal(batch.files[name], record, true);
        for (const char *name : {"curves", "fitted"}) seal(batch.files[name], curve, false);
    }
    const std::string manifest = manifest_of(batch, broken);
    const std::string id = (broken & 8U) == 0 ? id_of(manifest) : std::string(64, '0');
    if (batch.marker.is_object() && (broken & 16U) == 0) fill_marker(batch, id);
    folder_files files;
    for (const char *name : {"start.par", "sidecar.json", "names.txt"})
        files[name] = batch.files[name];
    files["manifest.json"] = manifest;
    files[batch.done_stem + ".part"] = id + batch.files["part"];
    files[batch.done_stem + ".curves"] = batch.files["curves"];
    files[batch.done_stem + ".done"] = batch.marker.dump();
    files[batch.open_stem + ".journal"] = id + batch.files["journal"];
    files[batch.open_stem + ".fitted"] = batch.files["fitted"];
    files[batch.open_stem + ".lock"] = batch.lock.dump();
    write_changed(files);
}

} // namespace fuzz
