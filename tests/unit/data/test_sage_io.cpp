// SPDX-License-Identifier: BSD-3-Clause
#include "data/sage_io.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

template <std::size_t n>
static void set(char (&target)[n], const char *text) {
    std::snprintf(target, n, "%s", text);
}

static sage_header filled_header() {
    sage_header record{};
    set(record.header_name, "ignored.shf");
    record.n_data_files = 1;
    set(record.data_name, "liver.sdf");
    set(record.file_type, "Signal");
    set(record.precision, "Float");
    record.data_offset = 16;
    set(record.site, "Ward3");
    set(record.patient_id, "P17");
    set(record.patient_name, "Phantom");
    set(record.age, "0Y");
    set(record.sex, "O");
    record.study_number = 4;
    record.series_number = 5;
    set(record.time_acquired, "12:30");
    set(record.date_acquired, "2/3/99");
    set(record.sequence_name, "press");
    record.release = 5.5F;
    record.tr = 1500.0F;
    record.te = 35.25F;
    record.ti = 0.5F;
    record.tm = 13.0F;
    record.tg = 120.0F;
    record.r1 = 11;
    record.r2 = 29;
    set(record.display_type[0], "Spectrum");
    set(record.display_type[1], "Image");
    set(record.display_type[2], "Grid");
    set(record.display_type[3], "None");
    set(record.display_channel, "Real");
    set(record.data_type, "Complex");
    record.center_frequency = 63.875F;
    record.ppm_offset = 4.75F;
    record.phase_zero = -12.5F;
    record.phase_first = 90.0F;
    set(record.broadening_type, "Gauss");
    record.broadening[0] = 1.5F;
    record.broadening[1] = 2.5F;
    for (int i = 0; i < 4; ++i) {
        sage_dimension &dimension = record.dimension[i];
        dimension.number = i;
        set(dimension.domain, i == 0 ? "Time" : "Space");
        set(dimension.orientation, i == 0 ? "NA" : "RL");
        dimension.points = i == 0 ? 2048 : 1;
        const float values[] = {2500.0F, 0.25F, 1024.0F, -3.5F, 20.0F, 1.0F, 2.0F};
        const float shift = static_cast<float>(i);
        dimension.width = values[0] + shift;
        dimension.zero_time = values[1] + shift;
        dimension.zero_freq = values[2] + shift;
        dimension.slice_location = values[3] + shift;
        dimension.slice_thickness = values[4] + shift;
        dimension.time_phase = values[5] + shift;
        dimension.freq_phase = values[6] + shift;
    }
    return record;
}

// Fields of the sections above as a file holds them, one word each.
static const std::string datafiles_words = "liver.shf 1 liver.sdf Signal Float 16";
static const std::string patient_words = "Ward3 P17 Phantom 0Y O 4 5 12:30 2/3/99";
static const std::string sequence_words = "press 5.5 1500 35.25 0.5 13 120 11 29";
static const std::string display_words = "Spectrum Image Grid None Real";
static const std::string datainfo_words = "Complex 63.875 4.75";
static const std::string processing_words = "-12.5 90 Gauss 1.5 2.5";
static const std::string dimension_words = "0 Time NA 2048 2500 0.25 1024 -3.5 20 1 2";

