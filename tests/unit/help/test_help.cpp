// SPDX-License-Identifier: BSD-3-Clause
#include "help/help.h"

#include "support/support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

static std::string help(unsigned topic, int &status) {
    std::string text;
    text = support::stdout_of(
        [&] { status = support::end_status_of([&] { display_help_text(topic); }); });
    return text;
}

TEST(help, overview_is_this_text_and_ends_the_run_with_1) {
    int status = 0;
    EXPECT_EQ(help(9, status),
              "-----------------------------------------------------------------------\n"
              "///////////////////////////varokel help/////////////////////////////// \n"
              "\n\n\nOverview help: \n\n"
              "|    if you enter        |    varokel responds with help on           |\n"
              "| {prompt} varokel -h 0  |  about varokel                             |\n"
              "| {prompt} varokel -h 1  |  general program characteristics           |\n"
              "| {prompt} varokel -h 2  |  input data file format                    |\n"
              "| {prompt} varokel -h 3  |  starting value and fitcontrol file format |\n"
              "| {prompt} varokel -h 4  |  description of output compact.par file    |\n"
              "| {prompt} varokel -h 5  |  description of output .exl file           |\n"
              "| {prompt} varokel -h 6  |  description of all binary output files    |\n"
              "| {prompt} varokel -h 7  |  description of used minimization routines |\n"
              "| {prompt} varokel -h 8  |  description on the usage of patterns      |\n"
              "-----------------------------------------------------------------------\n\n");
    EXPECT_EQ(status, 1);
}

TEST(help, unknown_topic_is_refused_and_ends_the_run_with_minus_1) {
    for (const unsigned topic : {10u, 4294967295u}) {
        int status = 0;
        EXPECT_EQ(help(topic, status),
                  "\nyou entered an illegal help text number\npease try again !\n\n");
        EXPECT_EQ(status, -1);
    }
}

TEST(help, topics_return_and_end_with_their_name_and_date) {
    for (unsigned topic = 0; topic <= 8; ++topic) {
        int status = 0;
        const std::string text = help(topic, status);
        EXPECT_EQ(status, support::no_end);
        const std::string end = "---\n hlp_txt" + std::to_string(topic) + "; last updated ";
        const std::size_t at = text.rfind(end);
        ASSERT_NE(at, std::string::npos) << topic;
        EXPECT_EQ(text.size(), at + end.size() + 11) << topic; // dd-mm-yyyy and a line end
        EXPECT_GT(text.size(), 800u) << topic;
    }
}

TEST(help, topic_3_explains_every_keyword_of_a_version_3_file) {
    int status = 0;
    const std::string text = help(3, status);
    for (const char *word :
         {"version_3", "n_pnts", "noistr", "noistp",    "nLines",    "lsfcfs", "phi__1",
          "Hz_p_p",    "f__tol", "fit_mo", "verbos",    "showli",    "clcerr", "sg_idl",
          "ranges",    "ignore", "pattrn", "algor",     "trunc",     "ampli",  "frequ",
          "width",     "phase",  "voigt",  "lsfft",     "wtype",     "convo",  "niter",
          "cmplx",     "n_int",  "lsffit", "lsf_coefs", "end_of_lsf"})
        EXPECT_NE(text.find(word), std::string::npos) << word;
}

TEST(help, topic_3_explains_every_block_of_a_verbose_file) {
    int status = 0;
    const std::string text = help(3, status);
    // each at the head of a line of the table of blocks, in the order in which a file has them
    std::size_t at = text.find("\n The verbose form\n");
    for (const char *word :
         {"varokel_begin_of_file", "varokel_spectrum_information", "varokel_pattern_references",
          "varokel_fit_control", "varokel_starting_values", "varokel_prior_knowledge",
          "varokel_line_shape_function", "varokel_end_of_file"}) {
        ASSERT_NE(at, std::string::npos);
        at = text.find(std::string("\n   ") + word + " ", at);
        EXPECT_NE(at, std::string::npos) << word;
    }
}

TEST(help, topics_name_what_they_are_about) {
    const struct {
        unsigned topic;
        std::vector<const char *> words;
    } subjects[] = {
        {0, {"version  2.4", "quantification of in vivo NMR", "frequency domain"}},
        {1, {"no graphics", "Voigt", "Patterns", "Prior", "Fit strategy"}},
        {2, {"no header", "single precision", "4 bytes", "n_pnts", "absorption-only"}},
        {3, {"compact.par", "_verbose.par", "4 : pattern", "file names follow"}},
        {4, {"compact.par", "verbose.par", "starting"}},
        {5, {"n_lines + n_patterns rows", "19 columns", "Lorentzian, Gaussian, Voigt or Pattern"}},
        {6,
         {"\"varokel  .  filename   start.par\"", "filename.org ", ".cororg", "filename.fit ",
          "filename.fit0 ", "filename.res ", "filename.nln0 ", "filename.exl ", "filename.fitres ",
          "filename.mat ", "filename.err ", "lsf.bin ", "data minus fit", "backward extrapolated"}},
        {7, {"M(w,p)", "S(w)", "Conjugate gradients", "Random search"}},
        {8, {"superposition of resonance lines in non-parametric form", ".pat", ".bin"}},
    };
    for (const auto &[topic, words] : subjects) {
        int status = 0;
        const std::string text = help(topic, status);
        for (const char *word : words) EXPECT_NE(text.find(word), std::string::npos) << word;
    }
}

TEST(help, lines_fit_a_terminal) {
    for (unsigned topic = 0; topic <= 9; ++topic) {
        int status = 0;
        const std::string text = help(topic, status);
        std::size_t from = 0;
        for (std::size_t at; (at = text.find('\n', from)) != std::string::npos; from = at + 1)
            EXPECT_LE(at - from, 115u) << topic << ": " << text.substr(from, at - from);
    }
}
