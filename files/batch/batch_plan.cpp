// SPDX-License-Identifier: BSD-3-Clause
// batch_plan.cpp -- a plan as its reader leaves it, and its manifest, open and locked
#include "files/batch/batch_plan.h"

#include "files/base/input_file.h"
#include "files/base/read_json.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/batch/plan_head.h"
#include "files/start/read_start_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace tools {

bool is_digest(const std::string &text) {
    return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == text.npos;
}

static void expect_same(const batch_plan &plan, const std::string &file,
                        const std::string &digest) {
    const std::string name = plan.file(file);
    std::error_code error;
    // texts, a mask and patterns: what claims to be larger need not be read to be another
    if (!std::filesystem::is_regular_file(name, error) ||
        std::filesystem::file_size(name, error) > largest_text_file ||
        sha256_of_file(name) != digest)
        refuse_input(name, "was changed since the plan was made; put the file of then back, or "
                           "plan again with the new one");
}

batch_plan read_plan(const std::string &folder) {
    batch_plan plan;
    plan.folder = folder;
    plan.file_read = std::make_shared<manifest_file>(plan.file("manifest.json"));
    const std::string &name = plan.file_read->name();
    const std::string head = text_of_head(*plan.file_read, plan.list_begin);
    plan.id = sha256_of(head);
    plan.head = json_of_text(head + " \"end\": 0 }", name);
    read_head(plan, name);
    if (plan.file_read->size() != plan.list_begin + plan.spectra * plan.line_bytes +
                                      static_cast<long long>(strlen(spectra_end)))
        refuse_manifest(name, "is longer or shorter than its list of " +
                                  std::to_string(plan.spectra) + " spectra");
    const head_items items(plan.head, name);
    expect_same(plan, "start.par", items.digest("start_sha256"));
    expect_same(plan, "sidecar.json", items.digest("sidecar_sha256"));
    expect_same(plan, "names.txt", items.digest("names_sha256"));
    if (plan.values == "estimate" || items.has("peaks_sha256"))
        expect_same(plan, "peaks.txt", items.digest("peaks_sha256"));
    if (items.has("water")) expect_same(plan, "water.f64", items.digest("water_sha256"));
    if (plan.grid) expect_same(plan, "voxels.nii", items.digest("voxels_sha256"));
    for (const auto &pattern : items.list("patterns"))
        expect_same(plan, "patterns/" + pattern["file"].get<std::string>(),
                    head_items(pattern, name).digest("sha256"));
    plan.start = read_start_file(plan.file("start.par"));
    plan.records = record_shape_of(plan.start);
    if (plan.start.entries.empty() || plan.entry_names.size() != plan.start.entries.size())
        refuse_manifest(name, "has no entries or not a name for each");
    if (plan.start.points != plan.points)
        refuse_manifest(name, "has another number of points than its start file");
    read_windows(plan, items, name);
    for (const start_entry &entry : plan.start.entries)
        if (entry.type == pattern_entry &&
            std::find(plan.pattern_files.begin(), plan.pattern_files.end(), entry.pattern_file) ==
                plan.pattern_files.end())
            refuse_manifest(name, "lacks a pattern that its start file names");
    return plan;
}

ordered_json stamp_of(const std::string &file) {
    struct stat facts = {};
    if (stat(file.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) return {};
    return {{"bytes", facts.st_size},
            {"seconds", facts.st_mtim.tv_sec},
            {"nanoseconds", facts.st_mtim.tv_nsec}};
}

std::vector<std::string> check_inputs(const batch_plan &plan) {
    std::vector<std::string> gone;
    for (const planned_input &input : plan.inputs) {
        const ordered_json stamp = stamp_of(input.file);
        if (stamp.is_null()) {
            gone.push_back(input.file);
            continue;
        }
        if (stamp == input.stamp) continue;
        if (sha256_of_file(input.file) != input.sha256)
            refuse_input(input.file, "was changed since the plan was made; put the file of then "
                                     "back (what is fitted stays), or plan again");
    }
    const std::string points = plan.file("spectra.f32");
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(points, error);
    if (error || size != static_cast<std::uintmax_t>(plan.spectra * plan.points * 8))
        refuse_input(points, "missing or of another size than planned; plan again");
    return gone;
}

replaced_plan::replaced_plan(const std::string &folder) {
    const std::string name = folder + "/manifest.json";
    try {
        file = std::make_shared<manifest_file>(name);
        long long begin = 0;
        const ordered_json head = json_of_text(text_of_head(*file, begin) + " \"end\": 0 }", name);
        const head_items items(head, name);
        items.whole("format", 1, batch_format);
        if (!items.text("program").starts_with("varokel-batch "))
            items.refuse("program", "another");
        for (const auto &entry : items.list("entries"))
            if (entry.is_string()) entry_names.push_back(entry.get<std::string>());
        for (const auto &each : items.list("patterns"))
            pattern_files.push_back(head_items(each, name).name("file"));
    } catch (const tool_error &error) {
        if (error.status() == bad_output) throw;
        refuse_output(name, "not the manifest of a plan of varokel-batch; choose another folder (" +
                                std::string(error.what()) + ")");
    }
    if (!file->lock_alone())
        refuse_output(name,
                      "a run or a merge works with this plan; wait for its end, or end it first");
}

manifest_file::manifest_file(const std::string &name)
    : name_(name), file_(open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
    struct stat facts = {};
    if (!file_.is_open() || fstat(file_.number(), &facts) != 0 || !S_ISREG(facts.st_mode))
        refuse_input(
            name, "cannot be opened; expected the folder of a plan. varokel-batch plan makes one");
    if (flock(file_.number(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        refuse_output(name, "is being replaced by a new plan; wait for its end");
}

bool manifest_file::lock_alone() {
    return flock(file_.number(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

long long manifest_file::size() const {
    struct stat facts = {};
    return fstat(file_.number(), &facts) == 0 ? facts.st_size : 0;
}

} // namespace tools
