// SPDX-License-Identifier: BSD-3-Clause
// fit_list.h -- the list of the files that a fit made, with their digests, and what changed since
//
// fit_files.sha256 lists what a fit left, as sha256sum(1) has it: two fields, the digest and the
// name from the folder on. A file is what the fit made when it stands there and still has that
// digest; so nothing that was changed or put there since is taken for it, whatever a list says.
// The files of the report, which are made again at any time, are known by their names.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tools {

inline constexpr const char *fit_list_name = "fit_files.sha256";

// SHA-256 [64 hexadecimal digits] by name, from the folder of the list on.
using fit_list = std::map<std::string, std::string>;

// Writes the list of all files in a folder but those of the report. Errors: bad_output.
void write_fit_list(const std::filesystem::path &folder);

// The list of a folder. Errors: none; empty when there is none, or it is no list of write_fit_list.
fit_list read_fit_list(const std::filesystem::path &folder);

// Lists that were read, by the folders of their files: for many spectra below one folder, whose
// list would else be read again for each of them.
class fit_lists {
  public:
    // What the list of `list_of` says of the files that lie in `folder` itself, by their names
    // there. list_of, folder: absolute, without dots. Errors: none, as read_fit_list.
    const fit_list &beside(const std::filesystem::path &list_of,
                           const std::filesystem::path &folder);

  private:
    std::map<std::string, std::map<std::string, fit_list>> read_; // by list_of, then by folder
};

// Whether varokel-report writes files of this name, which is one without a folder.
bool is_made_by_report(const std::string &name);

// All files below a folder but folders, from it on and sorted; links are not followed.
// Errors: std::filesystem::filesystem_error.
std::vector<std::filesystem::path> files_below(const std::filesystem::path &folder);

// Of the files beside optimum.json, by fit_files.sha256 of their folder, or of the one above it for
// a fit of several spectra. Nothing is said when no list has this very optimum.json.
struct optimum_files {
    // Names without folder, sorted: data, start values, patterns and results that are no longer
    // what they were when the fit ended. Names of entries and what the sidecar says of the axis are
    // not of the fit, and may be corrected; a file that is gone has not changed.
    std::vector<std::string> changed;
    bool other_search = false; // there is a NAME.exl that the fit did not leave
};

// folder, name: of the spectrum, as read_run has them. lists: those that earlier spectra needed,
// and what this one adds. Errors: bad_input for a file that cannot be read.
optimum_files files_beside_optimum(const std::string &folder, const std::string &name,
                                   fit_lists &lists);

} // namespace tools
