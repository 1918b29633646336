// SPDX-License-Identifier: BSD-3-Clause
// read_json.h -- JSON from a file that somebody else may have written
//
// Text that is nested deeper than any of ours is refused before it is read: the library walks what
// it has read by recursion, and 200,000 brackets would end the stack. So is one of more values than
// any of ours: three bytes of a text, "[],", become a hundred of storage. A batch of 100,000 files
// has 800,000 values in the head of its manifest.
#pragma once

#include "files/base/ordered_json.h"

#include <string>

namespace tools {

static constexpr int deepest_json = 64;
static constexpr std::size_t most_json_values = std::size_t{1} << 21;

// file: for messages. Errors: bad_input, with the place in the text; for more than that, too.
ordered_json json_of_text(const std::string &text, const std::string &file);

// Errors: bad_input when the file cannot be read, is larger than 256 MiB or is no JSON.
ordered_json json_of_file(const std::string &file);

// The text of a document. indent -1 for one line. Errors: bad_input when a text in it is not
// UTF-8, with its place; file names the document.
std::string json_text(const ordered_json &items, int indent, const std::string &file);

// Bytes of a path or a word of the command line, which need not be UTF-8: a text, or
// {"hex": "..."}; and back. Errors of bytes_of_json: bad_input.
ordered_json json_of_bytes(const std::string &bytes);
std::string bytes_of_json(const ordered_json &item, const std::string &file);

} // namespace tools
