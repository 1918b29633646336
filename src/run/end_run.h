// SPDX-License-Identifier: BSD-3-Clause
// end_run.h -- the one place where a run ends the process
#pragma once

// Ends the process with the given exit status, standard output flushed.
//
// Notes:
//   1. Tests and fuzz targets put a function of their own in place of std::exit, which must not
//      return (it throws); replace_end_run(nullptr) restores the real one.
[[noreturn]] void end_run(int status);
void replace_end_run(void (*replacement)(int));
