// SPDX-License-Identifier: BSD-3-Clause
// part_file.h -- a file that appears under its name as a whole or not at all
//
// Where the file system knows files without a name, it has none until it is whole, so that even a
// process that is killed leaves nothing.
#pragma once

#include "files/base/file_descriptor.h"
#include "files/base/own_files.h"

#include <string>
#include <string_view>

namespace tools {

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

} // namespace tools
