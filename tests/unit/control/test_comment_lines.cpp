// SPDX-License-Identifier: BSD-3-Clause
// A written file is walked from its first byte to its last: layout, comment lines, data. The lines
// are known here by length and digest only, so that a change in the table does not change the
// expectation with it.
#include "control/comment_lines.h"
#include "unit/control/control_example.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

using namespace control_example;

struct line_digest {
    std::size_t length; // with line ends
    std::uint64_t fnv;  // FNV-1a, 64 bit, of its bytes
};

static const line_digest digests[] = {
    {45, 0x4d655151212d9349}, {45, 0xd2014decd90a4362}, {23, 0x5d484a739c049445},
    {23, 0xcd6dda72e15021f8}, {23, 0x4ed98b24a7a66e6a}, {22, 0x84fccc255327997f},
    {41, 0x8b4a4c04da8ffb09}, {41, 0x1ead125544afb69e}, {50, 0x8dee12f5e55045b3},
    {30, 0xe9acb4afcf6ef275}, {51, 0xcf188f1ef93cc43e}, {41, 0x62deb6aad65753fe},
    {75, 0x575ddee71cdf7c13}, {75, 0xc7b2aaef61fa04fd}, {75, 0x8df8214b2735ab4f},
    {72, 0xfe8aa4850a4ca000}, {52, 0xad2d4445133c1d3d}, {70, 0x5c68227633aad95a},
    {76, 0x47c5d34060b25992}, {70, 0xb70f80e724d4aecb}, {73, 0xf6b6e1359f629bf3},
    {48, 0x052cd4ec6042f96d}, {73, 0xc754b8e77dbd27c8}, {74, 0xa84c94cd4459858a},
    {69, 0x8840065519888e8e}, {72, 0x0291b70345452c18}, {73, 0xa6acf868ab7a8ab6},
    {74, 0xa7de9cc365d24fc8}, {79, 0xa6d7d4fe45d96ff9}, {64, 0xbfa076dfc0046464},
    {55, 0xb9abd1347a04d405}, {53, 0xa4fb689f7efc4646}, {59, 0x9e00dc8946745043},
    {57, 0x60728097b4b6237a}, {57, 0x1633154e66baaa17}, {59, 0x4ac4fabf65ff7b30},
    {40, 0xe8c060410975e236}, {25, 0xa14b4a4051af37a2}, {41, 0x1ead125544afb69e},
    {72, 0x984e92d03c309575}, {15, 0x3d32f145e90b02aa}, {46, 0x3c3708598ca257c1},
    {80, 0xb48d530950a061a5}, {70, 0x90b7b5e680baf8bf}, {40, 0xc9774242ea13654a},
    {80, 0x541bc40016f928f8}, {63, 0x20069bc45fce0664}, {56, 0x4d2d38b673ff177b},
    {78, 0xf189fb5c5453fe75}, {31, 0x0538eaf8470c32ff}, {64, 0xae3d3670916df7f9},
    {70, 0xff3c57acf57a20b7}, {79, 0x27eaa02f3f798670}, {70, 0xf90581a88dadc83e},
    {76, 0x382bef60cd692c99}, {48, 0x43dbb11a5eae6a27}, {70, 0x7adcb229c2203766},
    {66, 0xbf696f3a235a7234}, {66, 0xbbc30823c6e000f2}, {77, 0xc42640020e66a350},
    {56, 0xc772682f0d17bcce}, {72, 0xf7d22ae89e2a9fee}, {81, 0x35a73c2c3de254cc},
    {75, 0x8d9b42ada0969c18}, {76, 0xa91212dfb8518956}, {65, 0x923d8f25c36adb8e},
    {81, 0x35a73c2c3de254cc}, {75, 0x8d9b42ada0969c18}, {76, 0xa91212dfb8518956},
    {68, 0x2499da82a6b2ccd5}, {81, 0x40c3d1a835e0f154}, {78, 0x42f3058b8a7b59e2},
    {79, 0xe37187f6f1238174}, {76, 0xc7d0768b36611539}, {73, 0xf72138449422b9c0},
    {57, 0x6531c69e1258d7f5}, {81, 0xcab046a7d02221d8}, {78, 0x14d2483c7768b45a},
    {77, 0xc293acf3f7b5fc93}, {48, 0xd2f8ea370a1399ec}, {81, 0xf124170112fc4dc7},
    {82, 0xf2e4b303b40171ef}, {64, 0xf1cd0efbd88207b0}, {67, 0x6461ed41a7ebb047},
    {79, 0x3d2e71fd38b29a3e}, {73, 0xf4241417be63643a}, {82, 0xb9154f94a720718d},
    {76, 0x19a54a909eefa7d0}, {37, 0x141e832fbc59b5fe}, {82, 0x33ff881bc86bd830},
    {81, 0xb86f4cdf9ffa7d5f}, {82, 0xcf26656fc9a1849d}, {29, 0x4ed0264bad85c412},
    {70, 0x008d30fe2327ddcf}, {62, 0x34cf33c2ae15d0bc}, {45, 0x9588b66486a2723d},
    {46, 0x9b49d3bfa2f5c122}, {73, 0x076387c01e89393c}, {71, 0xb8c320047c3585ae},
    {72, 0xef16e1bfa280f096}, {73, 0xe4a153f66cd3fc6a}, {72, 0xb19d99de72f870d5},
    {72, 0x1fa312b2c2674107}, {56, 0xd11a453b8f7c0da9}, {77, 0x53346fb7a5f60972},
    {73, 0x20e7275fe59f97ac}, {71, 0x43d7d3e9f3543273}, {82, 0xb010786ff7e754b2},
    {45, 0x6506ee51e6bb94d4}, {36, 0xd0fba421c6323a56}, {50, 0x3c9ea2947bf406d4},
    {45, 0x6840ee1a2bb84b8e}, {70, 0x859fcc70f753fd3f}, {80, 0x974a1723f7818c6d},
    {81, 0xd333ada08073b670}, {78, 0x1d027ee76bdc264c}, {41, 0x3a288b08528e2bef},
    {82, 0x7aaf5a35c2c00230}, {39, 0x5bb60e17418ffa73}, {61, 0xa53add699bc01fca},
    {82, 0x2f735217f00f99d9}, {80, 0x720d331e9bfed1c9}, {81, 0x845a7f2675f1c17a},
    {49, 0x1df6fc1e02e74d17}, {82, 0x4836f7426cfb09b7}, {72, 0xc1754e083526e421},
    {82, 0x42661cd66bccbdec}, {53, 0x42b3e2558337a639}, {68, 0x9b15c113b65b4e11},
    {63, 0xc08d758ccc6827fa}, {63, 0xb3f09c333748bcb2}, {59, 0x43783fe073ae6a8f},
    {65, 0xc66af3e3d1640c4a}, {61, 0x3997228fdf8b6904}, {81, 0x0c4d931029a85dc7},
    {70, 0xbb6856dad032c7b9}, {79, 0xf8fdf7ac91a2f868}, {69, 0xbbfb3f9e1a235da2},
    {77, 0xf9e7cc69df0ca2cd}, {82, 0x455c7dbba64c187c}, {83, 0x8b69908776c22435},
    {43, 0xf2abc8a1c5aa6932}, {82, 0xb8b2270cf7ba7332}, {79, 0xa4c0a90ea8591eee},
    {75, 0x68a5fdef6c815bfc}, {75, 0x917d3acb193e0a54}, {77, 0xc4eda68a245cc9d9},
    {70, 0x87a5e5ef9453a99d}, {69, 0x326b91734b7a04d3}, {56, 0xe141f49d1172accb},
    {83, 0x3d65ba9faa4e9dd2}, {84, 0x3b6bce45336468df}, {29, 0x3c01e1ac1ca1fe97},
    {78, 0x25cb2c3b46e39bcb}, {78, 0x5c38f42b9f9af45a}, {78, 0x4a9d83b344968d54},
    {34, 0xf248220e964e58fa}, {26, 0x4748c60ee12047b7}, {57, 0x40353980fc55fd17},
    {44, 0xeaf55d32cd02e62d}, {75, 0x5a4b06fe7323ef00}, {79, 0x78007eff98f656ae},
    {78, 0x85165b35d3dfb7dd}, {75, 0x5cbd0da26472670c}, {73, 0x0203a5ce89eea92b},
    {75, 0x122edb555a1420bb}, {45, 0x6c5af934ba3a1285}, {40, 0xe1a3a021234fe519},
    {77, 0xac2ab8576c305ff2}, {79, 0x78007eff98f656ae}, {80, 0xeea680f0b1da6f67},
    {75, 0x5cbd0da26472670c}, {75, 0xe12be8afb6deb7cd}, {77, 0xfea11c9177d5ca9d},
    {47, 0x721b6906f78f7f0d}, {42, 0xdb1637602f59a083}, {77, 0x85750a9af80923f2},
    {79, 0x78007eff98f656ae}, {80, 0x00d743a06c0f9d7f}, {75, 0x5cbd0da26472670c},
    {75, 0xd1269f5861ac9b71}, {77, 0x138e5d503e6eb9b1}, {45, 0x6c5af934ba3a1285},
    {44, 0x698b8420dad3a5bf}, {76, 0x74bb0392e3fafa4c}, {79, 0x78007eff98f656ae},
    {79, 0x0c9bc063b94f9b03}, {75, 0x5cbd0da26472670c}, {74, 0xae33315b20787c81},
    {76, 0xb7320b432f88f083}, {44, 0x67f8329ba3d44e69}, {43, 0xa212986b4d67522f},
    {77, 0x8d5534f976ae715b}, {79, 0x78007eff98f656ae}, {80, 0xa71d47eff2d42b30},
    {75, 0x5cbd0da26472670c}, {75, 0xe223d09172e20c4c}, {77, 0xf253cf7ac8b62948},
    {45, 0x6c5af934ba3a1285}, {44, 0x53d8372399255e2e}, {72, 0xe0ee9bf32975fcd7},
    {67, 0x131c84107017fc9d}, {76, 0xa979e6c154fbe597}, {81, 0x51e3af8e809d73b6},
    {77, 0xd2000a752abefeff}, {78, 0xf754d33d20479b33}, {77, 0x402a3a3972c0e39c},
    {72, 0x5804acff50bcd929}, {77, 0xee301c44d47c3c4d}, {70, 0xe8399801c710f94a},
    {69, 0xe800b03c7c8fc7ff}, {22, 0x8ab22ddcf0de8b89}, {67, 0xeceb4bf5b39cda85},
    {67, 0x0e2b640544186e67}, {68, 0x6ce872a967ede86d}, {67, 0x75131f9d6c6d7f99},
    {38, 0xccd96df9fdc90395},
};