static const char *const whole_header =
    "# Sage/IDL Data Header\n"
    "# ====================\n\n\n"
    "# Revision Information\n"
    "# --------------------\n"
    "Sage/IDL Header Version 0.1 \n\n"
    "# Data file Information\n"
    "# ---------------------\n"
    "#     * header name\n"
    "#     * number of associated data files\n"
    "#     * data file name\n"
    "#     * type of file\n"
    "#     * data precision within file (Byte, 16 Bit, 32 Bit, Float)\n"
    "#     * offset to the start of the data (bytes)\n"
    "sagekey_datafiles\n\n"
    "liver.fit.shf\n1\nliver.sdf\nSignal\nFloat\n16\n\n\n"
    "# Patient Information\n"
    "# -------------------\n"
    "#     * patient site\n"
    "#     * patient ID\n"
    "#     * patient name\n"
    "#     * patient age\n"
    "#     * patient sex\n"
    "#     * study number\n"
    "#     * series number\n"
    "#     * time acquired\n"
    "#     * date acquired\n"
    "sagekey_patient\n\n"
    "Ward3\nP17\nPhantom\n0Y\nO\n4\n5\n12:30\n2/3/99\n\n\n"
    "# Sequence Information\n"
    "# --------------------\n"
    "#     * name\n"
    "#     * release\n"
    "#     * TR\n"
    "#     * TE\n"
    "#     * TI\n"
    "#     * TM\n"
    "#     * TG\n"
    "#     * R1\n"
    "#     * R2\n"
    "sagekey_sequence\n\n"
    "press\n5.500000\n1500.000000\n35.250000\n0.500000\n13.000000\n120.000000\n11\n29\n\n\n"
    "# Display Information\n"
    "# -------------------\n"
    "#     * four display types (Spectrum, Image, Grid, Stack, Data, None)\n"
    "#     * display channel (Real, Imaginary, Magnitude, Power, Phase)\n"
    "sagekey_display\n\n"
    "Spectrum\nImage\nGrid\nNone\nReal\n\n\n"
    "# Data Information\n"
    "# ----------------\n"
    "#     * data type (Real or Complex)\n"
    "#     * center frequency (MHz)\n"
    "#     * ppm offset from 0 Hz\n"
    "sagekey_datainfo\n\n"
    "Complex\n63.875000\n4.750000\n\n\n"
    "# Processing Information\n"
    "# ----------------------\n"
    "#     * applied global phase, zero order\n"
    "#     * applied global phase, first order\n"
    "#     * type of line broadening\n"
    "#     * amount of line broadening (two values)\n"
    "sagekey_processing\n\n"
    "-12.500000\n90.000000\nGauss\n1.500000\n2.500000\n\n\n"
    "# User Information\n"
    "# ----------------\n"
    "#     * number of following user fields\n"
    "#     * name and value of each field\n"
    "sagekey_userinfo\n\n"
    "0\n\n\n"
    "# Dimension Information\n"
    "# ---------------------\n"
    "#     * number of the dimension\n"
    "#     * domain (Time, Space, Frequency, Kspace, None)\n"
    "#     * orientation (RL, AP, SI or NA)\n"
    "#     * number of points\n"
    "#     * width (Hz for Time and Frequency, mm for Space and Kspace, points for None)\n"
    "#     * zero_time\n"
    "#     * zero_freq\n"
    "#     * slice location\n"
    "#     * slice thickness\n"
    "#     * time phase correction\n"
    "#     * freq phase correction\n"
    "# dimension 0\n"
    "sagekey_dimension\n"
    "0\nTime\nNA\n2048\n2500.000000\n0.250000\n1024.000000\n-3.500000\n20.000000\n1.000000\n"
    "2.000000\n\n\n"
    "# dimension 1\n"
    "sagekey_dimension\n"
    "1\nSpace\nRL\n1\n2501.000000\n1.250000\n1025.000000\n-2.500000\n21.000000\n2.000000\n"
    "3.000000\n\n\n"
    "# dimension 2\n"
    "sagekey_dimension\n"
    "2\nSpace\nRL\n1\n2502.000000\n2.250000\n1026.000000\n-1.500000\n22.000000\n3.000000\n"
    "4.000000\n\n\n"
    "# dimension 3\n"
    "sagekey_dimension\n"
    "3\nSpace\nRL\n1\n2503.000000\n3.250000\n1027.000000\n-0.500000\n23.000000\n4.000000\n"
    "5.000000\n\n\n"
    "# End of File Tag\n"
    "# ---------------\n"
    "sagekey_endfile\n";

class sage_io : public ::testing::Test {
  protected:
    void read(const std::string &file) {
        printed = support::stdout_of([&] {
            end_status = support::end_status_of(
                [&] { result = read_sageidl_header(file.c_str(), &record); });
        });
    }

    void write(const std::string &file) {
        printed = support::stdout_of([&] { result = write_sageidl_header(file.c_str(), &record); });
    }

    void expect_refused(const std::string &file) {
        read(file);
        EXPECT_EQ(printed, "\n\n\nunexpected header file: \n"
                           "----------------------------- \n"
                           "sage headerfile : " +
                               file +
                               " is not of 0.1 format \n"
                               "program terminates ... \n\n");
        EXPECT_EQ(end_status, -1);
    }

    void expect_read() const {
        EXPECT_EQ(printed, "");
        EXPECT_EQ(result, 0);
        EXPECT_EQ(end_status, support::no_end);
    }

    // Calls a section reader on a file that stands behind the section key.
    void read_section(void (*reader)(std::FILE *, sage_header *), const std::string &fields) {
        support::write_file("section", "key " + fields);
        std::FILE *file = std::fopen("section", "r+t");
        ASSERT_NE(file, nullptr);
        char key[8] = "";
        EXPECT_EQ(std::fscanf(file, "%7s", key), 1);
        reader(file, &record);
        std::fclose(file);
    }

    static std::string bytes_of(const sage_header &header) {
        return std::string(reinterpret_cast<const char *>(&header), sizeof header);
    }

