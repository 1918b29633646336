// SPDX-License-Identifier: BSD-3-Clause
// completion.cpp -- shell completion made from the options that a program declares
#include "common/completion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <vector>

namespace tools {

// An option as a shell needs it.
struct completed_option {
    std::vector<std::string> names; // with dashes
    std::string description;
    bool takes_value = false;
    std::vector<std::string> choices; // empty: any
    bool is_file = false;             // a value that may be the name of a file or folder
};

// CLI11 writes a fixed choice as "{a,b}" into the name of a value's type.
static std::vector<std::string> choices_in(const std::string &type) {
    std::vector<std::string> choices;
    const std::size_t open = type.find('{'), close = type.find('}');
    if (open == type.npos || close == type.npos || close < open) return choices;
    std::string list = type.substr(open + 1, close - open - 1);
    for (std::size_t at = 0; at <= list.size();) {
        const std::size_t comma = std::min(list.find(',', at), list.size());
        choices.push_back(list.substr(at, comma - at));
        at = comma + 1;
    }
    return choices;
}

static bool names_a_file(const std::string &type) {
    static const std::array<const char *, 8> words = {"FILE",  "FOLDER", "DIR",   "PATH",
                                                      "TABLE", "INPUT",  "WATER", "MASK"};
    return std::any_of(words.begin(), words.end(),
                       [&](const char *word) { return type.find(word) != type.npos; });
}

static std::vector<completed_option> options_of(const CLI::App &app) {
    std::vector<completed_option> options;
    for (const CLI::Option *option : app.get_options()) {
        if (option->get_positional() || option->get_group().empty()) continue;
        completed_option found;
        for (const std::string &name : option->get_snames()) found.names.push_back("-" + name);
        for (const std::string &name : option->get_lnames()) found.names.push_back("--" + name);
        if (found.names.empty()) continue;
        found.description = option->get_description();
        found.takes_value = option->get_items_expected_max() > 0;
        found.choices = choices_in(option->get_type_name());
        found.is_file = found.takes_value && names_a_file(option->get_type_name());
        options.push_back(found);
    }
    return options;
}

static std::string joined(const std::vector<std::string> &words, const char *between) {
    std::string text;
    for (const std::string &word : words) text += (text.empty() ? "" : between) + word;
    return text;
}

static std::string identifier(std::string name) {
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

// --- bash ---

// One name a line, so that names with blanks stay whole.
static const char *const files_for_bash = "mapfile -t COMPREPLY < <(compgen -f -- \"$cur\")";

static std::string bash_cases(const std::vector<completed_option> &options,
                              const std::string &margin) {
    std::string text = margin + "case $prev in\n", all;
    for (const completed_option &option : options) {
        all += (all.empty() ? "" : " ") + joined(option.names, " ");
        if (!option.takes_value) continue;
        text += margin + "    " + joined(option.names, " | ") + ") ";
        if (!option.choices.empty())
            text += "COMPREPLY=($(compgen -W '" + joined(option.choices, " ") +
                    "' -- \"$cur\")) && return ;;\n";
        else if (option.is_file)
            text += files_for_bash + std::string(" && return ;;\n");
        else
            text += "return ;;\n";
    }
    text += margin + "esac\n";
    text += margin + "[[ $cur == -* ]] && COMPREPLY=($(compgen -W '" + all +
            "' -- \"$cur\")) && return\n";
    return text;
}

static std::string bash_script(const CLI::App &app) {
    const std::string function = "_" + identifier(app.get_name());
    std::string text =
        "# bash completion for " + app.get_name() + "\n" + function + "() {\n" +
        "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n" +
        "    COMPREPLY=()\n";
    std::vector<std::string> commands;
    for (const CLI::App *command : app.get_subcommands({})) commands.push_back(command->get_name());
    if (!commands.empty()) {
        text += "    case ${COMP_WORDS[1]} in\n";
        for (const CLI::App *command : app.get_subcommands({}))
            text += "    " + command->get_name() + ")\n" +
                    bash_cases(options_of(*command), "        ") + "        " + files_for_bash +
                    "\n        return ;;\n";
        text += "    esac\n";
    }
    text += bash_cases(options_of(app), "    ");
    text += std::string("    ") + files_for_bash + "\n";
    if (!commands.empty())
        text += "    ((COMP_CWORD == 1)) && COMPREPLY+=($(compgen -W '" + joined(commands, " ") +
                "' -- \"$cur\"))\n";
    return text + "    return 0\n}\ncomplete -o filenames -F " + function + " " + app.get_name() +
           "\n";
}

// --- zsh ---

// What _arguments reads stands in single quotes, and brackets and colons have a meaning there.
static std::string zsh_quoted(const std::string &text) {
    std::string quoted;
    for (const char c : text) {
        if (c == '\'')
            quoted += "'\\''";
        else if (c == '\n')
            quoted += ' ';
        else {
            if (c == '[' || c == ']' || c == ':' || c == '\\') quoted += '\\';
            quoted += c;
        }
    }
    return quoted;
}

static std::string zsh_arguments(const CLI::App &app, const std::string &margin) {
    std::string text = margin + "_arguments -s";
    for (const completed_option &option : options_of(app))
        for (const std::string &name : option.names) {
            text += " \\\n" + margin + "    '*" + name + "[" + zsh_quoted(option.description) + "]";
            if (option.takes_value && !option.choices.empty())
                text += ":value:(" + joined(option.choices, " ") + ")";
            else if (option.takes_value)
                text += option.is_file ? ":file:_files" : ":value: ";
            text += "'";
        }
    return text + " \\\n" + margin + "    '*:file:_files'\n";
}

static std::string zsh_script(const CLI::App &app) {
    std::string text = "#compdef " + app.get_name() + "\n";
    const std::vector<const CLI::App *> commands = app.get_subcommands({});
    if (commands.empty()) return text + zsh_arguments(app, "");
    text += "case $words[2] in\n";
    for (const CLI::App *command : commands)
        text += command->get_name() + ")\n    shift words\n    ((CURRENT--))\n" +
                zsh_arguments(*command, "    ") + "    ;;\n";
    text += "*)\n    if ((CURRENT == 2)); then\n        local -a commands=(";
    for (const CLI::App *command : commands)
        text += "\n            '" + command->get_name() + ":" +
                zsh_quoted(command->get_description()) + "'";
    text += ")\n        _describe command commands\n    fi\n" + zsh_arguments(app, "    ") +
            "    ;;\nesac\n";
    return text;
}

std::string completion_script(const CLI::App &app, const std::string &shell) {
    if (shell == "bash") return bash_script(app);
    if (shell == "zsh") return zsh_script(app);
    return "";
}

} // namespace tools
