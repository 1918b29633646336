// SPDX-License-Identifier: BSD-3-Clause
#include "not_called/check_system.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

TEST(init_system, reads_one_word_of_each_file_and_keeps_what_has_none) {
    const support::temporary_folder folder;
    const std::string dir = folder.name() + "/";
    support::write_file(folder.file("host"), "  spectro7 of the third floor\n");
    support::write_file(folder.file("who"), std::string(40, 'u') + " x\n");
    char domain[64] = "kept", host[32] = "", user[32] = "";
    init_system(dir.c_str(), domain, host, user);
    EXPECT_STREQ(host, "spectro7");
    EXPECT_EQ(std::string(user), std::string(31, 'u')); // what fits
    EXPECT_STREQ(domain, "kept");
}
