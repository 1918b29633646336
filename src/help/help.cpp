// SPDX-License-Identifier: BSD-3-Clause
// help.cpp -- built-in documentation
#include "help/help.h"

#include "help/help_texts.h"
#include "run/end_run.h"

#include <cstdio>

void display_help_text(const unsigned &n) {
    static void (*const topics[])() = {help_text_0, help_text_1, help_text_2,
                                       help_text_3, help_text_4, help_text_5,
                                       help_text_6, help_text_7, help_text_8};
    if (n < 9) {
        topics[n]();
        return;
    }
    if (n == 9) {
        help_text_9();
        end_run(1);
    }
    std::printf("\nyou entered an illegal help text number\n");
    std::printf("pease try again !\n\n"); // wording kept
    end_run(-1);
}
