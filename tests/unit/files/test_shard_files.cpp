// SPDX-License-Identifier: BSD-3-Clause
#include "files/batch/shard_files.h"

#include <gtest/gtest.h>

#include <utility>

TEST(shard_files, have_the_number_of_their_shard_and_no_other_name) {
    typedef std::pair<long long, long long> pair;
    EXPECT_EQ(tools::shard_of_name("0003_of_0050.done"), pair(3, 50));
    EXPECT_EQ(tools::shard_of_name("0000_of_0001"), pair(0, 1));
    EXPECT_EQ(tools::shard_of_name("12345_of_20000.part"), pair(12345, 20000));
    for (const char *name :
         {"", "done", "3_of_50.done", "0050_of_0050.done", "-001_of_0050.done", "0003_of_0000.done",
          "0003_of_0050done", "0003_of_0050x.done", "00003_of_0050.done", " 0003_of_0050.done",
          "+003_of_0050.done", "0003_of_99999999999999999999.done"})
        EXPECT_FALSE(tools::shard_of_name(name)) << name;
}
