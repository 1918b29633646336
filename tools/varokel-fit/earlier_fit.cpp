// SPDX-License-Identifier: BSD-3-Clause
// earlier_fit.cpp -- which files of a folder a fit made, and which are somebody else's
#include "varokel-fit/earlier_fit.h"

#include "files/base/file_identity.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"

#include <fcntl.h>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

earlier_fit::earlier_fit(const fs::path &folder)
    : folder_(folder), digests_(read_fit_list(folder)) {}

bool earlier_fit::has(const fs::path &file) const {
    if (digests_.empty()) return false;
    if (!file.has_parent_path() && (file == fit_list_name || is_made_by_report(file.string())))
        return true;
    const auto listed = digests_.find(file.string());
    if (listed == digests_.end() || !fs::is_regular_file(fs::symlink_status(folder_ / file)))
        return false;
    try {
        return sha256_of_file((folder_ / file).string()) == listed->second;
    } catch (const tool_error &) { // cannot be read: not known, so it stays
        return false;
    }
}

static void link_or_copy(const fs::path &from, const fs::path &to) {
    if (linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), 0) == 0) return;
    std::error_code error;
    fs::copy(from, to, fs::copy_options::copy_symlinks, error);
    if (error)
        throw tool_error(bad_output, from.string() +
                                         ": is not of an earlier fit and cannot be taken over (" +
                                         error.message() + "); move it away");
}

// The folders that lead to a file, with the rights of those where it was.
static void make_folders(const fs::path &file, const fs::path &from, const fs::path &to) {
    fs::path place;
    for (const fs::path &part : file.parent_path()) {
        place /= part;
        if (!fs::exists(fs::symlink_status(to / place)))
            fs::create_directory(to / place, from / place);
        else if (!fs::is_directory(fs::symlink_status(to / place)))
            throw tool_error(bad_output,
                             (from / place).string() + ": a folder; expected a place for a file");
    }
}

std::map<std::string, std::string> take_over(const fs::path &from, const fs::path &to) {
    const earlier_fit before(from);
    std::map<std::string, std::string> looked_at;
    for (const fs::path &file : files_below(from)) {
        looked_at[file.string()] = identity_of((from / file).string()).text();
        const fs::file_status there = fs::symlink_status(to / file);
        if (fs::is_directory(there))
            throw tool_error(bad_output,
                             (from / file).string() + ": a file; expected a place for a folder");
        if (fs::exists(there) || before.has(file)) continue;
        make_folders(file, from, to);
        link_or_copy(from / file, to / file);
    }
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(from)) {
        const fs::path folder = entry.path().lexically_relative(from);
        if (!fs::is_directory(entry.symlink_status())) continue;
        if (fs::exists(fs::symlink_status(to / folder)) &&
            !fs::is_directory(fs::symlink_status(to / folder)))
            throw tool_error(bad_output,
                             entry.path().string() + ": a folder; expected a place for a file");
        if (fs::is_empty(entry.path())) make_folders(folder / "x", from, to);
    }
    return looked_at;
}

void take_late_files(const fs::path &from, const fs::path &to,
                     const std::map<std::string, std::string> &looked_at) {
    for (const fs::path &file : files_below(from)) {
        const auto known = looked_at.find(file.string());
        const bool late =
            known == looked_at.end() || known->second != identity_of((from / file).string()).text();
        if (!late || file == ".owner" || fs::is_directory(fs::symlink_status(to / file))) continue;
        make_folders(file, from, to);
        fs::rename(from / file, to / file);
    }
}

} // namespace tools
