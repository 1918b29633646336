// SPDX-License-Identifier: BSD-3-Clause
// own_folder.cpp -- a folder of this process, which later ones know when it was killed
#include "files/base/own_folder.h"

#include "files/base/own_list.h"
#include "files/base/tool_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

namespace fs = std::filesystem;

static constexpr int most_folders = 100; // names that are taken
static constexpr std::size_t random_letters = 16;
static constexpr std::size_t longest_owner = 4096;

std::string machine_name() {
    char name[256] = "";
    gethostname(name, sizeof name - 1);
    return name;
}

[[noreturn]] static void refuse(const std::string &name) {
    refuse_output(name, std::string("cannot be written (") + std::strerror(errno) + ")");
}

static std::string owner_text(const std::string &purpose) {
    return "varokel\nmachine " + machine_name() + "\nfor " + purpose + "\n";
}

// Whether the folder has its .owner now; not when somebody who takes it for a half-made one of a
// process that is gone removes it, or is about to.
bool own_folder::take_possession() {
    const std::string owner = name_ + "/.owner", text = owner_text(purpose_);
    lock_ = file_descriptor(
        ::open(owner.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!lock_.is_open() && errno == ENOENT) return false;
    if (!lock_.is_open()) refuse(name_);
    if (flock(lock_.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return false;
    if (::write(lock_.number(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        refuse(name_);
    return identity_of(owner) == identity_of(lock_.number());
}

own_folder::own_folder(const std::string &place, const std::string &prefix,
                       const std::string &purpose,
                       const std::function<void(const std::string &)> &announce)
    : purpose_(purpose) {
    const std::string absolute = fs::absolute(place).string();
    for (int i = 0; i < most_folders; ++i) {
        name_ = absolute + "/" + prefix + random_digits();
        if (announce) announce(name_);
        {
            const held_signals no_signals; // between the folder and its place on the list
            if (mkdir(name_.c_str(), 0700) != 0) {
                if (errno == EEXIST) continue;
                break;
            }
            owned_ = owned_path(name_, identity_of(name_));
        }
        if (take_possession()) return;
        owned_.remove();
    }
    refuse(place);
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
        refuse_output(target, std::string("cannot be written (") + std::strerror(errno) + ")");
    owned_.release();
}

void own_folder::exchange_with(const std::string &target) {
    const auto refuse_exchange = [&](int reason) {
        refuse_output(target, std::string("cannot be replaced (") + std::strerror(reason) +
                                  "); choose another folder");
    };
    struct stat facts = {};
    if (stat(target.c_str(), &facts) != 0) refuse_exchange(errno);
    strip_owner();
    const held_signals no_signals; // between the new name and the list
    if (chmod(name_.c_str(), facts.st_mode & 07777) != 0) refuse_exchange(errno);
    if (renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) != 0) {
        if (errno != EINVAL && errno != ENOSYS) refuse_exchange(errno);
        const std::string aside = name_ + ".before";
        if (std::rename(target.c_str(), aside.c_str()) != 0) refuse_exchange(errno);
        if (std::rename(name_.c_str(), target.c_str()) != 0) {
            const int reason = errno;
            std::rename(aside.c_str(), target.c_str());
            refuse_exchange(reason);
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

// Whether nothing is in a folder but perhaps .owner.
static bool has_owner_alone(const std::string &folder) {
    std::error_code error;
    for (fs::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error))
        if (each->path().filename() != ".owner") return false;
    return !error;
}

bool remove_leftover(const std::string &folder, const std::string &prefix,
                     const std::string &purpose) {
    const file_descriptor place(
        ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat facts = {};
    if (!place.is_open() || fstat(place.number(), &facts) != 0 || facts.st_uid != geteuid() ||
        (facts.st_mode & 0777) != 0700)
        return false;
    const bool is_named = is_own_folder_name(fs::path(folder).filename().string(), prefix);
    const file_descriptor owner(
        openat(place.number(), ".owner", O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!owner.is_open()) return is_named && rmdir(folder.c_str()) == 0; // when nothing is in it
    std::string text(longest_owner, '\0');
    const ssize_t count = ::read(owner.number(), text.data(), text.size());
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    const std::string whole = owner_text(purpose);
    const bool is_half_made = is_named && whole.starts_with(text) && has_owner_alone(folder);
    bool removed = false;
    // a process that was just killed may hold its lock for a moment
    for (int tries = 0; (text == whole || is_half_made) && tries < 20; ++tries) {
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
            remove_leftover(each.path().string(), prefix, purpose))
            ++removed;
    return removed;
}

} // namespace tools
