// SPDX-License-Identifier: BSD-3-Clause
// page_frame.h -- an HTML page that asks no network for anything
//
// A content security policy forbids everything but the style and the scripts that stand in the page
// itself, named by their hashes: text that came from a file can never run, even where an escape was
// forgotten. It loads nothing but files beside it, where it has any.
#pragma once

#include "files/base/ordered_json.h"

#include <string>
#include <vector>

namespace tools {

struct page_content {
    std::string title;                // plain text
    std::string style;                // all of it
    std::vector<std::string> scripts; // run in this order at the end of the body
    std::string body;                 // markup
    // Files beside the page that its scripts may load as scripts; empty for a page of one file.
    std::vector<std::string> loaded_scripts;
};

std::string html_page(const page_content &content);

// What pages with charts begin with: their style, and the scripts that draw.
page_content chart_page();

// Bytes as text of the alphabet of RFC 4648.
std::string base64(const std::string &bytes);

// A block of data that no browser runs: <script type="application/json" id="...">.
std::string data_block(const std::string &id, const ordered_json &data);

// text with everything that is no UTF-8 replaced.
std::string valid_text(const std::string &text);

// A box with a heading and a list; without texts, what is said then, or no box.
std::string list_below(const char *heading, const std::vector<std::string> &texts,
                       const char *nothing = "");

// <tag attributes>text</tag>; text is escaped, attributes are markup.
std::string element(const std::string &tag, const std::string &attributes, const std::string &text);

} // namespace tools
