// SPDX-License-Identifier: BSD-3-Clause
// held_text.cpp -- a text that is printed at the end, however long it has become by then
#include "files/base/held_text.h"

#include "files/base/own_files.h"
#include "files/base/tool_error.h"

#include <cerrno>
#include <cstring>
#include <ostream>

#include <fcntl.h>
#include <unistd.h>

namespace tools {

static constexpr std::size_t most_held = 1 << 20; // bytes

[[noreturn]] static void refuse_text(const std::string &folder, const char *what) {
    refuse_output(folder, std::string("what is to be printed cannot be ") + what + " (" +
                              std::strerror(errno) + "); is the disk full?");
}

void held_text::add(std::string_view text, const std::string &folder) {
    text_ += text;
    if (text_.size() >= most_held) put_away(folder);
}

void held_text::put_away(const std::string &folder) {
    if (!file_.is_open())
        file_ = file_descriptor(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!file_.is_open()) { // a file system that knows no files without a name
        const std::string name = folder + "/.varokel-text." + random_digits();
        file_ = file_descriptor(
            ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (file_.is_open()) unlink(name.c_str());
    }
    if (!file_.is_open()) refuse_text(folder, "kept");
    if (!write_all(file_.number(), text_)) refuse_text(folder, "kept");
    text_.clear();
}

void held_text::print(std::ostream &out) {
    if (file_.is_open() && lseek(file_.number(), 0, SEEK_SET) == 0) {
        char bytes[1 << 16];
        for (ssize_t count; (count = ::read(file_.number(), bytes, sizeof bytes)) != 0;) {
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) refuse_text("standard output", "read again");
            out.write(bytes, count);
        }
    }
    out << text_;
}

} // namespace tools
