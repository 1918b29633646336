// SPDX-License-Identifier: BSD-3-Clause
// main.cpp -- the console program
#include "run/varokel.h"

#include <csignal>

int main(int argc, char **argv) {
#ifdef SIGXFSZ
    // A file that grows over a limit is a write error like others, not the end of the run.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    return run_command_line(argc, argv);
}
