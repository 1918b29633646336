// SPDX-License-Identifier: BSD-3-Clause
//
// Outputs that cannot be written are said and do no harm: to the inputs, and to the other outputs.
#include "run/varokel.h"

#include "support/small_fit.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace files = std::filesystem;

static const std::vector<std::string> outputs = {
    "data.org", "data.cor", "data.fit",    "data.res", "data.fit0",   "data.nln0",
    "data.mat", "data.err", "data.fitres", "data.exl", "compact.par", "start_verbose.par"};

static bool holds(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

static std::string said_by_run(const char *data_path, const char *data, const char *start) {
    return support::stdout_of([&] { varokel(data_path, data, start); });
}

// Every output in turn stands on a full disk.
TEST(full_disk, is_said_with_the_name_of_the_file_and_harms_no_other) {
    if (!support::file_exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    for (const std::string &full : outputs) {
        const support::temporary_folder folder(true);
        support::write_small_fit({.iterations = 1});
        const std::string data = support::read_file("data.bin");
        const std::string start = support::read_file("start.par");
        files::create_symlink("/dev/full", full);
        const std::string said = said_by_run("", "data.bin", "start.par");
        EXPECT_TRUE(holds(said, "error in writing file " + full + "\n")) << said;
        for (const std::string &output : outputs)
            EXPECT_TRUE(output == full || files::file_size(output) > 0) << output << ", " << full;
        EXPECT_EQ(support::read_file("data.bin"), data);
        EXPECT_EQ(support::read_file("start.par"), start);
    }
}

// A limit on the size of files, as a quota: the beginning of a file can be written, the rest not.
TEST(limited_file_size, ends_no_run_and_leaves_the_start_file) {
    const support::temporary_folder folder(true);
    support::write_small_fit({.verbose = 1, .iterations = 1});
    files::copy("start.par", "compact.par");
    const std::string start = support::read_file("compact.par");
    ASSERT_GT(start.size(), 512u);
    const std::string said = support::stdout_of([&] {
        // the limit is the program's, not that of what catches its words
        const char *const command = "bash -c 'set -o pipefail; (ulimit -f 1; exec " VAROKEL_PROGRAM
                                    " . data.bin compact.par) | cat'";
        EXPECT_EQ(std::system(command), 0);
    });
    EXPECT_TRUE(holds(said, "error in writing file compact.par\n")) << said;
    EXPECT_TRUE(holds(said, "error in writing file compact_verbose.par\n")) << said;
    EXPECT_FALSE(holds(said, "error in writing file ./data.fit\n")) << said; // 512 bytes
    EXPECT_EQ(files::file_size("data.fit"), 512u);
    EXPECT_EQ(support::read_file("compact.par"), start);
    for (const auto &entry : files::directory_iterator("."))
        EXPECT_FALSE(holds(entry.path().string(), "varokel_new")) << entry.path();
}

// A folder in which nothing can be made, for root neither: that of the open files of this process.
TEST(unwritable_folder, is_said_and_the_start_files_are_still_written) {
    if (!support::file_exists("/proc/self/fd")) GTEST_SKIP() << "no /proc";
    const support::temporary_folder folder(true);
    support::write_small_fit({.iterations = 1});
    const std::string data = support::read_file("data.bin");
    const int open_file = open("data.bin", O_RDWR);
    ASSERT_GE(open_file, 0);
    const std::string name = std::to_string(open_file);
    const std::string said = said_by_run("/proc/self/fd/", name.c_str(), "start.par");
    close(open_file);
    for (const char *ending : {".org", ".cor", ".fit", ".res", ".fit0", ".nln0"})
        EXPECT_TRUE(holds(said, "ERROR in filename '/proc/self/fd/" + name + ending +
                                    "' (zero length ?), using temp.con\n"))
            << said;
    EXPECT_TRUE(holds(said, "Could not open output file : /proc/self/fd/" + name + ".mat\n"));
    EXPECT_TRUE(holds(said, "Could not open output file : /proc/self/fd/" + name + ".err\n"));
    EXPECT_TRUE(holds(said, " error_hs : file not opened\n "));
    EXPECT_TRUE(holds(said, " error in opening file /proc/self/fd/" + name + ".exl:\n "));
    EXPECT_EQ(files::file_size("temp.con"), 512u);
    EXPECT_GT(files::file_size("compact.par"), 0u);
    EXPECT_GT(files::file_size("start_verbose.par"), 0u);
    EXPECT_EQ(support::read_file("data.bin"), data);
}

TEST(folder_in_place_of_an_output, is_left_and_harms_no_other) {
    for (const std::string &taken : outputs) {
        const support::temporary_folder folder(true);
        support::write_small_fit({.iterations = 1});
        files::create_directory(taken);
        said_by_run("", "data.bin", "start.par");
        EXPECT_TRUE(files::is_directory(taken));
        for (const std::string &output : outputs)
            EXPECT_TRUE(output == taken || files::file_size(output) > 0) << output << ", " << taken;
    }
}

// The signal may have any name, that of an output with a fixed name as well.
TEST(signal_with_the_name_of_an_output, is_kept) {
    for (const char *name : {"compact.par", "start_verbose.par", "lsf.bin"}) {
        const support::temporary_folder folder(true);
        support::write_small_fit({.lineshape = true, .iterations = 1});
        files::rename("data.bin", name);
        const std::string data = support::read_file(name);
        const std::string said = said_by_run("", name, "start.par");
        EXPECT_TRUE(holds(said, std::string("output file ") + name +
                                    " is an input of this run : not written\n"))
            << said;
        EXPECT_EQ(support::read_file(name), data);
    }
}

TEST(signal_named_as_the_stand_in_of_outputs, is_kept) {
    const support::temporary_folder folder(true);
    support::write_small_fit({.iterations = 1});
    files::rename("data.bin", "temp.con");
    const std::string data = support::read_file("temp.con");
    files::create_directory("temp.con.fit");
    const std::string said = said_by_run("", "temp.con", "start.par");
    EXPECT_TRUE(holds(said, "output file temp.con is an input of this run : not written\n"))
        << said;
    EXPECT_EQ(support::read_file("temp.con"), data);
    EXPECT_EQ(files::file_size("temp.con.res"), 512u);
}

// The one file that may be replaced, and a link to it.
TEST(start_file, is_replaced_by_its_results_also_behind_a_link) {
    const support::temporary_folder folder(true);
    support::write_small_fit({.iterations = 1});
    files::create_directory("kept");
    files::rename("start.par", "kept/start.par");
    files::create_symlink("kept/start.par", "compact.par");
    const std::string before = support::read_file("kept/start.par");
    said_by_run("", "data.bin", "compact.par");
    EXPECT_TRUE(files::is_symlink("compact.par"));
    const std::string after = support::read_file("kept/start.par");
    EXPECT_NE(after, before);
    EXPECT_TRUE(holds(after, "end_of_lsf\n"));
    EXPECT_EQ(after.substr(after.size() - 12), "-----------\n");
}
