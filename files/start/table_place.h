// SPDX-License-Identifier: BSD-3-Clause
// table_place.h -- where something stands in a table of peaks
#pragma once

namespace tools {

struct table_place {
    int line = 0, column = 0; // from 1; 0: not from a file
};

} // namespace tools
