// SPDX-License-Identifier: BSD-3-Clause
// own_folder.h -- a folder of this process, which later ones know when it was killed
#pragma once

#include "files/base/file_descriptor.h"
#include "files/base/own_files.h"

#include <functional>
#include <string>
#include <string_view>

namespace tools {

// A folder of this process: NAME.0123456789abcdef, nobody else may enter it. A file in it, .owner,
// says for what it is and on which machine; the process holds a lock on that file. So a later
// process knows a folder that was left by one that was killed, and only such a one.
class own_folder {
  public:
    // place: where it is made; prefix: beginning of its name; purpose: one line that tells it from
    // those of other work, such as the identity of the folder that it is for. announce: is told the
    // name before anything has it, to note what a later process may have to remove; the last one
    // that it was told is the folder's.
    // Errors: bad_output; reason says which.
    own_folder(const std::string &place, const std::string &prefix, const std::string &purpose,
               const std::function<void(const std::string &)> &announce = {});
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
    bool take_possession();
    std::string name_, purpose_;
    file_descriptor lock_;
    owned_path owned_;
};

// Removes the folder when it was made by own_folder for this purpose, on this machine, by this
// user, and its process is gone. Returns whether it was. Anything else stays untouched. One with a
// name that own_folder gives for this prefix may be half made, empty or with the beginning of an
// .owner alone; a process that is about to own it makes another.
bool remove_leftover(const std::string &folder, const std::string &prefix,
                     const std::string &purpose);
// All of them in a place. Returns how many.
int remove_leftovers(const std::string &place, const std::string &prefix,
                     const std::string &purpose);

// Whether `name` (without a folder) is one that own_folder gives for this prefix.
bool is_own_folder_name(std::string_view name, std::string_view prefix);

// Name of this machine as the system has it.
std::string machine_name();

} // namespace tools
