#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# tools/checks/quoted_texts.sh finds a printed text that no test expects, in small trees.
. "$(dirname "$0")/harness.sh"
check=$tree/tools/checks/quoted_texts.sh

# tree_of SOURCE EXPECTED: one source file, one expected output
tree_of() {
    rm -rf src tests
    mkdir -p src/model tests/cli/case tests/unit/model
    printf '%s\n' "$1" >src/model/a.cpp
    printf '%b' "$2" >tests/cli/case/stdout.exact
}
# expected SOURCE EXPECTED; missing SOURCE EXPECTED TEXT
expected() {
    tree_of "$1" "$2"
    status 0 "$check" .
}
missing() {
    tree_of "$1" "$2"
    status 1 "$check" .
    holds out "! src/model/a.cpp:$3"
}

expected 'f("one text\n");' 'one text\n'
missing 'f("one text\n");' 'another text\n' '1: "one text\n"'
# to the last byte
missing 'f("one text \n");' 'one text\n' '1: "one text \n"'
missing 'f("one text\n");' 'one text' '1: "one text\n"'
missing 'f("one\ttext\n");' 'one text\n' '1: "one\ttext\n"'
missing 'f("say \"text\"\n");' 'say text\n' '1: "say "text"\n"'
# literals side by side are one, whatever stands between them
expected 'f("one "  // why
  "text\n");' 'one text\n'
missing 'f("one "
  "text\n");' 'one \ntext\n' '1: "one text\n"'
# a format by its pieces, in order and on one line
expected 'f("%d of %4.1f points\n", a, b);' '3 of 12.0 points\n'
missing 'f("%d of %4.1f points\n", a, b);' '3 of 12.0\n points\n' '1: "%d of'
missing 'f("first %d second %d\n", a, b);' 'second 1 first 2\n' '1: "first'
expected 'f("%-*d%% done\n", a, b);' '12% done\n'
# what is not printed, or shows nothing
for code in '// "one text"' '/* f("one text"); */' '#include "model/one_text.h"' 'strcmp(word, "one text");' \
    'fopen(g(name), "r+b");' 'extern "C" int f();' 'static_assert(sizeof(int) == 4, "one text");' \
    "char c = '\"';" 'f("%d\n", a);' 'f("%1.8E\t@\n", a);'; do
    expected "f(\"known\\n\"); $(printf '\n%s' "$code")" 'known\n'
done
# the line is that of the text
missing "$(printf '/* one\n two */\nf(1);\n\nf("here");')" 'x' '5: "here"'
# literals of test sources count as well, byte by byte
tree_of 'f("one text\n");' 'x'
printf '%s\n' '// "one text\n"' 'EXPECT_EQ(printed, "one "' '   "text\n" + name);' >tests/unit/model/test_a.cpp
status 0 "$check" .
printf '%s\n' '// "one text\n"' >tests/unit/model/test_a.cpp
status 1 "$check" .
# input and command of a case do not
tree_of 'f("one text\n");' 'x'
printf 'one text\n' >tests/cli/case/command
status 1 "$check" .
mv tests/cli/case/command tests/cli/case/verify
status 0 "$check" .
# a known kind has its number
tree_of 'f("x y z\n");' 'x y z\n'
mkdir -p src/control
printf 'f("varokel_new_");\n' >src/control/replaced_file.cpp
status 0 "$check" .
holds out '1 of 1 allowed'
printf 'f("varokel_new_");\nf("varokel_new_");\n' >src/control/replaced_file.cpp
status 1 "$check" .
holds out 'more than the list allows'
# prose of the help topics is any number, the overview is none of it
mkdir -p src/help
rm -r src/control
printf 'static const char *const topic_3_lines[] = {\n "some prose\\n",\n "more\\n",\n};\n' >src/help/help_texts.cpp
status 0 "$check" .
printf 'static const char *const overview_lines[] = {\n "some prose\\n",\n};\n' >>src/help/help_texts.cpp
status 1 "$check" .
holds out 'src/help/help_texts.cpp:6'
# nothing to look at is no success
rm -rf src && mkdir src
status 1 "$check" .
rm -rf tests
status 1 "$check" .

finish
