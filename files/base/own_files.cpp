// SPDX-License-Identifier: BSD-3-Clause
// own_files.cpp -- files and folders that this process made, taken away again whatever way it ends
#include "files/base/own_files.h"

#include "files/base/own_list.h"
#include "files/base/tool_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

static constexpr int most_tries = 100;             // of names that are taken
static constexpr std::size_t flushed_at = 1 << 16; // bytes that are held back
static constexpr std::size_t random_letters = 16;
static constexpr std::size_t longest_owner = 4096;

std::string random_digits() {
    unsigned char bytes[random_letters / 2];
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes))
        throw tool_error(bad_output, "no random numbers to be had from the system");
    std::string text;
    for (const unsigned char byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

std::string machine_name() {
    char name[256] = "";
    gethostname(name, sizeof name - 1);
    return name;
}

std::string file_identity::text() const {
    return std::to_string(device) + ":" + std::to_string(inode);
}

static file_identity identity_in(const struct stat &facts) {
    return {static_cast<std::uint64_t>(facts.st_dev), static_cast<std::uint64_t>(facts.st_ino)};
}

file_identity identity_of(const std::string &name) {
    struct stat facts = {};
    return lstat(name.c_str(), &facts) == 0 ? identity_in(facts) : file_identity{};
}

file_identity identity_of(int file) {
    struct stat facts = {};
    return fstat(file, &facts) == 0 ? identity_in(facts) : file_identity{};
}

std::string file_state(const std::string &name) {
    struct stat facts = {};
    if (stat(name.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) return "";
    return identity_in(facts).text() + ":" + std::to_string(facts.st_size) + ":" +
           std::to_string(facts.st_mtim.tv_sec) + "." + std::to_string(facts.st_mtim.tv_nsec);
}

owned_path::owned_path(const std::string &name, file_identity made, bool only_empty)
    : slot_(list_own(name, made.device, made.inode, only_empty)) {}

owned_path::owned_path(owned_path &&other) noexcept : slot_(std::exchange(other.slot_, nullptr)) {}

owned_path &owned_path::operator=(owned_path &&other) noexcept {
    if (this != &other) {
        remove();
        slot_ = std::exchange(other.slot_, nullptr);
    }
    return *this;
}

void owned_path::remove() noexcept {
    if (slot_ != nullptr) remove_own(std::exchange(slot_, nullptr));
}

void owned_path::release() noexcept {
    if (slot_ != nullptr) forget_own(std::exchange(slot_, nullptr));
}

// --- part_file

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
    throw tool_error(bad_output, name_ + ": cannot be written (" + std::strerror(reason) +
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
    for (std::size_t done = 0; done < bytes_.size();) {
        const ssize_t count = ::write(file_.number(), bytes_.data() + done, bytes_.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) refuse(errno);
        done += static_cast<std::size_t>(count);
    }
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

// --- own_folder

static std::string owner_text(const std::string &purpose) {
    return "varokel\nmachine " + machine_name() + "\nfor " + purpose + "\n";
}

own_folder::own_folder(const std::string &place, const std::string &prefix,
                       const std::string &purpose)
    : purpose_(purpose) {
    const std::string absolute = fs::absolute(place).string();
    const auto refuse = [&](const std::string &name) {
        throw tool_error(bad_output, name + ": cannot be written (" + std::strerror(errno) + ")");
    };
    for (int i = 0; name_.empty(); ++i) {
        const std::string name = absolute + "/" + prefix + random_digits();
        const held_signals no_signals; // between the folder and its place on the list
        if (mkdir(name.c_str(), 0700) == 0) {
            name_ = name;
            owned_ = owned_path(name_, identity_of(name_));
        } else if (errno != EEXIST || i == most_tries) {
            refuse(place);
        }
    }
    const std::string owner = name_ + "/.owner", text = owner_text(purpose);
    lock_ = file_descriptor(
        ::open(owner.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!lock_.is_open()) refuse(name_);
    flock(lock_.number(), LOCK_EX | LOCK_NB);
    if (::write(lock_.number(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        refuse(name_);
}

own_folder::~own_folder() {
    owned_.remove(); // before the lock goes
}

void own_folder::strip_owner() {
    unlink((name_ + "/.owner").c_str());
}

void own_folder::become(const std::string &target) {
    strip_owner();
    const mode_t mask = umask(0);
    umask(mask);
    const held_signals no_signals; // between the new name and the list
    if (chmod(name_.c_str(), 0777 & ~mask) != 0 || std::rename(name_.c_str(), target.c_str()) != 0)
        throw tool_error(bad_output, target + ": cannot be written (" + std::strerror(errno) + ")");
    owned_.release();
}

void own_folder::exchange_with(const std::string &target) {
    const auto refuse = [&](int reason) {
        throw tool_error(bad_output, target + ": cannot be replaced (" + std::strerror(reason) +
                                         "); choose another folder");
    };
    struct stat facts = {};
    if (stat(target.c_str(), &facts) != 0) refuse(errno);
    strip_owner();
    const held_signals no_signals; // between the new name and the list
    if (chmod(name_.c_str(), facts.st_mode & 07777) != 0) refuse(errno);
    if (renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) != 0) {
        if (errno != EINVAL && errno != ENOSYS) refuse(errno);
        const std::string aside = name_ + ".before";
        if (std::rename(target.c_str(), aside.c_str()) != 0) refuse(errno);
        if (std::rename(name_.c_str(), target.c_str()) != 0) {
            const int reason = errno;
            std::rename(aside.c_str(), target.c_str());
            refuse(reason);
        }
        std::rename(aside.c_str(), name_.c_str());
    }
    owned_.release();
    lock_.close();
}

void own_folder::own_what_was_there() {
    // a process that is killed from here on leaves what the next one knows and removes
    if (chmod(name_.c_str(), 0700) == 0) {
        const std::string owner = name_ + "/.owner", text = owner_text(purpose_);
        lock_ = file_descriptor(
            ::open(owner.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (lock_.is_open()) {
            flock(lock_.number(), LOCK_EX | LOCK_NB);
            if (::write(lock_.number(), text.data(), text.size()) < 0) unlink(owner.c_str());
        }
    }
    owned_ = owned_path(name_, identity_of(name_));
}

bool is_own_folder_name(std::string_view name, std::string_view prefix) {
    return name.size() == prefix.size() + random_letters && name.starts_with(prefix) &&
           name.substr(prefix.size()).find_first_not_of("0123456789abcdef") == name.npos;
}

bool remove_leftover(const std::string &folder, const std::string &purpose) {
    file_descriptor place(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat facts = {};
    if (!place.is_open() || fstat(place.number(), &facts) != 0 || facts.st_uid != geteuid() ||
        (facts.st_mode & 0777) != 0700)
        return false;
    const file_descriptor owner(
        openat(place.number(), ".owner", O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    place.close();
    if (!owner.is_open()) return false;
    std::string text(longest_owner, '\0');
    const ssize_t count = ::read(owner.number(), text.data(), text.size());
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    bool removed = false;
    // a process that was just killed may hold its lock for a moment
    for (int tries = 0; text == owner_text(purpose) && tries < 20; ++tries) {
        if (tries > 0) usleep(50000);
        if (flock(owner.number(), LOCK_EX | LOCK_NB) != 0) continue;
        // a program that it had started may still be on its way out, and writing
        for (int again = 0; again < 20 && !removed; ++again) {
            if (again > 0) usleep(50000);
            removed =
                remove_tree(folder.c_str(), identity_in(facts).device, identity_in(facts).inode);
        }
        break;
    }
    return removed;
}

int remove_leftovers(const std::string &place, const std::string &prefix,
                     const std::string &purpose) {
    int removed = 0;
    std::error_code error;
    for (const fs::directory_entry &each : fs::directory_iterator(place, error))
        if (is_own_folder_name(each.path().filename().string(), prefix) &&
            remove_leftover(each.path().string(), purpose))
            ++removed;
    return removed;
}

} // namespace tools
