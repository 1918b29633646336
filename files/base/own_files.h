// SPDX-License-Identifier: BSD-3-Clause
// own_files.h -- files and folders that this process made, taken away again whatever way it ends
//
// An object here stands for one file or folder. It is removed by the object's end, and by a signal
// that ends the process: the handlers walk a list of what there is with calls that are safe in one.
// Before anything is removed it is compared with what was made (device and inode); links are not
// followed. Where the file system knows files without a name, a part file has none until it is
// whole, so that even a process that is killed leaves nothing.
#pragma once

#include "files/base/file_descriptor.h"

#include <cstdint>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace tools {

// Lets SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2, SIGABRT, SIGSEGV and
// SIGBUS remove what this process owns, and then end it as they do. A signal that is ignored or has
// a handler keeps that. SIGXFSZ and SIGPIPE are ignored: the write fails instead, and says so.
// Called once, at the start of a program.
void clean_up_at_signals();

// What the two signals do by default: to be called between fork and exec.
void restore_ignored_signals();

// Which file or folder, whatever it is called. None for what is not there; links are not followed.
struct file_identity {
    std::uint64_t device = 0, inode = 0;
    bool operator==(const file_identity &) const = default;
    bool is_there() const { return inode != 0; }
    std::string text() const; // "device:inode"
};
file_identity identity_of(const std::string &name);
file_identity identity_of(int file);

// Device, inode, size and time of the last change of a plain file; empty for anything else. Links
// are followed. Another text says that somebody wrote it or put another in its place.
std::string file_state(const std::string &name);

// On the list of what is removed at a signal, from here to the end of the object or release.
class owned_path {
  public:
    owned_path() = default;
    // only_empty: a folder that stays when something is in it by then.
    owned_path(const std::string &name, file_identity made, bool only_empty = false);
    owned_path(owned_path &&other) noexcept;
    owned_path &operator=(owned_path &&other) noexcept;
    ~owned_path() { remove(); }
    void remove() noexcept;  // file or folder with all in it, when it is still what was made
    void release() noexcept; // stays

  private:
    void *slot_ = nullptr;
};

// A file that appears under its name as a whole or not at all, on the disk before its name is.
class part_file {
  public:
    // what_now: end of the message when it cannot be written. Errors: bad_output.
    explicit part_file(std::string name, std::string what_now = "");
    part_file(part_file &&) noexcept = default;
    void add(std::string_view bytes);
    void flush();
    // Everything is on the disk now; the file has no descriptor any more.
    void close();
    // The file under its name, in the place of what was there.
    void finish();
    // Under a name in a folder of ours, which is to bring it to the disk (syncfs); finish cannot
    // follow.
    void move_to(const std::string &other);
    const std::string &name() const { return name_; }

  private:
    [[noreturn]] void refuse(int reason) const;
    void give_name();
    std::string name_, what_now_, written_, bytes_;
    file_descriptor file_;
    owned_path owned_;
};

// A folder of this process: NAME.0123456789abcdef, nobody else may enter it. A file in it, .owner,
// says for what it is and on which machine; the process holds a lock on that file. So a later
// process knows a folder that was left by one that was killed, and only such a one.
class own_folder {
  public:
    // place: where it is made; prefix: beginning of its name; purpose: one line that tells it from
    // those of other work, such as the identity of the folder that it is for.
    // Errors: bad_output; reason says which.
    own_folder(const std::string &place, const std::string &prefix, const std::string &purpose);
    own_folder(const own_folder &) = delete;
    own_folder &operator=(const own_folder &) = delete;
    ~own_folder();
    const std::string &name() const { return name_; }
    // Without its .owner; it is still removed at the end of the object.
    void strip_owner();
    // Under another name, where nothing or an empty folder is, and open to others as a folder that
    // was made there. Errors: bad_output.
    void become(const std::string &target);
    // The two folders change their names in one step; this one is as open to others as that one
    // was, and stays. What was there has the name of this one now and nobody owns it. Where the
    // file system cannot do it in one step, it takes two. Errors: bad_output, and nothing moved.
    void exchange_with(const std::string &target);
    // After exchange_with: what has the name of this folder is owned, and removed at the end.
    void own_what_was_there();

  private:
    std::string name_, purpose_;
    file_descriptor lock_;
    owned_path owned_;
};

// Removes the folder when it was made by own_folder for this purpose, on this machine, by this
// user, and its process is gone. Returns whether it was. Anything else stays untouched.
bool remove_leftover(const std::string &folder, const std::string &purpose);
// All of them in a place. Returns how many.
int remove_leftovers(const std::string &place, const std::string &prefix,
                     const std::string &purpose);

// Whether `name` (without a folder) is one that own_folder gives for this prefix.
bool is_own_folder_name(std::string_view name, std::string_view prefix);

// 16 hexadecimal digits that nobody can foresee.
std::string random_digits();

// Name of this machine as the system has it.
std::string machine_name();

} // namespace tools
