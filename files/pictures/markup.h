// SPDX-License-Identifier: BSD-3-Clause
// markup.h -- text of files and users inside HTML and SVG
#pragma once

#include <string>

namespace tools {

// text as content or quoted attribute of an element: the five characters that mean something to
// markup become entities, control characters but the tab vanish (they are no XML), and those that
// turn the direction of a text are shown by their number.
std::string escaped_markup(const std::string &text);

} // namespace tools
