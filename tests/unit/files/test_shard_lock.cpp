// SPDX-License-Identifier: BSD-3-Clause
#include "files/batch/shard_lock.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class shard_lock_test : public testing::Test {
  protected:
    shard_lock_test() { fs::create_directory(place_.file("shards")); }

    // A lock as a process leaves it that is killed with a folder of fits elsewhere.
    void leave_lock(const std::string &scratch) {
        const pid_t child = fork();
        if (child == 0) {
            tools::shard_lock lock(stem_);
            lock.note_scratch(scratch);
            _exit(0);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    std::string scratch_noted() const {
        const auto note = tools::read_lock_note(stem_ + ".lock");
        return note ? note->scratch : "no note";
    }

    support::temporary_folder place_;
    std::string stem_ = place_.file("shards/0000_of_0001");
};

// Whoever is ended before the folder is removed leaves the note to the one after.
TEST_F(shard_lock_test, WhatAKilledProcessHasElsewhereStaysNoted) {
    leave_lock("/elsewhere/folder");
    {
        tools::shard_lock lock(stem_);
        ASSERT_TRUE(lock.before_is_ours());
        EXPECT_EQ(lock.before()->scratch, "/elsewhere/folder");
        EXPECT_EQ(scratch_noted(), "/elsewhere/folder");
        lock.note_scratch("/new");
        EXPECT_EQ(scratch_noted(), "/new");
    }
    EXPECT_FALSE(fs::exists(stem_ + ".lock"));
}

TEST_F(shard_lock_test, WhatTheOriginalOfACopyHasElsewhereIsNotNoted) {
    leave_lock("/elsewhere/folder");
    fs::copy(place_.file("shards"), place_.file("copy"), fs::copy_options::recursive);
    stem_ = place_.file("copy/0000_of_0001");
    tools::shard_lock lock(stem_);
    ASSERT_TRUE(lock.before());
    EXPECT_FALSE(lock.before_is_ours());
    EXPECT_EQ(scratch_noted(), "");
}

TEST_F(shard_lock_test, AShorterNoteLeavesNothingOfALongerOne) {
    tools::shard_lock lock(stem_);
    for (const std::string &scratch : {std::string(3000, 'x'), std::string("y"), std::string()}) {
        lock.note_scratch(scratch);
        EXPECT_EQ(scratch_noted(), scratch);
    }
    EXPECT_LT(fs::file_size(stem_ + ".lock"), 1000u);
}

} // namespace
