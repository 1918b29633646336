// SPDX-License-Identifier: BSD-3-Clause
// lcmodel_namelist.h -- groups of named values and the numbers behind them, as LCModel's files have
// them: " $NMID ID='NAA', FMTDAT='(2E15.6)' $END"
#pragma once

#include "files/measured/text_items.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tools {

class namelist_group {
  public:
    std::string name; // lower case, "nmid"
    std::map<std::string, std::vector<std::string>> values;
    long long line = 0; // where it begins
    std::string file;

    // First value of an item; nothing when the item is absent or has no value.
    std::optional<std::string> text(const char *item) const;
    // Errors: bad_input when it is no (finite) number, or not true or false (T, F, .true.,
    // .false.).
    std::optional<double> number(const char *item) const;
    std::optional<long long> whole_number(const char *item) const;
    bool truth(const char *item) const; // absent is false

  private:
    [[noreturn]] void refuse(const char *item, const std::string &expected) const;
};

// Reads on to the next group and over it; text then stands at its last line. Nothing at the end of
// the file. begun is true when text stands at a line that was read but not used.
// Errors: bad_input when a group has no end.
std::optional<namelist_group> next_group(line_reader &text, const std::string &file,
                                         bool begun = false);

// Layout of numbers, such as (2E15.6): how wide each is. Nothing when the format is none of real
// numbers.
std::optional<std::size_t> field_width(const std::string &format);

// Numbers of a line: words between blanks or, where they touch ("1.0E+00-2.0E+00"), fields of the
// width. Errors: bad_input, naming the line.
std::vector<double> numbers_of_line(const line_reader &text,
                                    const std::optional<std::size_t> &width);

} // namespace tools
