// SPDX-License-Identifier: BSD-3-Clause
// file_identity.h -- whether a name still stands for the file that it stood for
#pragma once

#include <cstdint>
#include <string>

struct stat;

namespace tools {

// Which file or folder, whatever it is called. None for what is not there; links are not followed.
struct file_identity {
    std::uint64_t device = 0, inode = 0;
    bool operator==(const file_identity &) const = default;
    bool is_there() const { return inode != 0; }
    std::string text() const; // "device:inode"
};
file_identity identity_of(const std::string &name);
file_identity identity_of(int file);
file_identity identity_in(const struct stat &facts);

// Device, inode, size and time of the last change of a plain file; empty for anything else. Links
// are followed. Another text says that somebody wrote it or put another in its place.
std::string file_state(const std::string &name);

} // namespace tools
