// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/file_descriptor.h"
#include "files/batch/shard_journal.h"

#include "support/refusal.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include <fcntl.h>

namespace fs = std::filesystem;

namespace {

std::size_t open_descriptors() {
    std::size_t count = 0;
    for (const auto &each : fs::directory_iterator("/proc/self/fd")) count += each.exists();
    return count;
}

class shard_journal_test : public testing::Test {
  protected:
    shard_journal_test() {
        plan_.id = std::string(tools::shard_head_size, 'a');
        plan_.points = 4;
        plan_.keep = 1;
        plan_.spectra = 2;
    }
    // What the constructor says.
    std::string refusal(int status) const {
        return support::refusal_of(status, [&] { tools::shard_journal(plan_, stem_, 0, 2); });
    }

    support::temporary_folder place_;
    tools::batch_plan plan_;
    std::string stem_ = place_.file("0000_of_0001");
};

TEST_F(shard_journal_test, NoDescriptorStaysOpenWhateverEndsIt) {
    const std::size_t before = open_descriptors();
    EXPECT_EQ(refusal(0), "no error");
    EXPECT_EQ(open_descriptors(), before);

    // the file of the curves is refused while that of the records is open
    fs::remove(stem_ + ".fitted");
    fs::create_symlink("elsewhere", stem_ + ".fitted");
    EXPECT_NE(refusal(tools::bad_output).find(".fitted: cannot be written"), std::string::npos);
    EXPECT_EQ(open_descriptors(), before);
    fs::remove(stem_ + ".fitted");

    std::ofstream(stem_ + ".journal") << std::string(tools::shard_head_size, 'b');
    EXPECT_NE(refusal(tools::bad_input).find("belongs to another plan"), std::string::npos);
    EXPECT_EQ(open_descriptors(), before);
}

TEST(file_descriptor, closes_once_and_leaves_errno) {
    const std::size_t before = open_descriptors();
    {
        tools::file_descriptor one(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ASSERT_TRUE(one.is_open());
        tools::file_descriptor other(std::move(one));
        EXPECT_FALSE(one.is_open()); // NOLINT(bugprone-use-after-move): that is what is asked
        EXPECT_EQ(open_descriptors(), before + 1);
        one = std::move(other);
        one = tools::file_descriptor(open("/dev/zero", O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(open_descriptors(), before + 1);
        EXPECT_TRUE(one.close());
        EXPECT_TRUE(one.close()); // nothing is left to do
        EXPECT_EQ(open_descriptors(), before);
    }
    tools::file_descriptor none(12345); // of no file: closing fails
    errno = ENOSPC;
    none = tools::file_descriptor();
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(tools::file_descriptor(12345).close());
}

} // namespace
