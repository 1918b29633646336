// SPDX-License-Identifier: BSD-3-Clause
// held_text.h -- a text that is printed at the end, however long it has become by then
#pragma once

#include "files/base/file_descriptor.h"

#include <iosfwd>
#include <string>
#include <string_view>

namespace tools {

// Holds a stretch in storage and puts what is longer into a file without a name.
class held_text {
  public:
    held_text() = default;
    held_text(const held_text &) = delete;
    held_text &operator=(const held_text &) = delete;
    ~held_text() = default;
    // folder: of the file, when one is needed; it must be there. Errors: bad_output.
    void add(std::string_view text, const std::string &folder);
    bool empty() const { return text_.empty() && !file_.is_open(); }
    // All of it, once. Errors: bad_output when the file cannot be read again.
    void print(std::ostream &out);

  private:
    void put_away(const std::string &folder);
    std::string text_;
    file_descriptor file_;
};

} // namespace tools
