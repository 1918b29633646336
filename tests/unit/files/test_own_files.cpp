// SPDX-License-Identifier: BSD-3-Clause

#include "files/base/own_folder.h"
#include "files/base/part_file.h"
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

const char *const prefix = ".varokel-test.";
const char *const purpose = "own_files_test";

class own_files_test : public testing::Test {
  protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "own_files.XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        place_ = name;
    }
    void TearDown() override { fs::remove_all(place_); }

    // A folder as a process leaves it that is killed: made by a child that ends without clean-up.
    fs::path leftover() {
        const pid_t child = fork();
        if (child == 0) {
            const tools::own_folder own(place_.string(), prefix, purpose);
            std::ofstream(fs::path(own.name()) / "file") << "text";
            _exit(0);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        for (const fs::directory_entry &each : fs::directory_iterator(place_)) return each.path();
        return {};
    }

    fs::path place_;
};

TEST_F(own_files_test, WhatAKilledProcessLeftIsRemoved) {
    const fs::path left = leftover();
    ASSERT_TRUE(fs::exists(left / "file"));
    EXPECT_EQ(tools::remove_leftovers(place_.string(), prefix, "something else"), 0);
    EXPECT_TRUE(fs::exists(left / "file"));
    EXPECT_EQ(tools::remove_leftovers(place_.string(), prefix, purpose), 1);
    EXPECT_FALSE(fs::exists(left));
}

// Folders are followed down to a depth of 32 only, so that this one cannot be removed: it must not
// lose what says whose it is before it has lost everything else.
TEST_F(own_files_test, TheOwnerIsTheLastToGo) {
    const fs::path left = leftover();
    fs::path deep = left / "d";
    for (int i = 0; i < 40; ++i) deep /= "d";
    ASSERT_TRUE(fs::create_directories(deep));
    EXPECT_FALSE(tools::remove_leftover(left.string(), purpose));
    EXPECT_FALSE(fs::exists(left / "file"));
    EXPECT_TRUE(fs::exists(left / ".owner"));
    fs::remove_all(left / "d");
    EXPECT_TRUE(tools::remove_leftover(left.string(), purpose));
    EXPECT_FALSE(fs::exists(left));
}

} // namespace
