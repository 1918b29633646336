// SPDX-License-Identifier: BSD-3-Clause
// main.cpp -- the console program
#include "run/varokel.h"

int main(int argc, char **argv) {
    return run_command_line(argc, argv);
}
