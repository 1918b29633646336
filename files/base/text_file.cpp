// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/text_file.h"

#include "files/base/tool_error.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace tools {

std::string read_text_file(const std::string &file, const std::string &expected) {
    // a folder can be opened like a file, and throws when it is read
    std::error_code error;
    if (std::filesystem::is_directory(file, error))
        throw tool_error(bad_input, file + ": a folder; expected " + expected);
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw tool_error(bad_input, file + ": cannot be opened; expected " + expected);
    std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (stream.bad()) throw tool_error(bad_input, file + ": cannot be read; expected " + expected);
    return text;
}

} // namespace tools
