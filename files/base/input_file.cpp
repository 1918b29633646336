// SPDX-License-Identifier: BSD-3-Clause
// input_file.cpp -- opening what is to be read, when somebody else may have put it there
#include "files/base/input_file.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>

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

bool is_file(const std::string &file) {
    std::error_code error;
    return fs::is_regular_file(file, error);
}

std::string in_folder(const std::string &folder, const std::string &file) {
    return (fs::path(folder) / file).string();
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

std::string read_text_file(const std::string &file, const std::string &expected) {
    std::error_code error;
    if (std::filesystem::is_directory(file, error))
        refuse_input(file, "a folder; expected " + expected);
    std::ifstream stream = open_input(file);
    if (!stream) refuse_input(file, "cannot be opened; expected " + expected);
    const auto refuse_size = [&] {
        refuse_input(file, "larger than " + std::to_string(largest_text_file >> 20) +
                               " MiB; expected " + expected);
    };
    // as it says itself, or else, for what the shell hands over, by what comes out
    std::uintmax_t most = 1 << 16; // at a time
    if (std::filesystem::is_regular_file(file, error)) {
        const std::uintmax_t size = std::filesystem::file_size(file, error);
        if (size > largest_text_file) refuse_size();
        most = std::clamp<std::uintmax_t>(size + 1, 4096, most); // one more: the end is seen, too
    }
    std::string text, piece(static_cast<std::size_t>(most), '\0');
    while (stream && text.size() <= largest_text_file) {
        stream.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        text.append(piece, 0, static_cast<std::size_t>(stream.gcount()));
    }
    if (stream.bad()) refuse_input(file, "cannot be read; expected " + expected);
    if (text.size() > largest_text_file) refuse_size();
    return text;
}

} // namespace tools
