// SPDX-License-Identifier: BSD-3-Clause
// help.h -- built-in documentation
#pragma once

// Prints topic n: 0 to 8 and returns; 9 (the overview) and ends the process with status 1; any
// other number is refused with a message and status -1.
void display_help_text(const unsigned &n);