static std::uint64_t fnv_1a(const std::string &text) {
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
    return hash;
}

class comment_lines : public ::testing::Test {
  protected:
    void SetUp() override {
        start_from_defaults();
        file_text text;
        text.with_entries(2);
        text.patterns = "1";
        text.names = {"p.pat"};
        text.entries.push_back(entry_number(3));
        text.mode = "3";
        text.coefs = "1";
        text.coefficients = {"1.0", "0.5"};
        read_version_3_text(text, 2, 1, 1);
        ASSERT_EQ(file_corrupt, 0);
        std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", folder.file("start.par").c_str());
        ASSERT_EQ(write_blocks(), 0);
        written = without_time(support::read_file(strtvalfnm));
    }

    void expect_text(const std::string &expected) {
        EXPECT_EQ(written.substr(at, expected.size()), expected) << "at byte " << at;
        at += expected.size();
    }

    // Comment lines first to last, numbered from 1.
    void expect_lines(std::size_t first, std::size_t last) {
        for (std::size_t i = first; i <= last; ++i) {
            const line_digest &expected = digests[i - 1];
            const std::string line = written.substr(at, expected.length);
            EXPECT_EQ(fnv_1a(line), expected.fnv) << "line " << i << " is " << line;
            at += expected.length;
        }
    }

