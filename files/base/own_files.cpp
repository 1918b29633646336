// SPDX-License-Identifier: BSD-3-Clause
// own_files.cpp -- names that nobody can foresee, and objects that own what has them
#include "files/base/own_files.h"

#include "files/base/own_list.h"
#include "files/base/tool_error.h"

#include <utility>

#include <sys/random.h>

namespace tools {

std::string random_digits() {
    unsigned char bytes[8];
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes))
        throw tool_error(bad_output, "no random numbers to be had from the system");
    std::string text;
    for (const unsigned char byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
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

} // namespace tools
