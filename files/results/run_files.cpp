// SPDX-License-Identifier: BSD-3-Clause
// run_files.cpp -- names and lines of the files of a run, and the runs of a folder
#include "files/results/run_files.h"

#include "files/base/natural_order.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <filesystem>

namespace tools {

namespace fs = std::filesystem;

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

std::vector<std::string> lines_of(const std::string &file, const std::string &expected) {
    std::vector<std::string> lines = split(read_text_file(file, expected), '\n');
    if (lines.back().empty()) lines.pop_back();
    return lines;
}

std::vector<std::string> spectra_of_folder(const std::string &folder) {
    std::vector<std::string> found;
    std::error_code error;
    for (const fs::directory_entry &file : fs::directory_iterator(folder, error)) {
        if (!file.is_regular_file(error)) continue;
        // a signal to be fitted has a sidecar or is one; patterns have neither
        if (file.path().extension() == ".exl" ||
            (file.path().extension() == ".bin" &&
             is_file((file.path().parent_path() / file.path().stem()).string() + ".json")))
            found.push_back(file.path().stem().string());
    }
    if (error)
        refuse_input(folder,
                     "cannot be read (" + error.message() + "); expected the folder of a fit");
    std::sort(found.begin(), found.end(), in_natural_order);
    found.erase(std::unique(found.begin(), found.end()), found.end()); // with results and a signal
    return found;
}

} // namespace tools
