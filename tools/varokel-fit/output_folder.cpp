// SPDX-License-Identifier: BSD-3-Clause
// output_folder.cpp -- the folder of the results: new as a whole, or left as it was
#include "varokel-fit/output_folder.h"

#include "files/base/tool_error.h"
#include "varokel-fit/earlier_fit.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

static constexpr const char *prefix = ".varokel-fit.";

// Whether a name of one folder can become a name of the other: the same mount.
static bool same_mount(const fs::path &one, const fs::path &other) {
    struct stat a = {}, b = {};
    if (stat(one.c_str(), &a) != 0 || stat(other.c_str(), &b) != 0 || a.st_dev != b.st_dev)
        return false;
    struct statx of_one = {}, of_other = {};
    if (statx(AT_FDCWD, one.c_str(), 0, STATX_MNT_ID, &of_one) != 0 ||
        statx(AT_FDCWD, other.c_str(), 0, STATX_MNT_ID, &of_other) != 0)
        return true; // not known before Linux 5.8
    return (of_one.stx_mask & of_other.stx_mask & STATX_MNT_ID) == 0 ||
           of_one.stx_mnt_id == of_other.stx_mnt_id;
}

// Whether a path is the folder or something below it.
static bool lies_in(const fs::path &path, const file_identity &folder) {
    for (fs::path place = path;; place = place.parent_path()) {
        if (identity_of(place.string()) == folder) return true;
        if (place == place.parent_path()) return false;
    }
}

output_folder::output_folder(const std::string &given, bool force) : given_(given) {
    std::error_code error;
    folder_ = fs::absolute(given, error).lexically_normal();
    if (!folder_.has_filename()) folder_ = folder_.parent_path();
    if (!fs::exists(folder_, error)) {
        if (fs::exists(fs::symlink_status(folder_, error)))
            throw tool_error(bad_output,
                             given + ": a link that leads nowhere; expected the name of a folder");
        return;
    }
    if (!fs::is_directory(folder_, error))
        throw tool_error(bad_output, given + ": no folder; expected the name of one");
    folder_ = fs::canonical(folder_); // a link stays, and its folder is replaced
    const bool empty = fs::is_empty(folder_, error);
    if (!empty && !force)
        throw tool_error(bad_output, given + ": exists and is not empty; --force replaces an "
                                             "earlier fit and files of the same names in it, or "
                                             "choose another folder");
    const bool movable = same_mount(folder_, folder_.parent_path()) &&
                         access(folder_.parent_path().c_str(), W_OK | X_OK) == 0;
    const bool around = lies_in(fs::current_path(), identity_of(folder_.string()));
    kind_ = empty ? (movable && !around ? place_kind::beside : place_kind::within)
                  : place_kind::exchanged;
    if (kind_ != place_kind::exchanged) return;
    if (!movable)
        throw tool_error(bad_output, given + ": cannot be replaced as a whole, since " +
                                         folder_.parent_path().string() +
                                         " cannot be written or is another file system; choose a "
                                         "folder in it");
    if (around)
        throw tool_error(bad_output, given + ": cannot be replaced while it is the current folder; "
                                             "go out of it, or choose a folder in it");
}

void output_folder::refuse_inputs(const std::vector<std::string> &inputs) const {
    if (kind_ != place_kind::exchanged) return;
    const file_identity folder = identity_of(folder_.string());
    for (const std::string &input : inputs) {
        std::error_code error;
        if (input.empty() || !fs::exists(input, error)) continue;
        // where its name stands, beside which others are looked for, and where it leads
        const fs::path named = fs::canonical(fs::absolute(input).parent_path());
        if (lies_in(named, folder) || lies_in(fs::canonical(input), folder))
            throw tool_error(bad_output, given_ + ": --force would overwrite its own input " +
                                             input + ", which lies in it; choose another folder");
    }
}

void output_folder::begin() {
    if (kind_ == place_kind::absent) fs::create_directories(folder_.parent_path());
    const fs::path place = kind_ == place_kind::within ? folder_ : folder_.parent_path();
    const std::string purpose = "fit into " + folder_.string();
    remove_leftovers(place.string(), prefix, purpose);
    made_ = std::make_unique<own_folder>(place.string(), prefix, purpose);
    work_ = made_->name();
}

// Into an empty folder that itself cannot be replaced, such as the place of a file system.
void output_folder::move_contents() {
    made_->strip_owner();
    for (const fs::directory_entry &entry : fs::directory_iterator(work_))
        fs::rename(entry.path(), folder_ / entry.path().filename());
}

void output_folder::exchange() {
    const std::map<std::string, std::string> looked_at = take_over(folder_, work_);
    made_->exchange_with(folder_.string());
    made_->own_what_was_there(); // at once: what is killed before leaves it for ever
    take_late_files(work_, folder_, looked_at);
}

void output_folder::finish() {
    write_fit_list(work_);
    if (kind_ == place_kind::within)
        move_contents();
    else if (kind_ == place_kind::exchanged)
        exchange();
    else
        made_->become(folder_.string());
}

} // namespace tools
