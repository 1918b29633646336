// SPDX-License-Identifier: BSD-3-Clause
// What a program ends with, and what it says, whatever goes wrong in it.
#include "common/command_line.h"

#include "files/base/ordered_json.h"
#include "files/base/tool_error.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

namespace {

struct ended {
    int status;
    std::string said; // on standard error
};

ended end_of(const std::function<int()> &body) {
    testing::internal::CaptureStderr();
    tools::option_parser app("Does a thing.", "varokel-thing");
    const char *const words[] = {"varokel-thing"};
    const int status = tools::run_tool(app, 1, words, body);
    return {status, testing::internal::GetCapturedStderr()};
}

ended end_of_code(std::errc code) {
    return end_of([&]() -> int {
        throw std::filesystem::filesystem_error("a folder", std::make_error_code(code));
    });
}

} // namespace

TEST(run_tool, what_the_body_returns_is_the_status_and_nothing_is_said) {
    for (const int status : {0, 1, 2, 3, 4}) {
        const ended end = end_of([&] { return status; });
        EXPECT_EQ(end.status, status);
        EXPECT_EQ(end.said, "");
    }
}

TEST(run_tool, an_error_of_the_tools_has_its_own_status_and_text) {
    for (const tools::exit_status status :
         {tools::different, tools::wrong_usage, tools::bad_input, tools::bad_output}) {
        const ended end = end_of([&]() -> int { throw tools::tool_error(status, "a.txt: why"); });
        EXPECT_EQ(end.status, status);
        EXPECT_EQ(end.said, "varokel-thing: a.txt: why\n");
    }
}

TEST(run_tool, what_an_input_is_too_large_for_is_an_input) {
    for (const ended &end : {end_of([]() -> int { throw std::bad_alloc(); }),
                             end_of([]() -> int { throw std::length_error("too long"); })}) {
        EXPECT_EQ(end.status, tools::bad_input);
        EXPECT_EQ(end.said, "varokel-thing: not enough memory for this input\n");
    }
}

TEST(run_tool, a_full_or_read_only_place_is_an_output_and_any_other_an_input) {
    for (const std::errc code : {std::errc::no_space_on_device, std::errc::read_only_file_system,
                                 std::errc::file_too_large, std::errc::file_exists,
                                 std::errc::directory_not_empty, std::errc::cross_device_link})
        EXPECT_EQ(end_of_code(code).status, tools::bad_output) << static_cast<int>(code);
    for (const std::errc code : {std::errc::no_such_file_or_directory, std::errc::io_error,
                                 std::errc::filename_too_long}) {
        const ended end = end_of_code(code);
        EXPECT_EQ(end.status, tools::bad_input) << static_cast<int>(code);
        EXPECT_NE(end.said.find("a folder"), std::string::npos) << end.said;
    }
}

TEST(run_tool, nothing_gets_out_that_ends_the_program_without_a_word) {
    const ended json = end_of([] { return tools::ordered_json::object().at("item").get<int>(); });
    EXPECT_EQ(json.status, tools::bad_input);
    EXPECT_NE(json.said.find("a JSON document holds something else than expected"),
              std::string::npos)
        << json.said;
    const ended other = end_of([]() -> int { throw std::runtime_error("broken"); });
    EXPECT_EQ(other.status, tools::bad_input);
    EXPECT_NE(other.said.find("(broken)"), std::string::npos) << other.said;
    const ended unknown = end_of([]() -> int { throw 7; });
    EXPECT_EQ(unknown.status, tools::bad_input);
    EXPECT_NE(unknown.said.find("varokel-thing: an error that varokel-thing does not know"),
              std::string::npos)
        << unknown.said;
}

TEST(run_tool, results_that_could_not_be_written_are_no_success) {
    const ended end = end_of([] {
        std::cout.setstate(std::ios::badbit);
        return 0;
    });
    std::cout.clear();
    EXPECT_EQ(end.status, tools::bad_output);
    EXPECT_EQ(end.said, "varokel-thing: standard output cannot be written\n");
}
