// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/text_file.h"

#include "files/base/input_file.h"
#include "files/base/tool_error.h"

#include <filesystem>

namespace tools {

std::string read_text_file(const std::string &file, const std::string &expected) {
    std::error_code error;
    if (std::filesystem::is_directory(file, error))
        throw tool_error(bad_input, file + ": a folder; expected " + expected);
    std::ifstream stream = open_input(file);
    if (!stream) throw tool_error(bad_input, file + ": cannot be opened; expected " + expected);
    const auto refuse_size = [&] {
        throw tool_error(bad_input, file + ": larger than " +
                                        std::to_string(largest_text_file >> 20) +
                                        " MiB; expected " + expected);
    };
    // as it says itself, or else, for what the shell hands over, by what comes out
    if (std::filesystem::is_regular_file(file, error) &&
        std::filesystem::file_size(file, error) > largest_text_file)
        refuse_size();
    std::string text, piece(1 << 16, '\0');
    while (stream && text.size() <= largest_text_file) {
        stream.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        text.append(piece, 0, static_cast<std::size_t>(stream.gcount()));
    }
    if (stream.bad()) throw tool_error(bad_input, file + ": cannot be read; expected " + expected);
    if (text.size() > largest_text_file) refuse_size();
    return text;
}

} // namespace tools
