// SPDX-License-Identifier: BSD-3-Clause
// completion.h -- shell completion made from the options that a program declares
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace tools {

// Shells that completion_script knows.
inline const char *const completion_shells = "bash, zsh";

// The text of a completion file for `shell`, "bash" or "zsh": options, their choices, file names
// for everything that may be one, and the options of each subcommand behind its name. Empty for
// another shell.
std::string completion_script(const CLI::App &app, const std::string &shell);

} // namespace tools
