// SPDX-License-Identifier: BSD-3-Clause
// text_pattern.h -- a POSIX extended regular expression
//
// The C library's: the templates of <regex> take three seconds to compile in each unit that uses
// them.
#pragma once

#include <regex.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <string>

namespace tools {

class text_pattern {
  public:
    static constexpr std::size_t most_groups = 8;

    // Errors: std::invalid_argument of what is no expression.
    explicit text_pattern(const char *expression) {
        if (regcomp(&form_, expression, REG_EXTENDED) != 0)
            throw std::invalid_argument(std::string("no regular expression: ") + expression);
    }
    text_pattern(const text_pattern &) = delete;
    text_pattern &operator=(const text_pattern &) = delete;
    ~text_pattern() { regfree(&form_); }

    // The whole of what is matched and its groups, empty where a group takes no part; nothing of a
    // text that does not match or holds a zero byte.
    std::optional<std::array<std::string, most_groups>> groups_of(const std::string &text) const {
        std::array<regmatch_t, most_groups> places;
        if (text.find('\0') != text.npos ||
            regexec(&form_, text.c_str(), places.size(), places.data(), 0) != 0)
            return std::nullopt;
        std::array<std::string, most_groups> groups;
        for (std::size_t k = 0; k < groups.size(); ++k)
            if (places[k].rm_so >= 0)
                groups[k] =
                    text.substr(static_cast<std::size_t>(places[k].rm_so),
                                static_cast<std::size_t>(places[k].rm_eo - places[k].rm_so));
        return groups;
    }
    bool matches(const std::string &text) const { return groups_of(text).has_value(); }

  private:
    regex_t form_;
};

} // namespace tools
