// SPDX-License-Identifier: BSD-3-Clause
// stale_optimum.cpp -- whether the optimum of a folder is still that of its files
#include "files/results/stale_optimum.h"

#include "files/base/input_file.h"
#include "files/base/sha256.h"
#include "files/spectra/search_limits.h"

#include <filesystem>

namespace tools {

namespace fs = std::filesystem;

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
