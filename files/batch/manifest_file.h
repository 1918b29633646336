// SPDX-License-Identifier: BSD-3-Clause
// manifest_file.h -- manifest.json of a batch, open and locked
#pragma once

#include "files/base/file_descriptor.h"

#include <cstddef>
#include <string>

namespace tools {

// manifest.json, open and locked: runs and merges share the lock, and a new plan in the same folder
// needs it alone. Lines are read from the file that was locked, whatever its name stands for later.
class manifest_file {
  public:
    // Errors: bad_input when there is none; bad_output when a new plan is being put in its place.
    explicit manifest_file(const std::string &name);
    // Waits for nothing. false when somebody works with the plan.
    bool lock_alone();
    // false when the file ends before.
    bool read(char *bytes, std::size_t count, long long at) const;
    long long size() const;
    const std::string &name() const { return name_; }

  private:
    std::string name_;
    file_descriptor file_;
};

} // namespace tools
