// SPDX-License-Identifier: BSD-3-Clause
// fit_list.cpp -- the list of the files that a fit made, with their digests
#include "files/results/fit_list.h"

#include "files/base/input_file.h"
#include "files/base/part_file.h"
#include "files/base/sha256.h"

#include <algorithm>

namespace tools {

namespace fs = std::filesystem;

static constexpr std::size_t digits_of_digest = 64;

// What varokel-report writes, and what it puts before these names when there are several spectra.
bool is_made_by_report(const std::string &name) {
    static const char *const whole[] = {"report.html",  "look.html",   "results.tsv",
                                        "results.json", "quality.tsv", "quality.json",
                                        "derived.tsv",  "derived.json"};
    static const char *const ends[] = {"fit.svg", "fit.nii.gz", "residual.nii.gz",
                                       "components.nii.gz"};
    return std::any_of(std::begin(whole), std::end(whole),
                       [&](const char *each) { return name == each; }) ||
           std::any_of(std::begin(ends), std::end(ends), [&](const char *each) {
               return name == each || name.ends_with("." + std::string(each));
           });
}

std::vector<fs::path> files_below(const fs::path &folder) {
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder))
        if (!fs::is_directory(entry.symlink_status()))
            files.push_back(entry.path().lexically_relative(folder));
    std::sort(files.begin(), files.end());
    return files;
}

void write_fit_list(const fs::path &folder) {
    std::string text;
    for (const fs::path &file : files_below(folder)) {
        if (file == ".owner" || (!file.has_parent_path() && is_made_by_report(file.string())))
            continue;
        text += sha256_of_file((folder / file).string()) + "  " + file.string() + "\n";
    }
    part_file list((folder / fit_list_name).string());
    list.add(text);
    list.finish();
}

fit_list read_fit_list(const fs::path &folder) {
    fit_list digests;
    std::error_code error;
    if (!fs::is_regular_file(fs::symlink_status(folder / fit_list_name, error))) return digests;
    std::ifstream list = open_input((folder / fit_list_name).string());
    for (std::string line; next_line(list, line, fit_list_name) > 0;) {
        const bool whole = line.size() > digits_of_digest + 2 &&
                           line.find_first_not_of("0123456789abcdef") == digits_of_digest &&
                           line.compare(digits_of_digest, 2, "  ") == 0;
        if (!whole) return {}; // no list of ours
        digests[line.substr(digits_of_digest + 2)] = line.substr(0, digits_of_digest);
    }
    return digests;
}

const fit_list &fit_lists::beside(const fs::path &list_of, const fs::path &folder) {
    const auto [list, is_new] = read_.try_emplace(list_of.string());
    if (is_new)
        for (const auto &[name, digest] : read_fit_list(list_of)) {
            const fs::path file = list_of / name;
            list->second[file.parent_path().string()][file.filename().string()] = digest;
        }
    static const fit_list nothing;
    const auto found = list->second.find(folder.string());
    return found == list->second.end() ? nothing : found->second;
}

} // namespace tools
