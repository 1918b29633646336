// SPDX-License-Identifier: BSD-3-Clause
// file_identity.cpp -- device and inode, and what changes when somebody writes
#include "files/base/file_identity.h"

#include <sys/stat.h>

namespace tools {

std::string file_identity::text() const {
    return std::to_string(device) + ":" + std::to_string(inode);
}

file_identity identity_in(const struct stat &facts) {
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

} // namespace tools
