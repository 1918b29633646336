// SPDX-License-Identifier: BSD-3-Clause
// markup.cpp -- text of files and users inside HTML and SVG
#include "files/pictures/markup.h"

#include "files/base/plain_text.h"

namespace tools {

std::string escaped_markup(const std::string &text) {
    std::string out;
    for (const char c : without_direction_marks(text)) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '"')
            out += "&quot;";
        else if (c == '\'')
            out += "&#39;";
        else if (static_cast<unsigned char>(c) >= ' ' || c == '\t')
            out += c;
    }
    return out;
}

} // namespace tools
