// SPDX-License-Identifier: BSD-3-Clause
// end_run.cpp -- the one place where a run ends the process
#include "run/end_run.h"

#include <cstdlib>

static void (*end_function)(int) = nullptr;

void replace_end_run(void (*replacement)(int)) {
    end_function = replacement;
}

[[noreturn]] void end_run(int status) {
    if (end_function != nullptr) end_function(status);
    std::exit(status);
}
