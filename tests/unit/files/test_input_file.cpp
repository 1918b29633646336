// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/input_file.h"

#include "files/base/read_json.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/results/run_files.h"
#include "files/spectra/search_limits.h"
#include "files/spectra/signal_file.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

// The message of what f throws; empty when it ends.
template <class action>
std::string refusal_of(const action &f) {
    try {
        f();
    } catch (const tools::tool_error &error) {
        EXPECT_EQ(error.status(), tools::bad_input);
        return error.what();
    }
    return "";
}

TEST(input_file, a_pipe_without_a_writer_is_refused_by_every_reader_instead_of_waited_for) {
    const support::temporary_folder folder(true);
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    fs::create_symlink("pipe", "link");
    for (const std::string name : {"pipe", "link"}) {
        const std::string wanted = name + ": a pipe; expected a file";
        EXPECT_EQ(refusal_of([&] { tools::open_input(name); }), wanted);
        EXPECT_EQ(refusal_of([&] { tools::read_text_file(name, "x"); }), wanted);
        EXPECT_EQ(refusal_of([&] { tools::json_of_file(name); }), wanted);
        EXPECT_EQ(refusal_of([&] { tools::sha256_of_file(name); }), wanted);
        EXPECT_EQ(refusal_of([&] { tools::lines_of(name); }), wanted);
    }
}

TEST(input_file, a_device_is_refused_behind_a_link_and_taken_by_its_own_name) {
    const support::temporary_folder folder(true);
    fs::create_symlink("/dev/zero", "zeros");
    EXPECT_EQ(refusal_of([] { tools::sha256_of_file("zeros"); }),
              "zeros: a device; expected a file");
    EXPECT_EQ(tools::read_text_file("/dev/null", "x"), "");
}

TEST(input_file, folders_and_missing_files_give_a_stream_that_failed) {
    const support::temporary_folder folder(true);
    fs::create_directory("folder");
    fs::create_symlink("itself", "itself");
    for (const char *const name : {"folder", "missing", "itself"})
        EXPECT_FALSE(tools::open_input(name)) << name;
}

TEST(input_file, a_text_larger_than_its_limit_is_refused_and_one_below_is_not) {
    const support::temporary_folder folder(true);
    support::write_file("large", "text");
    fs::resize_file("large", tools::largest_text_file + 1);
    EXPECT_EQ(refusal_of([] { tools::read_text_file("large", "a table"); }),
              "large: larger than 256 MiB; expected a table");
    fs::resize_file("large", std::uintmax_t{1} << 40); // takes no room on the disk
    EXPECT_EQ(refusal_of([] { tools::json_of_file("large"); }),
              "large: larger than 256 MiB; expected a JSON file");
    fs::resize_file("large", 4);
    EXPECT_EQ(tools::read_text_file("large", "a table"), "text");
}

TEST(input_file, a_spectrum_of_more_points_than_any_fit_takes_is_refused) {
    const support::temporary_folder folder(true);
    support::write_file("a.bin", "");
    const std::uintmax_t most = 8 * static_cast<std::uintmax_t>(tools::search_limits::points);
    fs::resize_file("a.bin", most);
    EXPECT_EQ(tools::points_of_spectrum("a.bin"), tools::search_limits::points);
    fs::resize_file("a.bin", most + 8);
    EXPECT_EQ(refusal_of([] { tools::points_of_spectrum("a.bin"); }),
              "a.bin: 16777217 points; expected a spectrum, of up to 16777216");
}

TEST(input_file, lines_of_any_length_up_to_the_limit_are_read_whole) {
    const std::size_t lengths[] = {0, 1, 4094, 4095, 4096, 4097, 8190, 100000, 0, 5};
    std::string text;
    for (const std::size_t length : lengths) text += std::string(length, 'x') + "\n";
    for (const bool last_has_end : {true, false}) {
        if (!last_has_end) text.pop_back();
        std::istringstream stream(text);
        std::string line;
        std::size_t bytes = 0;
        for (const std::size_t length : lengths) {
            const std::size_t read = tools::next_line(stream, line, "text");
            EXPECT_EQ(line, std::string(length, 'x'));
            bytes += read;
        }
        EXPECT_EQ(bytes, text.size());
        EXPECT_EQ(tools::next_line(stream, line, "text"), 0U);
    }
}

TEST(input_file, a_line_longer_than_the_limit_is_refused) {
    std::string line;
    std::istringstream fits(std::string(tools::longest_input_line, 'x') + "\nend");
    EXPECT_EQ(tools::next_line(fits, line, "text"), tools::longest_input_line + 1);
    std::istringstream longer(std::string(tools::longest_input_line + 8192, 'x'));
    EXPECT_EQ(refusal_of([&] { tools::next_line(longer, line, "text"); }),
              "text: a line longer than 16 MiB; expected lines of text. Is the file of another "
              "format?");
}

} // namespace
