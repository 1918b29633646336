// SPDX-License-Identifier: BSD-3-Clause
// keyword_writer.h -- what the version 3 and the old format have in common on writing
#pragma once

#include "control/control_file.h"

// In what a generation differs.
struct keyword_layout {
    bool is_version_3; // version word, f__tol, pattrn, pattern names, closing lines
    const char *start_header;
    const char *user, *host, *domain; // of the closing lines
};

inline constexpr char compact_name[] = "compact.par";

// Writes the compact file in the working directory. Returns the status of the close; EOF, after a
// message, when storage or file cannot be had.
int write_keyword_file(const control_values &values, const keyword_layout &layout);
