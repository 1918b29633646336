// SPDX-License-Identifier: BSD-3-Clause
// plan_folder.h -- the folder of a new plan: made in a private one inside, put in place at the end
#pragma once

#include "files/base/own_folder.h"
#include "files/batch/batch_plan.h"

#include <memory>
#include <string>
#include <vector>

namespace tools {

class plan_folder {
  public:
    // The folder is fresh, or empty but for what a plan that was killed left; with force it may
    // hold a plan of ours that nobody works with. Errors: bad_output for any other.
    plan_folder(const std::string &name, bool force);
    plan_folder(const plan_folder &) = delete;
    plan_folder &operator=(const plan_folder &) = delete;
    // Where the new plan is written.
    const std::string &work() const { return work_->name(); }
    // Takes away what the plan before wrote, file by file, and puts the new one there, its manifest
    // first: with other files of the plan before, that one is refused. No signal ends the process
    // in between. Errors: bad_output.
    void put_in_place();

  private:
    void remove_replaced() const;
    std::string name_;
    owned_path made_; // the folder, when it was not there
    std::unique_ptr<replaced_plan> replaced_;
    std::unique_ptr<own_folder> work_;
};

} // namespace tools
