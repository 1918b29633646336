// SPDX-License-Identifier: BSD-3-Clause
// run_files.cpp -- names and lines of the files of a run
#include "files/results/run_files.h"

#include "files/base/text_file.h"
#include "files/base/tool_error.h"

#include <filesystem>

namespace tools {

namespace fs = std::filesystem;

bool is_file(const std::string &file) {
    std::error_code error;
    return fs::is_regular_file(file, error);
}

std::string in_folder(const std::string &folder, const std::string &file) {
    return (fs::path(folder) / file).string();
}

std::vector<std::string> split(const std::string &line, char at) {
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (std::size_t end = line.find(at); end != line.npos; end = line.find(at, begin)) {
        parts.push_back(line.substr(begin, end - begin));
        begin = end + 1;
    }
    parts.push_back(line.substr(begin));
    return parts;
}

std::vector<std::string> lines_of(const std::string &file) {
    std::vector<std::string> lines = split(read_text_file(file, "the lines of a fit"), '\n');
    if (lines.back().empty()) lines.pop_back();
    return lines;
}

} // namespace tools
