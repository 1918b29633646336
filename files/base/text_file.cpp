// SPDX-License-Identifier: BSD-3-Clause
// text_file.cpp -- a text file, whole
#include "files/base/text_file.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>

namespace tools {

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
