// SPDX-License-Identifier: BSD-3-Clause
// check_system.cpp -- where a run takes place
#include "not_called/check_system.h"

#include "data/scan.h"

#include <cstdio>
#include <string>

static void read_name(const std::string &file_name, char *text, int width) {
    std::FILE *file = std::fopen(file_name.c_str(), "r+t");
    if (file == nullptr) return;
    scan_word(file, text, width);
    std::fclose(file);
}

void init_system(const char *dir, char *domain_name, char *host_name, char *user_name) {
    const std::string folder = dir;
    read_name(folder + "host", host_name, 31);
    read_name(folder + "who", user_name, 31);
    read_name(folder + "domain", domain_name, 63);
}
