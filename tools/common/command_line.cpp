// SPDX-License-Identifier: BSD-3-Clause
// command_line.cpp -- options of the companion programs, with their common habits
#include "common/command_line.h"

#include "files/base/tool_error.h"
#include "common/completion.h"
#include "common/run_tool.h"

#include <CLI/CLI.hpp>

#include <iostream>
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

int run_tool(option_parser &options, int argc, const char *const *argv,
             const std::function<int()> &body) {
    CLI::App &app = options.inner();
    return run_tool(app.get_name().c_str(), [&] {
        const std::optional<int> end = parse_command_line(app, argc, argv);
        return end ? *end : body();
    });
}

} // namespace tools
