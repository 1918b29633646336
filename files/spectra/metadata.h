// SPDX-License-Identifier: BSD-3-Clause
// metadata.h -- what is known about a signal beside its points, as JSON
//
// The fit knows points and hertz per point only. What turns its results into ppm, and where the
// signal came from, stands in a sidecar: a JSON object beside each converted signal.
#pragma once

#include "files/base/ordered_json.h"

#include <optional>
#include <string>
#include <utility>

namespace tools {

// A JSON object of a file, with lookups that name file and item when a value is of the wrong kind.
class metadata {
  public:
    // Errors: bad_input when the file cannot be read, holds no JSON object, or one that is nested
    // deeper than read_json.h allows.
    explicit metadata(const std::string &file);
    // items: a JSON object; file names it in messages.
    metadata(std::string file, ordered_json items);
    // Of the text of such a file, which is named in messages. Errors as above.
    static metadata of_text(const std::string &text, const std::string &file);

    // The item, or nothing when it is absent or null. Errors: bad_input when it is of another kind,
    // or (positive) not above 0, or outside of number_range.h.
    std::optional<double> number(const char *item) const;
    std::optional<double> positive_number(const char *item) const;
    std::optional<long long> positive_integer(const char *item) const;
    std::optional<std::string> text(const char *item) const;
    std::optional<bool> truth(const char *item) const;
    // Two point numbers [a, b], 0 <= a <= b <= limit.
    std::optional<std::pair<long long, long long>> point_pair(const char *item,
                                                              long long limit) const;

    // The same object inside an item, empty when there is none.
    metadata inside(const char *item) const;
    const std::string &file() const { return file_; }
    const ordered_json &items() const { return items_; } // an object

  private:
    const ordered_json *find(const char *item) const;
    std::optional<double> any_number(const char *item) const;
    [[noreturn]] void refuse(const char *item, const std::string &expected) const;

    std::string file_;
    ordered_json items_;
};

} // namespace tools
