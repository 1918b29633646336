// SPDX-License-Identifier: BSD-3-Clause
// overview_page.h -- a batch on one page: maps or time courses, worst fits, each spectrum at a
// click
#pragma once

#include "files/base/output_file.h"
#include "files/batch/batch_view.h"

#include <string>
#include <vector>

namespace tools {

// The overview of a batch of up to one_file_up_to spectra is overview.html; that of a larger one is
// overview/index.html with the curves in files beside it, which the page loads when they are looked
// at.
//
// Given:
//   output    folder of the page
//   force     replaces the overview that stands there
//   written   gets the name of the page
// Errors: bad_input for curves that cannot be read; bad_output.
// Notes:
//   1. Curves hold 16 bits per point, of the fitted range with a margin.
//   2. Beyond all_data_up_to spectra only those whose fit was kept have curves.
void write_overview(const batch_view &batch, const std::string &output, long long one_file_up_to,
                    bool force, std::vector<std::string> &written);

inline constexpr long long default_one_file_up_to = 1000;
inline constexpr std::size_t all_data_up_to = 20000;

} // namespace tools
