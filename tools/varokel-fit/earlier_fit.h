// SPDX-License-Identifier: BSD-3-Clause
// earlier_fit.h -- which files of a folder a fit made, and which are somebody else's
//
// A file is of an earlier fit when the fit's list (files/results/fit_list.h) has it and it still
// has that digest, or when it has the name of a file that the report makes.
#pragma once

#include "files/results/fit_list.h"

namespace tools {

// What is known of the files of an earlier fit in a folder; nothing when there is no list.
// Errors: none; a list that is damaged lists nothing.
class earlier_fit {
  public:
    explicit earlier_fit(const std::filesystem::path &folder);
    // file: from the folder on.
    bool has(const std::filesystem::path &file) const;

  private:
    std::filesystem::path folder_;
    fit_list digests_;
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
