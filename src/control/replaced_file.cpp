// SPDX-License-Identifier: BSD-3-Clause
// replaced_file.cpp -- a text file that takes the place of an older one in one step
#include "control/replaced_file.h"

#include <chrono>
#include <filesystem>
#include <system_error>

namespace files = std::filesystem;

static constexpr char beside_name[] = "varokel_new_"; // of a killed run one may be left over
static constexpr int most_tries = 100;

// Where a link leads to when it leads to a plain file; else the name itself.
static std::string behind_links(const std::string &name) {
    std::error_code error;
    if (!files::is_symlink(files::symlink_status(name, error))) return name;
    const files::path target = files::canonical(name, error);
    return !error && files::is_regular_file(target, error) ? target.string() : name;
}

// A file that can be renamed over: a plain one that may be written, or none.
static bool can_be_replaced(const std::string &name) {
    std::error_code error;
    const files::file_status status = files::symlink_status(name, error);
    if (status.type() == files::file_type::not_found) return true;
    if (status.type() != files::file_type::regular) return false;
    std::FILE *file = std::fopen(name.c_str(), "r+t");
    if (file != nullptr) std::fclose(file);
    return file != nullptr;
}

// Opens a file that did not exist, in the folder of the given one, and gives it the same
// permissions. A new name each time: runs of a batch may write the same file at the same moment,
// and each needs its own until it is whole. A short name: the file's own may have no room for more.
static std::FILE *open_beside(const std::string &place, std::string &name) {
    const files::path folder = files::path(place).parent_path();
    const auto moment = std::chrono::steady_clock::now().time_since_epoch().count();
    for (int i = 0; i < most_tries; ++i) {
        name = (folder / (beside_name + std::to_string(moment + i))).string();
        std::error_code error;
        std::FILE *file = std::fopen(name.c_str(), "w+xt");
        if (file == nullptr && files::exists(files::symlink_status(name, error))) continue;
        if (file == nullptr) break;
        const files::file_status old = files::status(place, error);
        if (old.type() == files::file_type::regular)
            files::permissions(name, old.permissions(), error);
        return file;
    }
    return nullptr;
}

replaced_file::replaced_file(const char *name)
    : name_(name), place_(behind_links(name_)), written_(place_), stream_(nullptr) {
    if (can_be_replaced(place_)) {
        stream_ = open_beside(place_, written_);
        if (stream_ != nullptr) return;
        written_ = place_;
    }
    stream_ = std::fopen(written_.c_str(), "w+t");
}

replaced_file::~replaced_file() {
    if (stream_ == nullptr) return;
    std::fclose(stream_);
    if (written_ != place_) std::remove(written_.c_str());
}

// In one step, or in place where nothing may be renamed (a file that is a mount point, a folder
// whose files belong to somebody else).
static bool put_in_place(const std::string &written, const std::string &place) {
    std::error_code error;
    files::rename(written, place, error);
    if (!error) return true;
    return files::copy_file(written, place, files::copy_options::overwrite_existing, error) &&
           !error;
}

int replaced_file::finish() {
    if (stream_ == nullptr) return EOF;
    bool whole = std::fflush(stream_) == 0 && std::ferror(stream_) == 0;
    whole = std::fclose(stream_) == 0 && whole; // a full disk may show only here
    stream_ = nullptr;
    if (written_ != place_) {
        whole = whole && put_in_place(written_, place_);
        std::remove(written_.c_str()); // gone already when it was renamed
    }
    if (whole) return 0;
    std::printf("error in writing file %s\n", name_.c_str());
    return EOF;
}
