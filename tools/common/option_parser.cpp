// SPDX-License-Identifier: BSD-3-Clause
// option_parser.cpp -- the options that a program or one of its commands declares
#include "common/option_parser.h"

#include "files/measured/text_items.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <system_error>
#include <type_traits>
#include <utility>

namespace tools {

value_rule in_range(long long low, long long high) {
    return {value_rule::kind::range, low, high, {}};
}
value_rule one_of(std::vector<std::string> words) {
    return {value_rule::kind::one_of, 0, 0, std::move(words)};
}

// A number of an option, whose text was looked at before. kind: for --help.
static CLI::Validator at_least(double least, const char *expected, const char *kind) {
    return {[least, expected](std::string &text) {
                if (std::strtod(text.c_str(), nullptr) >= least) return std::string();
                return "\"" + text + "\" where a number " + expected + " was expected";
            },
            kind};
}

static void hold_to(CLI::Option *option, const value_rule &rule) {
    switch (rule.what) {
    case value_rule::kind::any:
        break;
    case value_rule::kind::positive:
        option->check(at_least(std::numeric_limits<double>::denorm_min(), "above 0", "POSITIVE"));
        break;
    case value_rule::kind::not_negative:
        option->check(at_least(0.0, "from 0 on", "NONNEGATIVE"));
        break;
    case value_rule::kind::range:
        option->check(CLI::Range(rule.low, rule.high));
        break;
    case value_rule::kind::one_of:
        option->check(CLI::IsMember(rule.words));
        break;
    }
}

declared_option *declared_option::required() {
    inner_->required();
    return this;
}

declared_option *declared_option::takes_several() {
    inner_->allow_extra_args();
    return this;
}

declared_option *declared_option::needs(const declared_option *other) {
    inner_->needs(other->inner_);
    return this;
}

declared_option *declared_option::show_default() {
    inner_->capture_default_str();
    return this;
}

declared_option *declared_option::add_to_description(const std::string &text) {
    inner_->description(inner_->get_description() + text);
    return this;
}

option_parser::option_parser(const std::string &description, const std::string &program)
    : owned_(std::make_unique<CLI::App>(description, program)), app_(owned_.get()) {}
option_parser::option_parser(CLI::App *command) : app_(command) {}
option_parser::~option_parser() = default;

// Nothing for digits with a sign, a point and an exponent, as far as they are wanted, whose value
// is finite; else what is wrong. What is too small for a number is 0. The parser's library by
// itself takes 0x10 for 16, 010 for 8, and nan, inf and 1e999 for numbers.
static std::string fault_of_number(const std::string &text) {
    const std::optional<double> value =
        text.find_first_not_of("0123456789+-.eE") == text.npos ? number_of(text) : std::nullopt;
    if (value && std::isfinite(*value)) return {};
    return "\"" + text + "\" where a number such as 0.5, 2 or 1e-3 was expected";
}

// The same for a whole number, a sign and digits, that whole_type holds. It loses a plus and zeros
// in front, which the parser would take for a sign of base 8: 010 is ten.
template <class whole_type>
static std::string fault_of_whole_number(std::string &text) {
    const char *const begin = text.data() + (text.starts_with('+') ? 1 : 0);
    whole_type value = 0;
    const auto end = std::from_chars(begin, text.data() + text.size(), value);
    if (text.starts_with("+-") || end.ptr != text.data() + text.size() ||
        end.ec == std::errc::invalid_argument)
        return "\"" + text + "\" where a whole number was expected";
    if (end.ec != std::errc())
        return "\"" + text + "\" where a whole number from " +
               std::to_string(std::numeric_limits<whole_type>::min()) + " to " +
               std::to_string(std::numeric_limits<whole_type>::max()) + " was expected";
    text = std::to_string(value);
    return {};
}

// void for texts
template <class value_type>
struct number_of_option {
    typedef std::conditional_t<std::is_arithmetic_v<value_type>, value_type, void> type;
};
template <class value_type>
struct number_of_option<std::optional<value_type>> {
    typedef typename number_of_option<value_type>::type type;
};

template <class value_type>
declared_option *option_parser::add_option(const std::string &names, value_type &value,
                                           const std::string &description, const value_rule &rule) {
    const std::size_t blank = names.find(' ');
    CLI::Option *const option = app_->add_option(names.substr(0, blank), value, description);
    if (blank != names.npos) option->type_name(names.substr(blank + 1));
    if constexpr (std::is_same_v<value_type, std::vector<std::string>>)
        option->allow_extra_args(false);
    typedef typename number_of_option<value_type>::type number;
    if constexpr (std::is_same_v<number, double>) // a change stands in front of all checks
        option->transform(
            CLI::Validator([](std::string &text) { return fault_of_number(text); }, ""));
    else if constexpr (!std::is_same_v<number, void>)
        option->transform(CLI::Validator(fault_of_whole_number<number>, ""));
    hold_to(option, rule);
    return &options_.emplace_back(option);
}

#define FOR_TYPE(type)                                                                             \
    template declared_option *option_parser::add_option(                                           \
        const std::string &, type &, /* NOLINT(bugprone-macro-parentheses) */                      \
        const std::string &, const value_rule &);
FOR_TYPE(std::string)
FOR_TYPE(int)
FOR_TYPE(unsigned)
FOR_TYPE(long long)
FOR_TYPE(std::uint64_t)
FOR_TYPE(double)
FOR_TYPE(std::optional<long long>)
FOR_TYPE(std::optional<double>)
FOR_TYPE(std::optional<std::string>)
FOR_TYPE(std::vector<std::string>)
#undef FOR_TYPE

declared_option *option_parser::add_flag(const std::string &names, bool &value,
                                         const std::string &description) {
    return &options_.emplace_back(app_->add_flag(names, value, description));
}

declared_option *option_parser::option_named(const std::string &name) {
    return &options_.emplace_back(app_->get_option(name));
}

option_parser *option_parser::add_subcommand(const std::string &name,
                                             const std::string &description) {
    return &commands_.emplace_back(app_->add_subcommand(name, description));
}

void option_parser::require_subcommand() {
    app_->require_subcommand(1);
}
void option_parser::footer(const std::string &text) {
    app_->footer(text);
}
bool option_parser::parsed() const {
    return app_->parsed();
}

std::string option_parser::set_heading(const std::string &heading) {
    const std::string before = app_->option_defaults()->get_group();
    app_->option_defaults()->group(heading);
    return before;
}

} // namespace tools
