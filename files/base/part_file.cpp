// SPDX-License-Identifier: BSD-3-Clause
// part_file.cpp -- written without a name or under one of its own, then renamed
#include "files/base/part_file.h"

#include "files/base/tool_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

static constexpr int most_tries = 100;             // of names that are taken
static constexpr std::size_t flushed_at = 1 << 16; // bytes that are held back

static std::string folder_of(const std::string &name) {
    const std::string folder = fs::path(name).parent_path().string();
    return folder.empty() ? "." : folder;
}

part_file::part_file(std::string name, std::string what_now)
    : name_(std::move(name)), what_now_(std::move(what_now)) {
    file_ =
        file_descriptor(::open(folder_of(name_).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
    if (!file_.is_open()) give_name();
}

void part_file::refuse(int reason) const {
    refuse_output(name_, std::string("cannot be written (") + std::strerror(reason) +
                             "); does the folder exist, is it yours, is the disk full?" +
                             what_now_);
}

// A name of its own beside the place of the file: for a new file, or for the one that has none yet.
void part_file::give_name() {
    const fs::path target(name_);
    for (int i = 0; i < most_tries; ++i) {
        written_ = (target.parent_path() / (".varokel-part." + random_digits())).string();
        if (file_.is_open()) {
            const std::string link = "/proc/self/fd/" + std::to_string(file_.number());
            owned_ = owned_path(written_, identity_of(file_.number())); // before it is there
            if (linkat(AT_FDCWD, link.c_str(), AT_FDCWD, written_.c_str(), AT_SYMLINK_FOLLOW) == 0)
                return;
        } else {
            file_ = file_descriptor(::open(
                written_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
            if (file_.is_open()) {
                owned_ = owned_path(written_, identity_of(file_.number()));
                return;
            }
        }
        if (errno != EEXIST) break;
    }
    const int reason = errno;
    owned_.release();
    refuse(reason);
}

void part_file::flush() {
    if (!write_all(file_.number(), bytes_)) refuse(errno);
    bytes_.clear();
}

void part_file::add(std::string_view bytes) {
    bytes_ += bytes;
    if (bytes_.size() >= flushed_at) flush();
}

void part_file::close() {
    if (!file_.is_open()) return;
    flush();
    if (fsync(file_.number()) != 0 && errno != EINVAL) refuse(errno);
    if (written_.empty()) give_name();
    if (!file_.close()) refuse(errno);
}

void part_file::finish() {
    close();
    if (std::rename(written_.c_str(), name_.c_str()) != 0) refuse(errno);
    owned_.release();
    const file_descriptor folder(
        ::open(folder_of(name_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.is_open()) fsync(folder.number()); // the new name
}

void part_file::move_to(const std::string &other) {
    flush();
    if (written_.empty()) give_name();
    if (!file_.close()) refuse(errno);
    if (std::rename(written_.c_str(), other.c_str()) != 0) refuse(errno);
    owned_.release();
}

} // namespace tools
