// SPDX-License-Identifier: BSD-3-Clause
// replaced_plan.h -- a plan that another is to replace
#pragma once

#include "files/batch/manifest_file.h"

#include <memory>
#include <string>
#include <vector>

namespace tools {

// A plan that another is to replace, of this version or an earlier one; locked alone.
struct replaced_plan {
    // Errors: bad_output when the manifest is not one of ours, and when somebody works with it.
    explicit replaced_plan(const std::string &folder);
    std::shared_ptr<manifest_file> file;
    std::vector<std::string> entry_names, pattern_files; // only plain names
};

} // namespace tools
