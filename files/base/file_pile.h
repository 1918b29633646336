// SPDX-License-Identifier: BSD-3-Clause
// file_pile.h -- files of one folder by the thousand, which appear together
//
// They lie by number in a hidden folder beside their places, with the list of their names; what is
// held does not grow with them. A process that is killed leaves that folder, and the next pile
// there removes it.
#pragma once

#include "files/base/part_file.h"

#include <functional>
#include <memory>
#include <string>

namespace tools {

class file_pile {
  public:
    // Errors: bad_output.
    explicit file_pile(const std::string &folder);
    file_pile(const file_pile &) = delete;
    file_pile &operator=(const file_pile &) = delete;
    ~file_pile(); // what was not committed is removed
    // Takes a file of that folder. Errors: bad_output.
    void add(part_file part);
    // All are on the disk before the first has its name. check: for each name, before it is taken.
    // Errors: bad_output; those before it are in place.
    void commit(const std::function<void(const std::string &)> &check);

  private:
    struct content;
    std::unique_ptr<content> content_;
};

} // namespace tools
