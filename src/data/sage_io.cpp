// SPDX-License-Identifier: BSD-3-Clause
// sage_io.cpp -- header files of the SAGE/IDL environment, "Sage/IDL Header Version 0.1"
#include "data/sage_io.h"

#include "data/scan.h"
#include "run/end_run.h"

#include <cstring>
#include <initializer_list>

static constexpr int words_to_version = 15;

static void read_text(std::FILE *file, sage_text &target) {
    scan_word(file, target, sage_text_size - 1);
}

void read_sagekey_datafiles(std::FILE *file, sage_header *record) {
    scan_word(file, record->header_name, static_cast<int>(sizeof record->header_name) - 1);
    scan_int(file, record->n_data_files);
    scan_word(file, record->data_name, static_cast<int>(sizeof record->data_name) - 1);
    read_text(file, record->file_type);
    read_text(file, record->precision);
    scan_int(file, record->data_offset);
}

void read_sagekey_patient(std::FILE *file, sage_header *record) {
    read_text(file, record->site);
    read_text(file, record->patient_id);
    read_text(file, record->patient_name);
    read_text(file, record->age);
    read_text(file, record->sex);
    scan_int(file, record->study_number);
    scan_int(file, record->series_number);
    read_text(file, record->time_acquired);
    read_text(file, record->date_acquired);
}

void read_sagekey_sequence(std::FILE *file, sage_header *record) {
    read_text(file, record->sequence_name);
    for (float *value :
         {&record->release, &record->tr, &record->te, &record->ti, &record->tm, &record->tg})
        scan_single(file, *value);
    scan_int(file, record->r1);
    scan_int(file, record->r2);
}

void read_sagekey_display(std::FILE *file, sage_header *record) {
    for (sage_text &type : record->display_type) read_text(file, type);
    read_text(file, record->display_channel);
}

void read_sagekey_datainfo(std::FILE *file, sage_header *record) {
    read_text(file, record->data_type);
    scan_single(file, record->center_frequency);
    scan_single(file, record->ppm_offset);
}

void read_sagekey_processing(std::FILE *file, sage_header *record) {
    scan_single(file, record->phase_zero);
    scan_single(file, record->phase_first);
    read_text(file, record->broadening_type);
    for (float &amount : record->broadening) scan_single(file, amount);
}

void read_sagekey_userinfo(std::FILE *file, sage_header *record) {
    int count = 0;
    scan_int(file, count);
    record->n_user_fields = 0;
}

static void read_dimension(std::FILE *file, sage_dimension &dimension) {
    scan_int(file, dimension.number);
    read_text(file, dimension.domain);
    read_text(file, dimension.orientation);
    scan_int(file, dimension.points);
    for (float *value :
         {&dimension.width, &dimension.zero_time, &dimension.zero_freq, &dimension.slice_location,
          &dimension.slice_thickness, &dimension.time_phase, &dimension.freq_phase})
        scan_single(file, *value);
}

void read_sagekey_dimension(std::FILE *file, sage_header *record) {
    read_dimension(file, record->dimension[0]);
    for (int i = 1; i < 4; ++i) {
        char word[max_word + 1] = "";
        while (std::strcmp(word, "sagekey_dimension") != 0)
            if (!scan_word(file, word, max_word)) return;
        read_dimension(file, record->dimension[i]);
    }
}

typedef void (*section_reader)(std::FILE *file, sage_header *record);
struct section {
    const char *key;
    section_reader read;
};
static const section sections[] = {
    {"sagekey_datafiles", read_sagekey_datafiles}, {"sagekey_patient", read_sagekey_patient},
    {"sagekey_sequence", read_sagekey_sequence},   {"sagekey_display", read_sagekey_display},
    {"sagekey_datainfo", read_sagekey_datainfo},   {"sagekey_processing", read_sagekey_processing},
    {"sagekey_userinfo", read_sagekey_userinfo},   {"sagekey_dimension", read_sagekey_dimension},
};

static bool is_version_0_1(const char *name) {
    std::FILE *file = std::fopen(name, "r+t");
    if (file == nullptr) return false;
    char word[max_word + 1] = "";
    int words = 0;
    while (words < words_to_version && scan_word(file, word, max_word)) ++words;
    std::fclose(file);
    return words == words_to_version && std::strcmp(word, "0.1") == 0;
}

int read_sageidl_header(const char *name, sage_header *record) {
    if (!is_version_0_1(name)) {
        std::printf("\n\n\nunexpected header file: \n");
        std::printf("----------------------------- \n");
        std::printf("sage headerfile : %s is not of 0.1 format \n", name);
        std::printf("program terminates ... \n\n");
        end_run(-1);
    }
    std::FILE *file = std::fopen(name, "r+t");
    if (file == nullptr) return std::printf("==> .shf file could not be opened\n");
    char word[max_word + 1] = "";
    scan_word(file, word, max_word);
    scan_word(file, word, max_word);
    for (const section &candidate : sections)
        if (std::strcmp(word, candidate.key) == 0) candidate.read(file, record);
    return std::fclose(file);
}

static void write_lines(std::FILE *file, const char *title, const char *underline,
                        std::initializer_list<const char *> fields) {
    std::fprintf(file, "# %s\n", title);
    std::fprintf(file, "# %s\n", underline);
    for (const char *field : fields) std::fprintf(file, "#     * %s\n", field);
}

static void write_text(std::FILE *file, const char *value) {
    std::fprintf(file, "%s\n", value);
}
static void write_int(std::FILE *file, int value) {
    std::fprintf(file, "%d\n", value);
}
static void write_real(std::FILE *file, float value) {
    std::fprintf(file, "%f\n", static_cast<double>(value));
}

