// SPDX-License-Identifier: BSD-3-Clause
// shard_lock.h -- one process at a time works on a shard, and others can tell which
//
// run/shards/0003_of_0050.lock holds the lock of the system and, as JSON, what tells its owner:
//   machine, process, started   name of the machine, process number, seconds since 1970
//   shards                      device and inode of run/shards/ where it was written
//   scratch                     folder of the fits, "" when they need none; of the fits of the
//                               process before, when that was killed, until it is removed
// A folder that was copied has another device or inode: the note in it is another folder's, and so
// is all that the note names. The file is removed with the lock.
#pragma once

#include "files/base/file_descriptor.h"

#include <optional>
#include <string>

namespace tools {

struct lock_note {
    std::string machine, shards, scratch;
    long long process = 0, started = 0;
};

// What stands in a lock file; nothing when it holds something else.
std::optional<lock_note> read_lock_note(const std::string &file);

class shard_lock {
  public:
    // stem: of the files of the shard. Errors: bad_output when another process has it, which is
    // named, and when the file cannot be written.
    explicit shard_lock(const std::string &stem);
    shard_lock(const shard_lock &) = delete;
    shard_lock &operator=(const shard_lock &) = delete;
    ~shard_lock();
    // Of a process that was killed, or of the folder that this one is a copy of.
    const std::optional<lock_note> &before() const { return before_; }
    // Whether the note before was written in this very folder.
    bool before_is_ours() const { return before_ && before_->shards == shards_; }
    // What tells folders for this shard from all others.
    std::string purpose() const;
    // Errors: bad_output.
    void note_scratch(const std::string &folder);

  private:
    void write_note(const std::string &scratch);
    std::string name_, shards_, shard_;
    std::optional<lock_note> before_;
    file_descriptor file_;
};

} // namespace tools
