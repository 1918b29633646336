// SPDX-License-Identifier: BSD-3-Clause
// print_lines.h -- a fixed text of many lines, on standard output
#pragma once

#include <cstdio>
#include <span>

inline void print_lines(std::span<const char *const> lines) {
    for (const char *const line : lines) std::fputs(line, stdout);
}
