// SPDX-License-Identifier: BSD-3-Clause
// spectra_file.h -- spectra.f32 of a plan, each spectrum compared with its fingerprint
#pragma once

#include "files/base/file_descriptor.h"
#include "files/batch/plan_lines.h"

#include <string>

namespace tools {

class spectra_file {
  public:
    // Errors: bad_input when it cannot be read.
    explicit spectra_file(const batch_plan &plan);
    // Points as complex float32 into bytes, whose storage is used again. Several threads may read.
    // Errors: bad_input when they are not those of the plan.
    void read(const planned_spectrum &spectrum, std::string &bytes) const;

  private:
    const batch_plan &plan_;
    file_descriptor file_;
};

} // namespace tools
