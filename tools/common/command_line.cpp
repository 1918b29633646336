// SPDX-License-Identifier: BSD-3-Clause
// command_line.cpp -- options of the companion programs, with their common habits
#include "common/command_line.h"

#include "files/base/ordered_json.h"
#include "files/base/own_files.h"
#include "files/base/tool_error.h"
#include "common/completion.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <new>
#include <optional>
#include <string_view>

namespace tools {

void common_options(option_parser &options, const std::string &example, const std::string &good) {
    CLI::App &app = options.inner();
    app.set_version_flag("--version", app.get_name() + " " VAROKEL_VERSION);
    app.footer("\nExit status: " + good +
               ", 2 wrong usage, 3 input unreadable or invalid,\n4 output cannot be written.\n\n"
               "Example:\n" +
               example);
    app.get_formatter()->column_width(26);
}

// Nothing when the program shall go on, else its exit status.
static std::optional<int> parse_command_line(CLI::App &app, int argc, const char *const *argv) {
    // Asked for when the program is built, so that completion never differs from the options.
    if (argc == 3 && std::string_view(argv[1]) == "--completion") {
        const std::string script = completion_script(app, argv[2]);
        std::cout << script;
        if (script.empty())
            std::cerr << app.get_name() << ": --completion " << argv[2] << ": expected one of "
                      << completion_shells << '\n';
        return script.empty() ? wrong_usage : all_right;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp &) {
        std::cout << app.help();
        return all_right;
    } catch (const CLI::CallForVersion &version) {
        std::cout << version.what() << '\n';
        return all_right;
    } catch (const CLI::ParseError &mistake) {
        std::cerr << app.get_name() << ": " << mistake.what() << "\nTry " << app.get_name()
                  << " --help.\n";
        return wrong_usage;
    }
    return std::nullopt;
}

// What the system refused: a place to write, or something to read.
static exit_status status_of(const std::error_code &code) {
    for (const std::errc output : {std::errc::no_space_on_device, std::errc::read_only_file_system,
                                   std::errc::file_too_large, std::errc::file_exists,
                                   std::errc::directory_not_empty, std::errc::cross_device_link})
        if (code == output) return bad_output;
    return bad_input;
}

// Every error that a body may end with, in one place: its text and its status.
static int end_of(const std::string &program, const std::function<int()> &body, std::string &said) {
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
        said = "an error that " + program + " does not know; is the input damaged?";
    }
    return bad_input;
}

int run_tool(option_parser &options, int argc, const char *const *argv,
             const std::function<int()> &body) {
    clean_up_at_signals();
    CLI::App &app = options.inner();
    const std::string program = app.get_name();
    std::string said;
    const int status = end_of(
        program,
        [&] {
            const std::optional<int> end = parse_command_line(app, argc, argv);
            return end ? *end : body();
        },
        said);
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
