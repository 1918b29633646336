// SPDX-License-Identifier: BSD-3-Clause
// pattern_name.cpp -- under which name a pattern that a table or a start file names lies beside a
// fit
#include "files/base/pattern_name.h"

#include "files/base/plain_text.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <filesystem>

namespace tools {

namespace fs = std::filesystem;

static constexpr int most_numbers = 100;

// Stems of files of a fit beside those that are called as the data.
static bool is_of_a_fit(const std::string &stem) {
    static const char *const stems[] = {"lsf", "compact", "start",   "temp",  "names",
                                        "run", "results", "quality", "report"};
    return std::find(std::begin(stems), std::end(stems), stem) != std::end(stems);
}

bool pattern_names::is_free(const std::string &name) const {
    // of the data's name the first part counts: NAME.bin, NAME.bin.ref, NAME.fit ...
    return is_plain_name(name) && !files_.contains(name) && !name.starts_with(spectrum_ + ".") &&
           name != spectrum_ && !is_of_a_fit(name.substr(0, name.find('.')));
}

std::string pattern_names::name_for(const std::string &file) {
    std::error_code error;
    const std::string source = fs::canonical(file, error).string();
    if (error) refuse_input(file, "cannot be read (" + error.message() + ")");
    for (const auto &[name, known] : files_)
        if (known == source) return name;
    std::string name = fs::path(file).filename().string();
    const std::string ending = fs::path(file).extension().string();
    for (int n = static_cast<int>(files_.size()) + 1, tries = 0; !is_free(name); ++n, ++tries) {
        if (tries == most_numbers)
            refuse_input(file, "its ending cannot be part of a name; rename it");
        name = "pattern_" + std::to_string(n) + ending;
    }
    files_.emplace(name, source);
    return name;
}

std::string find_pattern_file(const std::string &named_in, const std::string &named) {
    std::error_code error;
    for (const fs::path &place : {fs::path(named_in).parent_path() / named, fs::path(named)})
        if (fs::is_regular_file(place, error)) return place.string();
    refuse_input(named_in,
                 "pattern " + shown_text(named) + " is not there; expected it beside that file");
}

} // namespace tools
