// SPDX-License-Identifier: BSD-3-Clause
// output_folder.h -- the folder of the results: new as a whole, or left as it was
//
// A fit works in a folder of its own beside the one of the results, and the two change their names
// in one step at the end, so that whoever looks, and whoever is killed, finds the fit before or the
// fit after, never files of both. What lay in the folder and is not of an earlier fit comes along.
#pragma once

#include "files/base/own_folder.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tools {

class output_folder {
  public:
    // given: as the user has it. force: a folder that is not empty is taken.
    // Errors: bad_output when it is no folder, is not empty without force, or cannot be replaced
    // as a whole (the place of a file system, in a folder that cannot be written, or around the
    // working folder of this process).
    output_folder(const std::string &given, bool force);

    // inputs: what is read; none may lie in a folder that is replaced. What is not there is left
    // out. Errors: bad_output.
    void refuse_inputs(const std::vector<std::string> &inputs) const;

    // Makes the folder to work in, after removing those that fits into the same folder left when
    // they were killed. Errors: bad_output.
    void begin();
    const std::filesystem::path &work() const { return work_; }

    // Puts the folder in its place; see above. Errors: bad_output, and all is as it was.
    void finish();

    const std::filesystem::path &name() const { return folder_; }

  private:
    enum class place_kind { absent, beside, within, exchanged };
    void move_contents();
    void exchange();

    std::string given_;
    std::filesystem::path folder_, work_;
    place_kind kind_ = place_kind::absent;
    std::unique_ptr<own_folder> made_;
};

} // namespace tools
