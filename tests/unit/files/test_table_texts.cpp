// SPDX-License-Identifier: BSD-3-Clause
//
// Names in tables and on pages: text, whatever a spreadsheet or a reader would make of it.
#include "files/base/plain_text.h"
#include "files/pages/page_frame.h"
#include "files/pictures/markup.h"

#include <gtest/gtest.h>

namespace {

const std::string right_to_left = "\xe2\x80\xae"; // U+202E

TEST(TextCell, NoSpreadsheetTakesItForAFormula) {
    for (const char *const name : {"=1+1", "+x", "-CH3", "@SUM(A1)", "\"open", "'quoted"}) {
        const std::string cell = tools::text_cell(name);
        EXPECT_EQ(cell, std::string("'") + name);
        EXPECT_EQ(tools::text_of_cell(cell), name);
    }
    for (const char *const name : {"PCr", "#3", "glü", "a=b", "1-x", "n/a"}) {
        EXPECT_EQ(tools::text_cell(name), name);
        EXPECT_EQ(tools::text_of_cell(name), name);
    }
    EXPECT_EQ(tools::text_cell(""), "n/a");
}

TEST(TextCell, EndsNeitherColumnNorRow) {
    EXPECT_EQ(tools::text_cell("a\tb\nc\rd\x7f"
                               "e\x1b"),
              "a b c d e ");
    EXPECT_EQ(tools::text_cell("\t=1"), "' =1");
}

TEST(DirectionMarks, AreShownByTheirNumber) {
    EXPECT_EQ(tools::without_direction_marks("a" + right_to_left + "b\xd8\x9c"),
              "a\\u202eb\\u061c");
    EXPECT_EQ(tools::without_direction_marks("\xe2\x80\xa6 \xe2\x81\xa5 glü \xe2"),
              "\xe2\x80\xa6 \xe2\x81\xa5 glü \xe2");
    int marks = 0;
    for (unsigned code = 0x2000; code < 0x2070; ++code) {
        const std::string text = {static_cast<char>(0xe2),
                                  static_cast<char>(0x80 | (code >> 6 & 0x3f)),
                                  static_cast<char>(0x80 | (code & 0x3f))};
        const bool turns = code == 0x200e || code == 0x200f || (code >= 0x202a && code <= 0x202e) ||
                           (code >= 0x2066 && code <= 0x2069);
        EXPECT_EQ(tools::without_direction_marks(text) != text, turns) << std::hex << code;
        marks += turns;
    }
    EXPECT_EQ(marks, 11);
}

TEST(DirectionMarks, AreNotOnPages) {
    EXPECT_EQ(tools::escaped_markup("<" + right_to_left), "&lt;\\u202e");
    const std::string block =
        tools::data_block("values", {{"name", "a" + right_to_left + "</script>"}});
    EXPECT_EQ(block, "<script type=\"application/json\" "
                     "id=\"values\">{\"name\":\"a\\\\u202e\\u003c/script>\"}</script>\n");
}

} // namespace
