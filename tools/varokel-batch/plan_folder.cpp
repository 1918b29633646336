// SPDX-License-Identifier: BSD-3-Clause
// plan_folder.cpp -- the folder of a new plan: made in a private one inside, put in place at the
// end
#include "varokel-batch/plan_folder.h"

#include "files/base/file_descriptor.h"
#include "files/base/own_list.h"
#include "files/base/tool_error.h"
#include "files/batch/shard_files.h"

#include "varokel-batch/merge_batch.h"

#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

static const char work_prefix[] = ".varokel-plan.";

static bool is_there(const std::string &name) {
    return identity_of(name).is_there();
}

// Whether there is anything but the folders of plans that were killed: one that had no time to sign
// its folder leaves one that nobody can call his own.
static bool holds_others(const std::string &folder) {
    std::error_code error;
    for (const fs::directory_entry &each : fs::directory_iterator(folder, error))
        if (!each.path().filename().string().starts_with(work_prefix)) return true;
    return static_cast<bool>(error);
}

plan_folder::plan_folder(const std::string &name, bool force) : name_(name) {
    std::error_code error;
    if (fs::exists(name, error) && !fs::is_directory(name, error))
        throw tool_error(bad_output, name + ": no folder; expected the name of one");
    if (is_there(name + "/manifest.json")) {
        if (!force)
            throw tool_error(bad_output, name + ": holds a plan; --force replaces it and removes "
                                                "its results, or choose another folder");
        replaced_ = std::make_unique<replaced_plan>(name);
    } else if (!fs::exists(name, error)) {
        fs::create_directories(fs::path(name).parent_path(), error);
        const held_signals no_signals;
        if (mkdir(name.c_str(), 0777) != 0)
            throw tool_error(bad_output, name + ": folder cannot be made; is its place yours?");
        made_ = owned_path(name, identity_of(name), true);
    }
    const std::string purpose = "plan in " + identity_of(fs::canonical(name).string()).text();
    remove_leftovers(name, work_prefix, purpose);
    if (!replaced_ && holds_others(name))
        throw tool_error(bad_output, name + ": is not empty and holds no plan; choose another "
                                            "folder");
    work_ = std::make_unique<own_folder>(name, work_prefix, purpose);
}

// Files of these names in a folder that is no link; the folder, too, when it is empty then.
static void remove_files(const std::string &folder, const std::vector<std::string> &names) {
    const file_descriptor place(
        open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!place.is_open()) return;
    for (const std::string &each : names) unlinkat(place.number(), each.c_str(), 0);
    rmdir(folder.c_str());
}

void plan_folder::remove_replaced() const {
    for (const char *const result : {"results.tsv", "results.json", "quality.tsv", "quality.json",
                                     "derived.tsv", "derived.json", "pictures.f32", "pictures.tsv"})
        unlink((name_ + "/" + result).c_str());
    std::error_code error;
    std::vector<std::string> maps = map_files_of(replaced_->entry_names);
    for (const fs::directory_entry &file : fs::directory_iterator(name_ + "/maps", error))
        if (is_derived_map(file.path().filename().string()))
            maps.push_back(file.path().filename().string());
    remove_files(name_ + "/maps", maps);
    std::vector<std::string> shards;
    for (const fs::directory_entry &file : fs::directory_iterator(name_ + "/shards", error)) {
        const std::string name = file.path().filename().string();
        for (const char *const ending :
             {".done", ".part", ".curves", ".fitted", ".journal", ".lock"})
            if (name.ends_with(ending) && shard_of_name(name)) shards.push_back(name);
    }
    remove_files(name_ + "/shards", shards);
}

void plan_folder::put_in_place() {
    const held_signals no_signals;
    std::error_code error;
    const auto move = [&](const std::string &part) {
        if (!is_there(work() + "/" + part)) {
            if (replaced_) unlink((name_ + "/" + part).c_str());
            return;
        }
        fs::rename(work() + "/" + part, name_ + "/" + part, error);
        if (error)
            throw tool_error(bad_output,
                             name_ + "/" + part + ": cannot be written (" + error.message() + ")");
    };
    if (replaced_) remove_replaced();
    move("manifest.json");
    for (const char *const part : {"spectra.f32", "start.par", "names.txt", "peaks.txt",
                                   "sidecar.json", "voxels.nii", "water.f64"})
        move(part);
    if (replaced_) remove_files(name_ + "/patterns", replaced_->pattern_files);
    std::vector<std::string> patterns;
    for (const fs::directory_entry &file : fs::directory_iterator(work() + "/patterns", error))
        patterns.push_back(file.path().filename().string());
    if (!patterns.empty()) mkdir((name_ + "/patterns").c_str(), 0777);
    if (!patterns.empty() &&
        fs::symlink_status(name_ + "/patterns", error).type() != fs::file_type::directory)
        throw tool_error(bad_output, name_ + "/patterns: no folder; expected a place for one");
    for (const std::string &each : patterns) move("patterns/" + each);
    made_.release();
}

} // namespace tools
