// SPDX-License-Identifier: BSD-3-Clause
#include "data/ge_io.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

class ge_io : public ::testing::Test {
  protected:
    // Calls f; keeps its result, what it printed and whether it ended the run.
    template <class F>
    void run(const F &f) {
        printed =
            support::stdout_of([&] { end_status = support::end_status_of([&] { result = f(); }); });
    }

    void read(const std::string &file, std::vector<float> &buffer, int floats, int header = 0) {
        count = floats;
        run([&] { return readge_(file.c_str(), buffer.data(), &count, header); });
    }

    void write(const std::string &file, const std::vector<float> &buffer, int header = 0) {
        count = static_cast<int>(buffer.size());
        run([&] { return writege_(file.c_str(), buffer.data(), &count, header); });
    }

    void expect_quiet_success() const {
        EXPECT_EQ(printed, "");
        EXPECT_EQ(result, 0);
        EXPECT_EQ(end_status, support::no_end);
    }

    support::temporary_folder folder{true}; // temp.con goes to the working directory
    std::string name = folder.file("signal");
    std::string printed;
    int result = 99;
    int count = 0;
    int end_status = 0;
};

// 1 = 0x3f800000, -2.5 = 0xc0200000, 1/3 = 0x3eaaaaab: sign, exponent, mantissa by hand
static const std::string four_floats("\x00\x00\x80\x3f"
                                     "\x00\x00\x20\xc0"
                                     "\xab\xaa\xaa\x3e"
                                     "\x00\x00\x00\x00",
                                     16);

TEST_F(ge_io, writes_little_endian_single_precision_without_a_header) {
    write(name, {1.0F, -2.5F, 1.0F / 3.0F, 0.0F});
    expect_quiet_success();
    EXPECT_EQ(support::read_file(name), four_floats);
    EXPECT_EQ(count, 4);
}

TEST_F(ge_io, reads_little_endian_single_precision) {
    support::write_file(name, four_floats);
    std::vector<float> buffer(4);
    read(name, buffer, 4);
    expect_quiet_success();
    EXPECT_EQ(buffer, (std::vector<float>{1.0F, -2.5F, 1.0F / 3.0F, 0.0F}));
    EXPECT_EQ(count, 4);
}

TEST_F(ge_io, every_bit_survives_the_round_trip) {
    using limit = std::numeric_limits<float>;
    const std::vector<float> values = {-0.0F,
                                       limit::denorm_min(),
                                       limit::max(),
                                       limit::min(),
                                       limit::infinity(),
                                       -limit::infinity(),
                                       limit::quiet_NaN()};
    write(name, values);
    expect_quiet_success();
    std::vector<float> buffer(values.size());
    read(name, buffer, static_cast<int>(values.size()));
    expect_quiet_success();
    EXPECT_EQ(std::memcmp(buffer.data(), values.data(), 4 * values.size()), 0);
}

TEST_F(ge_io, n_points_take_8_n_bytes_at_any_length) {
    // lengths about the 4096 floats of a transfer
    for (int floats : {2, 4094, 4096, 4098, 8192, 10002}) {
        std::vector<float> values(static_cast<std::size_t>(floats), -0.25F);
        for (std::size_t i = 0; i < values.size(); ++i) values[i] += static_cast<float>(i);
        write(name, values);
        expect_quiet_success();
        EXPECT_EQ(std::filesystem::file_size(name), static_cast<std::size_t>(4 * floats));
        std::vector<double> re, im;
        support::read_signal(name, re, im);
        ASSERT_EQ(re.size() + im.size(), values.size());
        for (std::size_t i = 0; i < re.size(); ++i) {
            ASSERT_EQ(re[i], static_cast<double>(values[2 * i]));
            ASSERT_EQ(im[i], static_cast<double>(values[2 * i + 1]));
        }
        std::vector<float> buffer(values.size());
        read(name, buffer, floats);
        expect_quiet_success();
        EXPECT_EQ(buffer, values);
    }
}

TEST_F(ge_io, a_longer_file_is_accepted_silently) {
    support::write_signal(name, {1, 2, 3}, {4, 5, 6});
    std::vector<float> buffer(5, 9.0F);
    read(name, buffer, 4);
    expect_quiet_success();
    EXPECT_EQ(buffer, (std::vector<float>{1, 4, 2, 5, 9}));
}

