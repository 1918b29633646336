// SPDX-License-Identifier: BSD-3-Clause
// plain_text.h -- what a text from a file may be: UTF-8, and a name that is no path
#pragma once

#include <string>
#include <string_view>

namespace tools {

// Place of the first byte that is not part of well-formed UTF-8, std::string_view::npos when there
// is none. Overlong forms, surrogates and what lies beyond U+10FFFF are not well-formed.
// Source: Unicode Standard 15.0, table 3-7.
std::size_t utf8_fault(std::string_view text);

// The text with \xNN in the place of each byte that is no UTF-8, for messages and pages.
std::string shown_text(std::string_view text);

// A name inside a folder of ours: 1 to 200 bytes of UTF-8 without '/', backslash or control
// characters, and with neither '.' nor '-' in front, so that it is no path, hides nothing and is no
// option.
bool is_plain_name(std::string_view name);

// A text for a table, a page or a picture: 1 to 4096 bytes of UTF-8 without control characters.
bool is_plain_text(std::string_view text);

// A text as a cell of a tab-separated table: control characters become blanks, no text is "n/a",
// and where a spreadsheet would take it for a formula or for a quoted cell (= + - @ " or ' in
// front) a ' stands before it, which spreadsheets take for "this is text".
std::string text_cell(std::string_view text);
// The text of such a cell, without that mark.
std::string text_of_cell(std::string_view cell);

// The text with escape and four hexadecimal digits in the place of each character that turns the
// direction of what follows (U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069): a reader
// would not see the order in which letters and digits stand.
std::string without_direction_marks(std::string_view text, std::string_view escape = "\\u");

// Errors: bad_input, which says where the first byte stands that is no UTF-8.
// what: such as "the name of the file".
void refuse_not_utf8(std::string_view text, const std::string &what);

} // namespace tools
