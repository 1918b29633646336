// SPDX-License-Identifier: BSD-3-Clause
// option_parser.h -- the options that a program or one of its commands declares
//
// A thin cover of the parser's library, whose header takes longer to compile than most programs;
// option_parser.cpp, command_line.cpp and completion.cpp alone see it.
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace tools {

// What a value has to be, beside of its type.
struct value_rule {
    enum class kind { any, positive, not_negative, range, one_of } what = kind::any;
    long long low = 0, high = 0;    // of a range, both allowed
    std::vector<std::string> words; // of one_of
};
inline const value_rule positive_number = {value_rule::kind::positive, 0, 0, {}};
inline const value_rule not_negative_number = {value_rule::kind::not_negative, 0, 0, {}};
value_rule in_range(long long low, long long high);
value_rule one_of(std::vector<std::string> words);

// One option, for what is said about it behind its declaration.
class declared_option {
  public:
    explicit declared_option(CLI::Option *inner) : inner_(inner) {}
    declared_option *required();
    declared_option *takes_several(); // values behind one name; else a list repeats the name
    declared_option *needs(const declared_option *other);
    declared_option *show_default();
    declared_option *add_to_description(const std::string &text);

  private:
    CLI::Option *inner_;
};

class option_parser {
  public:
    option_parser(const std::string &description, const std::string &program);
    explicit option_parser(CLI::App *command); // owned by its program's parser
    option_parser(const option_parser &) = delete;
    option_parser &operator=(const option_parser &) = delete;
    ~option_parser();

    // names: "-o,--output FILE", the last word for --help, or a word without dashes for an operand.
    // value is kept by reference and stays as it is when the option is not given. For the types
    // that option_parser.cpp names.
    template <class value_type>
    declared_option *add_option(const std::string &names, value_type &value,
                                const std::string &description, const value_rule &rule = {});
    // "!--no-report" sets its value to false.
    declared_option *add_flag(const std::string &names, bool &value,
                              const std::string &description);
    declared_option *option_named(const std::string &name);
    option_parser *add_subcommand(const std::string &name, const std::string &description);
    void require_subcommand();
    void footer(const std::string &text); // end of --help
    bool parsed() const;                  // a command: it is the one that was given
    // Options that are declared from here on stand under this heading of --help. Returns the one
    // before.
    std::string set_heading(const std::string &heading);

    CLI::App &inner() { return *app_; }

  private:
    std::unique_ptr<CLI::App> owned_; // nothing for a command
    CLI::App *app_;
    std::deque<declared_option> options_;
    std::deque<option_parser> commands_;
};

} // namespace tools
