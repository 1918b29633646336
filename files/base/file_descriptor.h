// SPDX-License-Identifier: BSD-3-Clause
// file_descriptor.h -- the one owner of an open file, and how bytes get into it
#pragma once

#include <cerrno>
#include <span>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace tools {

// A descriptor that is closed with the object; errno stays what it was. What open(2) and its like
// give, -1 for none.
class file_descriptor {
  public:
    file_descriptor() = default;
    explicit file_descriptor(int number) : number_(number) {}
    file_descriptor(file_descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
    file_descriptor &operator=(file_descriptor &&other) noexcept {
        if (this != &other) {
            close_quietly();
            number_ = std::exchange(other.number_, -1);
        }
        return *this;
    }
    ~file_descriptor() { close_quietly(); }

    bool is_open() const { return number_ >= 0; }
    int number() const { return number_; }
    // As many bytes as there is room for, from this place on, however often the system is
    // interrupted. false when the file ends before, or cannot be read.
    bool read_at(std::span<char> bytes, long long at) const {
        while (!bytes.empty()) {
            const ssize_t count = ::pread(number_, bytes.data(), bytes.size(), at);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return false;
            bytes = bytes.subspan(static_cast<std::size_t>(count));
            at += count;
        }
        return true;
    }
    // The caller's from now on.
    int release() { return std::exchange(number_, -1); }
    // false, and errno says why, when the system could not keep all that was written.
    bool close() { return number_ < 0 || ::close(release()) == 0; }

  private:
    void close_quietly() {
        const int reason = errno;
        close();
        errno = reason;
    }
    int number_ = -1;
};

// Writes all bytes, however often the system is interrupted. false, and errno says why, when it
// could not.
inline bool write_all(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace tools
