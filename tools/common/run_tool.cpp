// SPDX-License-Identifier: BSD-3-Clause
// run_tool.cpp -- how a companion program ends
#include "common/run_tool.h"

#include "files/base/ordered_json.h"
#include "files/base/own_files.h"
#include "files/base/tool_error.h"

#include <filesystem>
#include <iostream>
#include <new>

namespace tools {

// What the system refused: a place to write, or something to read.
static exit_status status_of(const std::error_code &code) {
    for (const std::errc output : {std::errc::no_space_on_device, std::errc::read_only_file_system,
                                   std::errc::file_too_large, std::errc::file_exists,
                                   std::errc::directory_not_empty, std::errc::cross_device_link})
        if (code == output) return bad_output;
    return bad_input;
}

// Every error that a body may end with, in one place: its text and its status.
static int end_of(const char *program, const std::function<int()> &body, std::string &said) {
    try {
        return body();
    } catch (const tool_error &error) {
        said = error.what();
        return error.status();
    } catch (const std::bad_alloc &) {
        said = "not enough memory for this input";
    } catch (const std::length_error &) {
        said = "not enough memory for this input";
    } catch (const std::filesystem::filesystem_error &error) {
        said = error.what();
        return status_of(error.code());
    } catch (const json_error &error) {
        said = std::string("a JSON document holds something else than expected (") + error.what() +
               ")";
    } catch (const std::exception &error) {
        said = std::string("the input could not be worked on (") + error.what() + ")";
    } catch (...) {
        said = std::string("an error that ") + program + " does not know; is the input damaged?";
    }
    return bad_input;
}

int run_tool(const char *program, const std::function<int()> &body) {
    clean_up_at_signals();
    std::string said;
    const int status = end_of(program, body, said);
    std::cout.flush();
    if (!said.empty()) {
        std::cerr << program << ": " << said << '\n';
        return status;
    }
    if (!std::cout) {
        std::cerr << program << ": standard output cannot be written\n";
        return bad_output;
    }
    return status;
}

} // namespace tools
