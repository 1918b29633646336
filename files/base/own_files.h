// SPDX-License-Identifier: BSD-3-Clause
// own_files.h -- what this process made is taken away again whatever way it ends
//
// An object stands for one file or folder. It is removed by the object's end, and by a signal that
// ends the process: the handlers walk a list of what there is with calls that are safe in one.
// Before anything is removed it is compared with what was made (device and inode); links are not
// followed.
#pragma once

#include "files/base/file_identity.h"

#include <string>

namespace tools {

// Lets SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2, SIGABRT, SIGSEGV and
// SIGBUS remove what this process owns, and then end it as they do. A signal that is ignored or has
// a handler keeps that. SIGXFSZ and SIGPIPE are ignored: the write fails instead, and says so.
// Called once, at the start of a program.
void clean_up_at_signals();

// What the two signals do by default: to be called between fork and exec.
void restore_ignored_signals();

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

// 16 hexadecimal digits that nobody can foresee.
std::string random_digits();

} // namespace tools
