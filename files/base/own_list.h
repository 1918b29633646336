// SPDX-License-Identifier: BSD-3-Clause
// own_list.h -- what this process made and must take away, in a form that signal handlers can walk
#pragma once

#include <cstdint>
#include <string>

#include <signal.h>

namespace tools {

// No signal reaches this thread while the object lives.
class held_signals {
  public:
    held_signals();
    held_signals(const held_signals &) = delete;
    held_signals &operator=(const held_signals &) = delete;
    ~held_signals();

  private:
    sigset_t before_;
};

// Puts a path on the list; the place there, for the two below. only_empty: a folder that is taken
// away only when nothing is in it. Errors: std::bad_alloc.
void *list_own(const std::string &name, std::uint64_t device, std::uint64_t inode, bool only_empty);
// Takes it off the list, and away from the disk when it is still what was made.
void remove_own(void *slot) noexcept;
// Takes it off the list.
void forget_own(void *slot) noexcept;

// Removes a file, a link or a folder with all in it, if it is the one with this identity. Links in
// it are removed, not followed; another file system that is mounted in it stays. Only calls that
// are safe in a signal handler. Returns whether it is gone.
bool remove_tree(const char *name, std::uint64_t device, std::uint64_t inode,
                 bool only_empty = false) noexcept;

} // namespace tools
