// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/own_folder.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

const char *const prefix = ".varokel-test.";
const char *const purpose = "own_folder_test";

class own_folder_test : public testing::Test {
  protected:
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

    support::temporary_folder folder_;
    fs::path place_ = folder_.name();
};

TEST_F(own_folder_test, WhatAKilledProcessLeftIsRemoved) {
    const fs::path left = leftover();
    ASSERT_TRUE(fs::exists(left / "file"));
    EXPECT_EQ(tools::remove_leftovers(place_.string(), prefix, "something else"), 0);
    EXPECT_TRUE(fs::exists(left / "file"));
    EXPECT_EQ(tools::remove_leftovers(place_.string(), prefix, purpose), 1);
    EXPECT_FALSE(fs::exists(left));
}

// Folders are followed down to a depth of 32 only, so that this one cannot be removed: it must not
// lose what says whose it is before it has lost everything else.
TEST_F(own_folder_test, TheOwnerIsTheLastToGo) {
    const fs::path left = leftover();
    fs::path deep = left / "d";
    for (int i = 0; i < 40; ++i) deep /= "d";
    ASSERT_TRUE(fs::create_directories(deep));
    EXPECT_FALSE(tools::remove_leftover(left.string(), prefix, purpose));
    EXPECT_FALSE(fs::exists(left / "file"));
    EXPECT_TRUE(fs::exists(left / ".owner"));
    fs::remove_all(left / "d");
    EXPECT_TRUE(tools::remove_leftover(left.string(), prefix, purpose));
    EXPECT_FALSE(fs::exists(left));
}

// A folder as it is between its making and the end of its .owner, of which `length` bytes are
// there; -1: no such file.
static fs::path half_made(const fs::path &place, const std::string &name, long length,
                          const std::string &owner) {
    const fs::path folder = place / name;
    EXPECT_EQ(mkdir(folder.c_str(), 0700), 0);
    if (length >= 0)
        std::ofstream(folder / ".owner") << owner.substr(0, static_cast<std::size_t>(length));
    return folder;
}

TEST_F(own_folder_test, WhatWasEndedWhileItWasMadeIsRemovedByItsNote) {
    const fs::path whole = leftover();
    std::ostringstream text;
    text << std::ifstream(whole / ".owner").rdbuf();
    const std::string owner = text.str(), name = prefix + std::string(16, 'a');
    for (long length = -1; length < static_cast<long>(owner.size()); ++length) {
        const fs::path left = half_made(place_, name, length, owner);
        EXPECT_TRUE(tools::remove_leftover(left.string(), prefix, purpose)) << length;
        EXPECT_FALSE(fs::exists(left)) << length;
    }
}

TEST_F(own_folder_test, AnEmptyFolderOfAnotherNameStays) {
    for (const char *const name :
         {"mine", ".varokel-test.", ".varokel-test.aaaaaaaaaaaaaaaZ", ".other.aaaaaaaaaaaaaaaa"}) {
        const fs::path folder = half_made(place_, name, -1, "");
        EXPECT_FALSE(tools::remove_leftover(folder.string(), prefix, purpose)) << name;
        EXPECT_TRUE(fs::exists(folder)) << name;
    }
}

TEST_F(own_folder_test, WithAFileInItOrAnotherOwnerItStays) {
    const std::string name = prefix + std::string(16, 'b');
    const fs::path folder = half_made(place_, name, 3, "varokel\n");
    std::ofstream(folder / "file") << "text";
    EXPECT_FALSE(tools::remove_leftover(folder.string(), prefix, purpose));
    fs::remove(folder / ".owner");
    EXPECT_FALSE(tools::remove_leftover(folder.string(), prefix, purpose));
    fs::remove(folder / "file");
    std::ofstream(folder / ".owner") << "varokel of another";
    EXPECT_FALSE(tools::remove_leftover(folder.string(), prefix, purpose));
    EXPECT_TRUE(fs::exists(folder / ".owner"));
    fs::remove(folder / ".owner");
    // only what is closed to others is ours
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    EXPECT_FALSE(tools::remove_leftover(folder.string(), prefix, purpose));
}

TEST_F(own_folder_test, AWalkThroughAPlaceRemovesWhatIsHalfMade) {
    half_made(place_, prefix + std::string(16, 'c'), -1, "");
    half_made(place_, prefix + std::string(16, 'd'), 4, "varokel");
    half_made(place_, std::string(".other.") + std::string(16, 'c'), -1, "");
    EXPECT_EQ(tools::remove_leftovers(place_.string(), prefix, purpose), 2);
    EXPECT_TRUE(fs::exists(place_ / (std::string(".other.") + std::string(16, 'c'))));
}

// Another thread takes each folder for half made from the moment that it is there: whoever has one
// at last keeps it.
TEST_F(own_folder_test, NobodyLosesAFolderToOneWhoRemovesHalfMadeOnes) {
    std::string announced;
    std::atomic<int> made = 0, seen = 0; // numbers of names
    std::atomic<bool> over = false;
    std::thread other([&] {
        while (!over) {
            const int now = made;
            if (now == seen) continue;
            const std::string name = announced;
            seen = now; // from here on it may be made
            for (int i = 0; i < 2000 && made == now && !over; ++i)
                tools::remove_leftover(name, prefix, purpose);
        }
    });
    const auto begun = std::chrono::steady_clock::now();
    int kept = 0; // until some were removed under the hands of their maker, as the moment has it
    for (; kept < 100 || (made - kept < 3 && std::chrono::steady_clock::now() - begun < 4s);
         ++kept) {
        const tools::own_folder own(place_.string(), prefix, purpose, [&](const std::string &name) {
            announced = name;
            ++made;
            while (seen != made) std::this_thread::yield();
        });
        std::ofstream(fs::path(own.name()) / "file") << "text";
        EXPECT_TRUE(fs::exists(fs::path(own.name()) / ".owner"));
        EXPECT_TRUE(fs::exists(fs::path(own.name()) / "file"));
    }
    over = true;
    other.join();
    EXPECT_GE(made, kept);
    RecordProperty("removed", made - kept);
}

TEST_F(own_folder_test, ItsNameIsSaidBeforeAnythingHasIt) {
    std::vector<std::string> said;
    const tools::own_folder own(place_.string(), prefix, purpose, [&](const std::string &name) {
        EXPECT_FALSE(fs::exists(name));
        said.push_back(name);
    });
    ASSERT_FALSE(said.empty());
    EXPECT_EQ(said.back(), own.name());
    EXPECT_TRUE(fs::exists(own.name()));
}

} // namespace
