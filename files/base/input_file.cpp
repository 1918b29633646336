// SPDX-License-Identifier: BSD-3-Clause
// input_file.cpp -- opening what is to be read, when somebody else may have put it there
#include "files/base/input_file.h"

#include "files/base/tool_error.h"

#include <filesystem>

namespace tools {

namespace fs = std::filesystem;

static const char *kind_of(fs::file_type type) {
    switch (type) {
    case fs::file_type::fifo:
        return "a pipe";
    case fs::file_type::socket:
        return "a socket";
    case fs::file_type::character:
    case fs::file_type::block:
        return "a device";
    default:
        return nullptr;
    }
}

void refuse_no_file(const std::string &file) {
    if (file.starts_with("/dev/") || file.starts_with("/proc/")) return;
    std::error_code error;
    if (const char *const kind = kind_of(fs::status(file, error).type()))
        refuse_input(file, std::string(kind) + "; expected a file");
}

std::ifstream open_input(const std::string &file) {
    refuse_no_file(file);
    std::error_code error;
    if (!fs::is_directory(file, error)) return std::ifstream(file, std::ios::binary);
    std::ifstream none;
    none.setstate(std::ios::failbit);
    return none;
}

std::size_t next_line(std::istream &stream, std::string &line, const std::string &file) {
    line.clear();
    std::size_t bytes = 0;
    char piece[4096];
    for (;;) {
        stream.getline(piece, sizeof piece);
        const auto count = static_cast<std::size_t>(stream.gcount());
        bytes += count;
        if (stream.good()) { // counts the line end, which is taken off
            line.append(piece, count - 1);
            return bytes;
        }
        line.append(piece, count);
        if (stream.eof() || count == 0) return bytes; // the last line has no end; a reading error
        if (line.size() > longest_input_line)
            refuse_input(file, "a line longer than " + std::to_string(longest_input_line >> 20) +
                                   " MiB; expected lines of text. Is the file of another format?");
        stream.clear(); // the line goes on
    }
}

} // namespace tools