    // The values of a block: everything up to the next comment or to the end mark.
    void pass_values() {
        const std::size_t comment = written.find("\n#", at), end = written.find("\n\nvarokel_", at);
        ASSERT_NE(std::min(comment, end), std::string::npos);
        at = comment < end ? comment + 1 : end;
    }

    support::temporary_folder folder;
    std::string written;
    std::size_t at = 0;
};

TEST_F(comment_lines, all_217_stand_in_a_written_file_in_their_place) {
    ASSERT_EQ(std::size(digests), 217U);
    expect_text("varokel_begin_of_file\n\n");
    expect_lines(1, 2);
    expect_text("\n");
    expect_lines(3, 6);
    expect_text("  \n");
    expect_lines(7, 30);
    expect_text("\nvarokel_spectrum_information\n\n");
    pass_values();
    expect_lines(31, 37);
    expect_text("varokel_pattern_references\n\np.pat\n\n\n");
    expect_lines(38, 142);
    expect_text("varokel_fit_control\n\n");
    pass_values();
    expect_lines(143, 152);
    expect_text("varokel_starting_values \n\n");
    pass_values();
    expect_lines(153, 211);
    expect_text("varokel_prior_knowledge\n\n");
    pass_values();
    expect_lines(212, 217);
    expect_text("varokel_line_shape_function\n\n1.000000E+00\n5.000000E-01\n");
    expect_text("\n\nvarokel_end_of_file\n"
                "\n\n----------------------------------------------------------\n"
                "File created at :  TIME \n");
    EXPECT_EQ(at, written.size());
}

