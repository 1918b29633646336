// SPDX-License-Identifier: BSD-3-Clause
// report_page.h -- the report of one or more fitted spectra as a page
#pragma once

#include "files/results/derived_area.h"
#include "files/results/run_result.h"

#include <string>
#include <vector>

namespace tools {

struct reported_run {
    run_result run;
    std::vector<derived_area> derived;
    std::string picture = ""; // report_picture(run) where it was drawn already
};

// The page of one or more spectra. What is added becomes text at once, so that the signals of many
// need not be held together.
class report_page {
  public:
    // spectra: how many will be added. One alone gets all its points; of several the fitted range
    // and a margin are kept, in 16 bits a point.
    explicit report_page(std::size_t spectra) : spectra_(spectra) {}

    // A run without results gets a section that says why.
    void add(const reported_run &reported);
    std::string text() const;

  private:
    std::size_t spectra_, added_ = 0;
    std::string title_, contents_, sections_;
};

} // namespace tools