TEST_F(ge_io, a_shorter_file_is_reported_and_the_rest_of_the_buffer_stays) {
    support::write_file(name, four_floats.substr(0, 12));
    std::vector<float> buffer(6, 7.0F);
    read(name, buffer, 6);
    EXPECT_EQ(printed, "... error reading data ... exit...cnt  3 6 \n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(end_status, support::no_end);
    EXPECT_EQ(count, 6);
    EXPECT_EQ(buffer, (std::vector<float>{1.0F, -2.5F, 1.0F / 3.0F, 7.0F, 7.0F, 7.0F}));
}

TEST_F(ge_io, bytes_of_an_incomplete_last_number_are_left_out) {
    support::write_file(name, four_floats.substr(0, 11));
    std::vector<float> buffer(4, 7.0F);
    read(name, buffer, 4);
    EXPECT_EQ(printed, "... error reading data ... exit...cnt  2 4 \n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(buffer, (std::vector<float>{1.0F, -2.5F, 7.0F, 7.0F}));
}

TEST_F(ge_io, an_empty_file_is_short) {
    support::write_file(name, "");
    std::vector<float> buffer(2, 7.0F);
    read(name, buffer, 2);
    EXPECT_EQ(printed, "... error reading data ... exit...cnt  0 2 \n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(buffer, (std::vector<float>{7.0F, 7.0F}));
}

TEST_F(ge_io, short_files_do_not_use_up_the_open_files_of_a_process) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 40;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    support::write_file(name, "");
    std::vector<float> buffer(2);
    for (int i = 0; i < 100 && end_status != 1; ++i) read(name, buffer, 2);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(end_status, support::no_end);
    EXPECT_EQ(result, -1);
}

TEST_F(ge_io, a_count_below_1_reads_and_writes_nothing) {
    support::write_file(name, four_floats);
    std::vector<float> buffer(1, 7.0F);
    for (int floats : {0, -3}) {
        read(name, buffer, floats);
        expect_quiet_success();
        EXPECT_EQ(buffer[0], 7.0F);
        count = floats;
        run([&] { return writege_(folder.file("empty").c_str(), buffer.data(), &count, 0); });
        expect_quiet_success();
        EXPECT_EQ(support::read_file(folder.file("empty")), "");
    }
}

TEST_F(ge_io, a_header_flag_leaves_the_first_1024_bytes_to_others) {
    write(name, {1.0F, -2.5F, 1.0F / 3.0F, 0.0F}, 1);
    expect_quiet_success();
    EXPECT_EQ(support::read_file(name), std::string(1024, '\0') + four_floats);

    support::write_file(name, std::string(1024, 'x') + four_floats);
    std::vector<float> buffer(4);
    read(name, buffer, 4, 1);
    expect_quiet_success();
    EXPECT_EQ(buffer, (std::vector<float>{1.0F, -2.5F, 1.0F / 3.0F, 0.0F}));
    read(name, buffer, 6, -1);
    EXPECT_EQ(printed, "... error reading data ... exit...cnt  4 6 \n");
}

TEST_F(ge_io, a_file_that_cannot_be_opened_ends_the_run_with_1) {
    std::vector<float> buffer(2, 7.0F);
    for (const std::string &unreadable : {folder.file("none"), folder.name()}) {
        read(unreadable, buffer, 2);
        EXPECT_EQ(printed, "ERROR in filename '" + unreadable + "', can't open !\n");
        EXPECT_EQ(end_status, 1);
        EXPECT_EQ(count, 0);
        EXPECT_EQ(buffer[0], 7.0F);
    }
}

TEST_F(ge_io, an_input_is_opened_for_update_so_a_read_only_file_fails) {
    support::write_file(name, four_floats);
    std::filesystem::permissions(name, std::filesystem::perms::owner_read);
    if (access(name.c_str(), W_OK) == 0) GTEST_SKIP() << "this user may write every file";
    std::vector<float> buffer(4);
    read(name, buffer, 4);
    EXPECT_EQ(printed, "ERROR in filename '" + name + "', can't open !\n");
    EXPECT_EQ(end_status, 1);
}

TEST_F(ge_io, writing_truncates_an_older_file) {
    support::write_file(name, std::string(100, 'x'));
    write(name, {1.0F, -2.5F});
    EXPECT_EQ(support::read_file(name), four_floats.substr(0, 8));
}

TEST_F(ge_io, an_output_that_cannot_be_created_goes_to_temp_con) {
    const std::string nowhere = folder.file("none/signal");
    write(nowhere, {1.0F, -2.5F, 1.0F / 3.0F, 0.0F});
    EXPECT_EQ(printed, "ERROR in filename '" + nowhere + "' (zero length ?), using temp.con\n");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(end_status, support::no_end);
    EXPECT_EQ(support::read_file("temp.con"), four_floats);
    // the next one that fails takes its place
    write("", {1.0F, -2.5F});
    EXPECT_EQ(printed, "ERROR in filename '' (zero length ?), using temp.con\n");
    EXPECT_EQ(support::read_file("temp.con"), four_floats.substr(0, 8));
}

TEST_F(ge_io, the_run_goes_on_when_temp_con_fails_too) {
    std::filesystem::create_directory("temp.con");
    const std::string nowhere = folder.file("none/signal");
    write(nowhere, {1.0F, -2.5F});
    EXPECT_EQ(printed, "ERROR in filename '" + nowhere +
                           "' (zero length ?), using temp.con\n"
                           "ERROR: can't open output file ... exiting\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(end_status, support::no_end);
}

TEST_F(ge_io, a_full_disk_is_noticed_at_once_or_when_the_file_is_closed) {
    if (!support::file_exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
    for (std::size_t floats : {2U, 100000U}) { // within the stream's buffer, and beyond it
        write("/dev/full", std::vector<float>(floats, 1.0F));
        EXPECT_EQ(printed, "... error writing data ... exit...") << floats;
        EXPECT_EQ(result, -1);
        EXPECT_EQ(end_status, support::no_end);
    }
}

TEST_F(ge_io, the_names_without_underscore_are_the_same_routines) {
    const std::vector<float> values = {1.0F, -2.5F, 1.0F / 3.0F, 0.0F};
    count = 4;
    run([&] { return writege(name.c_str(), values.data(), &count, 0); });
    expect_quiet_success();
    EXPECT_EQ(support::read_file(name), four_floats);
    std::vector<float> buffer(6);
    count = 6;
    run([&] { return readge(name.c_str(), buffer.data(), &count, 0); });
    EXPECT_EQ(printed, "... error reading data ... exit...cnt  4 6 \n");
    EXPECT_EQ(result, -1);
}
