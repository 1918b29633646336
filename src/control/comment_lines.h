// SPDX-License-Identifier: BSD-3-Clause
// comment_lines.h -- the explanations in a verbose start value file
#pragma once

#include <cstdio>

// In the order in which a file has them. The reader passes over them word by word: none of their
// words is a block keyword.
enum comment_section : int {
    title_comment = 0,
    revision_comment = 1,
    spectrum_comment = 2,
    pattern_comment = 3,
    fit_control_comment = 4,
    starting_value_comment = 5,
    prior_knowledge_comment = 6,
    line_shape_comment = 7
};

// Writes all lines of a section; each ends in its own line ends, some in two.
void write_comment_lines(std::FILE *file, comment_section section);