TEST_F(comment_lines, no_line_of_the_file_is_a_comment_but_these) {
    std::size_t lines = 0;
    for (std::size_t i = written.find("\n#"); i != std::string::npos;
         i = written.find("\n#", i + 1))
        ++lines;
    EXPECT_EQ(lines, 217U);
}

TEST_F(comment_lines, spelling_and_trailing_blanks_are_kept) {
    for (const char *line :
         {"\n# Spectrum & Data Acquistion Information\n", "\n# VAROKEL Version 2.4 \n",
          "\n#  * tolerace (ftol) which defines breakoff criterium of frprmn; has no \n",
          "\n# for more information type 'varoikel -h 8' at your prompt\n",
          "\n#         * [line type] [1=Lorentz, 2=Gaussian, 3=Voigt]\n",
          "\n#           have no effect on the way the minimzarion is performed.\n\n",
          "\n# that the lowest lsf_coefs positive and negative frequencies    \n\n"})
        EXPECT_NE(written.find(line), std::string::npos) << line;
}

TEST_F(comment_lines, none_of_their_words_is_a_block_keyword) {
    for (const char *keyword :
         {"varokel_spectrum_information", "varokel_pattern_references", "varokel_fit_control",
          "varokel_starting_values", "varokel_prior_knowledge", "varokel_line_shape_function",
          "varokel_begin_of_file", "varokel_end_of_file"}) {
        const std::size_t first = written.find(keyword);
        ASSERT_NE(first, std::string::npos) << keyword;
        EXPECT_EQ(written.find(keyword, first + 1), std::string::npos) << keyword;
    }
}

TEST(comment_section, is_written_whole) {
    const support::temporary_folder folder;
    std::FILE *file = std::fopen(folder.file("title").c_str(), "w+t");
    ASSERT_NE(file, nullptr);
    write_comment_lines(file, title_comment);
    std::fclose(file);
    EXPECT_EQ(support::read_file(folder.file("title")),
              "# VAROKEL  FIT CONTROL & STARTING VALUE FILE\n"
              "# ==========================================\n");
}
