// SPDX-License-Identifier: BSD-3-Clause
// text_items.h -- words and numbers of the text headers of other programs
#pragma once

#include "files/base/line_text.h"

#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

// The whole text as a number: C or Fortran (1.5D-03) notation, "nan" and "inf" too. Nothing for
// anything else, and for a number with anything behind it.
std::optional<double> number_of(std::string_view text);
// As number_of, for a number in which a comma may stand for the decimal point.
std::optional<double> number_with_comma(std::string_view text);
std::optional<long long> whole_number_of(std::string_view text);

// Words between blanks, tabs, commas and semicolons.
std::vector<std::string_view> words_of(std::string_view line);

// A nucleus as "31P" when text is one in the form 31P, P31 or <31P>; else nothing. Header texts
// are passed on in this form only, so that no name of a person gets into an output.
std::optional<std::string> nucleus_of(std::string_view text);

// A day as 2019-01-31 when text begins with year, month and day, together or with one sign (. - /)
// between them, in quotes or not; else nothing.
std::optional<std::string> date_of(std::string_view text);

// The nucleus whose frequency per tesla is within one per cent of mhz / tesla.
std::optional<std::string> nucleus_of_field(double mhz, double tesla);

// Lines of a text, without their ends (LF or CR LF), and their numbers.
class line_reader {
  public:
    // Errors: bad_input when the file cannot be read.
    explicit line_reader(const std::string &file);
    bool next(); // false at the end
    const std::string &line() const { return line_; }
    long long number() const { return number_; } // from 1
    // Bytes up to the line behind this one.
    long long bytes_read() const { return bytes_; }
    [[noreturn]] void refuse(const std::string &text) const; // bad_input with file and line

  private:
    std::string file_, line_;
    std::ifstream stream_;
    long long number_ = 0, bytes_ = 0;
};

// Items "name : value" of a text header, by name in lower case.
struct header_items {
    struct item {
        std::string value;
        long long line;
    };
    std::string file;
    std::map<std::string, item> items;

    // The item of a line; of two of a name the first, or the last if `replaces`. Lines without a
    // colon have none.
    void take(std::string_view line, long long number, bool replaces = false);
    // In any case; null for none.
    const item *find(std::string_view name) const;
    // Nothing where there is none or its value is empty.
    std::optional<std::string> text(std::string_view name) const;
    // what: behind file, line and colon.
    [[noreturn]] void refuse(std::string_view name, const std::string &what) const;
};

} // namespace tools