    // What was read are the fields of a header from one up to another; all else is 0.
    void expect_fields(const sage_header &full, std::size_t first, std::size_t behind) const {
        std::string wanted = bytes_of(sage_header{});
        wanted.replace(first, behind - first, bytes_of(full), first, behind - first);
        EXPECT_TRUE(bytes_of(record) == wanted);
    }

    // Every byte behind a string's end is 0 in both, so whole records may be compared.
    void expect_record(const sage_header &wanted) const {
        EXPECT_TRUE(bytes_of(record) == bytes_of(wanted));
    }

    support::temporary_folder folder{true};
    sage_header record{};
    std::string printed;
    int result = 99;
    int end_status = 0;
};

TEST_F(sage_io, a_header_is_written_section_by_section_with_its_own_name) {
    record = filled_header();
    write("liver.fit.shf");
    EXPECT_EQ(printed, "");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(support::read_file("liver.fit.shf"), whole_header);
}

TEST_F(sage_io, fields_that_were_never_read_are_written_empty_or_0) {
    write("empty.shf");
    const std::string text = support::read_file("empty.shf");
    EXPECT_NE(text.find("sagekey_datafiles\n\nempty.shf\n0\n\n\n\n0\n\n\n"), std::string::npos);
    EXPECT_NE(text.find("sagekey_patient\n\n\n\n\n\n\n0\n0\n\n\n\n\n"), std::string::npos);
    EXPECT_NE(text.find("sagekey_display\n\n\n\n\n\n\n\n\n"), std::string::npos);
}

TEST_F(sage_io, a_written_header_passes_the_version_check_and_changes_nothing) {
    record = filled_header();
    write("liver.shf");
    record.study_number = 77;
    const sage_header before = record;
    read("liver.shf");
    expect_read();
    // its second word is the first of the comment lines, no section key
    expect_record(before);
}

