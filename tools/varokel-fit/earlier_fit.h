// SPDX-License-Identifier: BSD-3-Clause
// earlier_fit.h -- which files of a folder a fit made, and which are somebody else's
//
// fit_files.sha256 lists what a fit left, as sha256sum(1) has it: two fields, the digest and the
// name from the folder on. A file is of an earlier fit when it stands there and still has that
// digest; so nothing that was changed or put there since is taken for one, whatever a list says.
// The files of the report, which are made again at any time, are known by their names.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace tools {

inline constexpr const char *fit_list_name = "fit_files.sha256";

// Writes the list of all files in a folder but those of the report. Errors: bad_output.
void write_fit_list(const std::filesystem::path &folder);

// What is known of the files of an earlier fit in a folder; nothing when there is no list.
// Errors: none; a list that is damaged lists nothing.
class earlier_fit {
  public:
    explicit earlier_fit(const std::filesystem::path &folder);
    // file: from the folder on.
    bool has(const std::filesystem::path &file) const;

  private:
    std::filesystem::path folder_;
    std::map<std::string, std::string> digests_; // by name
};

// Files that are in one folder and neither in the other nor of an earlier fit are put there too:
// linked, or copied where that is not possible. Returns all files that were looked at, from the
// folder on, with their identity. Errors: bad_output, among others when a file has the name of a
// folder.
std::map<std::string, std::string> take_over(const std::filesystem::path &from,
                                             const std::filesystem::path &to);

// Puts what came into a folder after take_over had looked at it into the other. Errors: bad_output.
void take_late_files(const std::filesystem::path &from, const std::filesystem::path &to,
                     const std::map<std::string, std::string> &looked_at);

} // namespace tools