static void write_files_and_patient(std::FILE *file, const char *name, const sage_header *record) {
    write_lines(file, "Data file Information", "---------------------",
                {"header name", "number of associated data files", "data file name", "type of file",
                 "data precision within file (Byte, 16 Bit, 32 Bit, Float)",
                 "offset to the start of the data (bytes)"});
    std::fprintf(file, "sagekey_datafiles\n\n");
    write_text(file, name);
    write_int(file, record->n_data_files);
    write_text(file, record->data_name);
    write_text(file, record->file_type);
    write_text(file, record->precision);
    write_int(file, record->data_offset);
    std::fprintf(file, "\n\n");

    write_lines(file, "Patient Information", "-------------------",
                {"patient site", "patient ID", "patient name", "patient age", "patient sex",
                 "study number", "series number", "time acquired", "date acquired"});
    std::fprintf(file, "sagekey_patient\n\n");
    write_text(file, record->site);
    write_text(file, record->patient_id);
    write_text(file, record->patient_name);
    write_text(file, record->age);
    write_text(file, record->sex);
    write_int(file, record->study_number);
    write_int(file, record->series_number);
    write_text(file, record->time_acquired);
    write_text(file, record->date_acquired);
    std::fprintf(file, "\n\n");
}

static void write_sequence_and_display(std::FILE *file, const sage_header *record) {
    write_lines(file, "Sequence Information", "--------------------",
                {"name", "release", "TR", "TE", "TI", "TM", "TG", "R1", "R2"});
    std::fprintf(file, "sagekey_sequence\n\n");
    write_text(file, record->sequence_name);
    for (float value :
         {record->release, record->tr, record->te, record->ti, record->tm, record->tg})
        write_real(file, value);
    write_int(file, record->r1);
    write_int(file, record->r2);
    std::fprintf(file, "\n\n");

    write_lines(file, "Display Information", "-------------------",
                {"four display types (Spectrum, Image, Grid, Stack, Data, None)",
                 "display channel (Real, Imaginary, Magnitude, Power, Phase)"});
    std::fprintf(file, "sagekey_display\n\n");
    for (const sage_text &type : record->display_type) write_text(file, type);
    write_text(file, record->display_channel);
    std::fprintf(file, "\n\n");
}

static void write_data_sections(std::FILE *file, const sage_header *record) {
    write_lines(file, "Data Information", "----------------",
                {"data type (Real or Complex)", "center frequency (MHz)", "ppm offset from 0 Hz"});
    std::fprintf(file, "sagekey_datainfo\n\n");
    write_text(file, record->data_type);
    write_real(file, record->center_frequency);
    write_real(file, record->ppm_offset);
    std::fprintf(file, "\n\n");

    write_lines(file, "Processing Information", "----------------------",
                {"applied global phase, zero order", "applied global phase, first order",
                 "type of line broadening", "amount of line broadening (two values)"});
    std::fprintf(file, "sagekey_processing\n\n");
    write_real(file, record->phase_zero);
    write_real(file, record->phase_first);
    write_text(file, record->broadening_type);
    for (float amount : record->broadening) write_real(file, amount);
    std::fprintf(file, "\n\n");

    write_lines(file, "User Information", "----------------",
                {"number of following user fields", "name and value of each field"});
    std::fprintf(file, "sagekey_userinfo\n\n");
    write_int(file, record->n_user_fields);
    std::fprintf(file, "\n\n");
}

static void write_dimensions(std::FILE *file, const sage_header *record) {
    write_lines(file, "Dimension Information", "---------------------",
                {"number of the dimension", "domain (Time, Space, Frequency, Kspace, None)",
                 "orientation (RL, AP, SI or NA)", "number of points",
                 "width (Hz for Time and Frequency, mm for Space and Kspace, points for None)",
                 "zero_time", "zero_freq", "slice location", "slice thickness",
                 "time phase correction", "freq phase correction"});
    for (int i = 0; i < 4; ++i) {
        const sage_dimension &dimension = record->dimension[i];
        std::fprintf(file, "# dimension %d\n", i);
        std::fprintf(file, "sagekey_dimension\n");
        write_int(file, dimension.number);
        write_text(file, dimension.domain);
        write_text(file, dimension.orientation);
        write_int(file, dimension.points);
        for (float value :
             {dimension.width, dimension.zero_time, dimension.zero_freq, dimension.slice_location,
              dimension.slice_thickness, dimension.time_phase, dimension.freq_phase})
            write_real(file, value);
        std::fprintf(file, "\n\n");
    }
}

int write_sageidl_header(const char *name, const sage_header *record) {
    std::FILE *file = std::fopen(name, "w+t");
    if (file == nullptr) return std::printf("cannot write sage header file %s \n", name);
    std::fprintf(file, "# Sage/IDL Data Header\n");
    std::fprintf(file, "# ====================\n\n\n");
    std::fprintf(file, "# Revision Information\n");
    std::fprintf(file, "# --------------------\n");
    std::fprintf(file, "Sage/IDL Header Version 0.1 \n\n");
    write_files_and_patient(file, name, record);
    write_sequence_and_display(file, record);
    write_data_sections(file, record);
    write_dimensions(file, record);
    std::fprintf(file, "# End of File Tag\n");
    std::fprintf(file, "# ---------------\n");
    std::fprintf(file, "sagekey_endfile\n");
    const bool failed = std::ferror(file) != 0;
    const int closed = std::fclose(file);
    if (closed != 0 || failed) std::printf("error in writing file %s\n", name);
    return closed;
}
