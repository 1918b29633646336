// SPDX-License-Identifier: BSD-3-Clause
// fit_list.cpp -- the list of the files that a fit made, with their digests, and what changed since
#include "files/results/fit_list.h"

#include "files/base/input_file.h"
#include "files/base/part_file.h"
#include "files/base/sha256.h"
#include "files/spectra/search_limits.h"

#include <algorithm>
#include <filesystem>

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

// The components of the largest fit: what claims to be larger need not be read to be another.
static constexpr std::uintmax_t largest_of_a_fit =
    std::uintmax_t{8} * search_limits::points * search_limits::entries;

// Digests of the files beside optimum.json, by name; none when the list does not have it as it is.
static fit_list digests_beside_optimum(const fit_list &beside, const fs::path &folder) {
    const auto optimum = beside.find("optimum.json");
    std::error_code error;
    const bool same = optimum != beside.end() &&
                      fs::file_size(folder / "optimum.json", error) <= largest_text_file &&
                      sha256_of_file((folder / "optimum.json").string()) == optimum->second;
    return same ? beside : fit_list();
}

optimum_files files_beside_optimum(const std::string &folder, const std::string &name,
                                   fit_lists &lists) {
    const fs::path place = fs::absolute(fs::path(folder) / "").lexically_normal().parent_path();
    fit_list beside = digests_beside_optimum(lists.beside(place, place), place);
    if (beside.empty())
        beside = digests_beside_optimum(lists.beside(place.parent_path(), place), place);
    optimum_files found;
    if (beside.empty()) return found;
    std::error_code error;
    for (const auto &[file, digest] : beside) {
        if (file == "names.txt" || file == name + ".json" || file.ends_with(".log")) continue;
        if (!fs::is_regular_file(place / file, error)) continue;
        if (fs::file_size(place / file, error) > largest_of_a_fit ||
            sha256_of_file((place / file).string()) != digest)
            found.changed.push_back(file);
    }
    found.other_search =
        !beside.contains(name + ".exl") && fs::is_regular_file(place / (name + ".exl"), error);
    return found;
}

} // namespace tools
