// SPDX-License-Identifier: BSD-3-Clause
#include "control/replaced_file.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace files = std::filesystem;

static std::size_t files_in(const support::temporary_folder &folder) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto &entry : files::directory_iterator(folder.name())) ++count;
    return count;
}

TEST(replaced_file, stands_under_its_name_only_when_it_is_whole) {
    const support::temporary_folder folder;
    const std::string name = folder.file("compact.par");
    support::write_file(name, "old");
    files::permissions(name, files::perms::owner_read | files::perms::owner_write);
    {
        replaced_file output(name.c_str());
        std::fputs("new", output.stream());
        std::fflush(output.stream());
        EXPECT_EQ(support::read_file(name), "old");
        EXPECT_EQ(output.finish(), 0);
    }
    EXPECT_EQ(support::read_file(name), "new");
    EXPECT_EQ(files::status(name).permissions(),
              files::perms::owner_read | files::perms::owner_write);
    EXPECT_EQ(files_in(folder), 1u);
}

TEST(replaced_file, that_is_given_up_leaves_the_old_one) {
    const support::temporary_folder folder;
    const std::string name = folder.file("compact.par");
    support::write_file(name, "old");
    {
        replaced_file output(name.c_str());
        std::fputs("new", output.stream());
    }
    EXPECT_EQ(support::read_file(name), "old");
    EXPECT_EQ(files_in(folder), 1u);
}

TEST(replaced_file, is_made_where_there_was_none) {
    const support::temporary_folder folder;
    const std::string name = folder.file("compact.par");
    replaced_file output(name.c_str());
    std::fputs("new", output.stream());
    EXPECT_EQ(output.finish(), 0);
    EXPECT_EQ(support::read_file(name), "new");
}

TEST(replaced_file, behind_a_link_is_replaced_where_it_stands) {
    const support::temporary_folder folder;
    files::create_directory(folder.file("kept"));
    support::write_file(folder.file("kept/target"), "old");
    files::create_symlink("kept/target", folder.file("compact.par"));
    replaced_file output(folder.file("compact.par").c_str());
    std::fputs("new", output.stream());
    std::fflush(output.stream());
    EXPECT_EQ(support::read_file(folder.file("kept/target")), "old");
    EXPECT_EQ(output.finish(), 0);
    EXPECT_TRUE(files::is_symlink(folder.file("compact.par")));
    EXPECT_EQ(support::read_file(folder.file("kept/target")), "new");
    EXPECT_EQ(files_in(folder), 2u);
}

TEST(replaced_file, behind_a_link_to_nothing_is_made_there) {
    const support::temporary_folder folder;
    files::create_symlink("target", folder.file("compact.par"));
    replaced_file output(folder.file("compact.par").c_str());
    std::fputs("new", output.stream());
    EXPECT_EQ(output.finish(), 0);
    EXPECT_TRUE(files::is_symlink(folder.file("compact.par")));
    EXPECT_EQ(support::read_file(folder.file("target")), "new");
}

// Runs of a batch in one folder: each has its own file until it is whole, the last one stays.
TEST(replaced_file, of_two_at_the_same_moment_is_that_of_the_last_to_finish) {
    const support::temporary_folder folder;
    const std::string name = folder.file("compact.par");
    replaced_file first(name.c_str());
    replaced_file second(name.c_str());
    std::fputs("first, which is longer", first.stream());
    std::fputs("second", second.stream());
    EXPECT_EQ(first.finish(), 0);
    EXPECT_EQ(support::read_file(name), "first, which is longer");
    EXPECT_EQ(second.finish(), 0);
    EXPECT_EQ(support::read_file(name), "second");
    EXPECT_EQ(files_in(folder), 1u);
}

TEST(replaced_file, with_the_longest_name_is_replaced_as_well) {
    const support::temporary_folder folder;
    const std::string name = folder.file(std::string(255, 'n'));
    support::write_file(name, "old");
    replaced_file output(name.c_str());
    std::fputs("new", output.stream());
    std::fflush(output.stream());
    EXPECT_EQ(support::read_file(name), "old");
    EXPECT_EQ(output.finish(), 0);
    EXPECT_EQ(support::read_file(name), "new");
}

TEST(replaced_file, on_a_full_disk_is_named) {
    if (!support::file_exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    const std::string said = support::stdout_of([] {
        replaced_file output("/dev/full");
        std::fputs("new", output.stream());
        EXPECT_NE(output.finish(), 0);
    });
    EXPECT_EQ(said, "error in writing file /dev/full\n");
    EXPECT_TRUE(support::file_exists("/dev/full"));
}

TEST(replaced_file, that_cannot_be_opened_has_no_stream) {
    const support::temporary_folder folder;
    replaced_file in_no_folder(folder.file("none/compact.par").c_str());
    EXPECT_EQ(in_no_folder.stream(), nullptr);
    EXPECT_NE(in_no_folder.finish(), 0);
    files::create_directory(folder.file("compact.par"));
    replaced_file in_place_of_a_folder(folder.file("compact.par").c_str());
    EXPECT_EQ(in_place_of_a_folder.stream(), nullptr);
    EXPECT_EQ(files_in(folder), 1u);
}