TEST_F(sage_io, the_fifteenth_word_decides) {
    support::write_file("good", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 0.1");
    read("good");
    expect_read();
    support::write_file("early", "1 2 3 4 5 6 7 8 9 10 11 12 13 0.1 15");
    expect_refused("early");
    support::write_file("late", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 0.1");
    expect_refused("late");
    support::write_file("other", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 0.10");
    expect_refused("other");
}

TEST_F(sage_io, a_header_of_fewer_than_15_words_is_refused) {
    support::write_file("short", "1 2 3 4 5 6 7 8 9 10 11 12 13 0.1");
    expect_refused("short");
    support::write_file("empty", "");
    expect_refused("empty");
}

TEST_F(sage_io, a_missing_header_is_an_unexpected_one) {
    expect_refused("nowhere.shf");
    expect_refused(folder.name());
}

TEST_F(sage_io, a_header_that_is_gone_after_its_check_is_reported) {
    // A named pipe is consumed by the check and removed by the writer before the second opening.
    support::write_file("words", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 0.1\n");
    const std::string pipe = folder.file("pipe");
    const std::string feed =
        "mkfifo '" + pipe + "' && { (exec 9> '" + pipe + "'; rm '" + pipe + "'; cat words >&9) & }";
    ASSERT_EQ(std::system(feed.c_str()), 0);
    const sage_header before = record;
    read(pipe);
    EXPECT_EQ(printed, "==> .shf file could not be opened\n");
    EXPECT_EQ(result, 34); // characters printed
    EXPECT_EQ(end_status, support::no_end);
    expect_record(before);
}

TEST_F(sage_io, a_header_that_cannot_be_created_is_reported_with_its_name) {
    const std::string nowhere = folder.file("none/liver.shf");
    write(nowhere);
    EXPECT_EQ(printed, "cannot write sage header file " + nowhere + " \n");
    EXPECT_EQ(result, static_cast<int>(printed.size()));
}

TEST_F(sage_io, a_header_on_a_full_disk_is_reported) {
    if (!support::file_exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
    write("/dev/full");
    EXPECT_EQ(printed, "error in writing file /dev/full\n");
}

TEST_F(sage_io, the_datafiles_section_is_read_in_order) {
    read_section(read_sagekey_datafiles, datafiles_words);
    sage_header full = filled_header();
    set(full.header_name, "liver.shf");
    std::memset(full.header_name + 10, 0, 10); // behind the longer name
    expect_fields(full, 0, offsetof(sage_header, site));
}

// Each from its first field up to that of the next.
TEST_F(sage_io, the_other_sections_are_read_in_order) {
    const struct {
        void (*read)(std::FILE *, sage_header *);
        const std::string &words;
        std::size_t first, end;
    } sections[] = {
        {read_sagekey_patient, patient_words, offsetof(sage_header, site),
         offsetof(sage_header, sequence_name)},
        {read_sagekey_sequence, sequence_words, offsetof(sage_header, sequence_name),
         offsetof(sage_header, display_type)},
        {read_sagekey_display, display_words, offsetof(sage_header, display_type),
         offsetof(sage_header, data_type)},
        {read_sagekey_datainfo, datainfo_words, offsetof(sage_header, data_type),
         offsetof(sage_header, phase_zero)},
        {read_sagekey_processing, processing_words, offsetof(sage_header, phase_zero),
         offsetof(sage_header, n_user_fields)},
    };
    for (const auto &section : sections) {
        SCOPED_TRACE(section.words);
        record = {};
        read_section(section.read, section.words);
        expect_fields(filled_header(), section.first, section.end);
    }
}

TEST_F(sage_io, user_fields_are_counted_as_none) {
    for (const char *fields : {"0", "1 name value", "5 a b", "-2", "word", ""}) {
        record.n_user_fields = 9;
        read_section(read_sagekey_userinfo, fields);
        EXPECT_EQ(record.n_user_fields, 0) << fields;
    }
    expect_record(sage_header{});
}

TEST_F(sage_io, four_dimensions_are_read_each_behind_its_key) {
    read_section(read_sagekey_dimension,
                 dimension_words + " # dimension 1 sagekey_dimension 1 Space RL 1 2501 1.25 1025 "
                                   "-2.5 21 2 3 any words\n sagekey_dimension 2 Space RL 1 2502 "
                                   "2.25 1026 -1.5 22 3 4\nsagekey_dimension\n3 Space RL 1 2503 "
                                   "3.25 1027 -0.5 23 4 5\nsagekey_dimension 9 None NA 9");
    expect_fields(filled_header(), offsetof(sage_header, dimension), sizeof(sage_header));
}

TEST_F(sage_io, dimensions_end_with_the_file) {
    read_section(read_sagekey_dimension, dimension_words + " sagekey_dimension 1 Space");
    sage_header wanted{};
    wanted.dimension[0] = filled_header().dimension[0];
    wanted.dimension[1].number = 1;
    set(wanted.dimension[1].domain, "Space");
    expect_record(wanted);
}

TEST_F(sage_io, a_field_that_does_not_scan_keeps_its_value) {
    record.center_frequency = 7.0F;
    record.ppm_offset = 8.0F;
    read_section(read_sagekey_datainfo, "Complex unknown 4.75");
    EXPECT_STREQ(record.data_type, "Complex");
    EXPECT_EQ(record.center_frequency, 7.0F);
    EXPECT_EQ(record.ppm_offset, 8.0F); // the scan stands at the word
}

TEST_F(sage_io, long_words_stay_within_their_fields) {
    const std::string word(1000, 'w');
    read_section(read_sagekey_datainfo, word + " 1.5 2.5");
    EXPECT_EQ(std::string(record.data_type), std::string(63, 'w'));
    EXPECT_EQ(record.center_frequency, 0.0F);
    read_section(read_sagekey_datafiles, word + " 3");
    EXPECT_EQ(std::string(record.header_name), std::string(511, 'w'));
}

// The second word of the file is the only one that is compared with the keys.
TEST_F(sage_io, a_key_as_second_word_is_read_by_its_section) {
    const sage_header full = filled_header();
    support::write_file("patient", "# sagekey_patient " + patient_words +
                                       " 12 13 14 0.1 sagekey_datainfo " + datainfo_words);
    read("patient");
    expect_read();
    EXPECT_STREQ(record.date_acquired, full.date_acquired);
    EXPECT_EQ(record.series_number, 5);
    EXPECT_STREQ(record.data_type, ""); // later keys are not looked for

    const struct {
        const char *key;
        std::string fields;
        int words;
    } sections[] = {
        {"sagekey_datafiles", datafiles_words, 6},   {"sagekey_sequence", sequence_words, 9},
        {"sagekey_display", display_words, 5},       {"sagekey_datainfo", datainfo_words, 3},
        {"sagekey_processing", processing_words, 5}, {"sagekey_userinfo", "1", 1},
        {"sagekey_dimension", dimension_words, 11},
    };
    record = sage_header{};
    for (const auto &section : sections) {
        std::string text = std::string("# ") + section.key + " " + section.fields;
        for (int word = section.words + 3; word < 15; ++word) text += " filler";
        support::write_file("section.shf", text + " 0.1");
        read("section.shf");
        expect_read();
    }
    EXPECT_EQ(record.data_offset, 16);
    EXPECT_EQ(record.r2, 29);
    EXPECT_STREQ(record.display_channel, "Real");
    EXPECT_EQ(record.ppm_offset, 4.75F);
    EXPECT_EQ(record.broadening[1], 2.5F);
    EXPECT_EQ(record.dimension[0].freq_phase, 2.0F);
    EXPECT_STREQ(record.site, "");
}
