// SPDX-License-Identifier: BSD-3-Clause
// sage_io.cpp -- header files of the SAGE/IDL environment, "Sage/IDL Header Version 0.1"
#include "data/sage_io.h"

#include "data/scan.h"
#include "run/end_run.h"

#include <cstring>
#include <initializer_list>

static constexpr int words_to_version = 15;

// The fields of each section in the order of the file, for reader and writer.
static void datafiles_fields(const auto &each, auto &name, auto &h) {
    each(name, h.n_data_files, h.data_name, h.file_type, h.precision, h.data_offset);
}
static void patient_fields(const auto &each, auto &h) {
    each(h.site, h.patient_id, h.patient_name, h.age, h.sex, h.study_number, h.series_number,
         h.time_acquired, h.date_acquired);
}
static void sequence_fields(const auto &each, auto &h) {
    each(h.sequence_name, h.release, h.tr, h.te, h.ti, h.tm, h.tg, h.r1, h.r2);
}
static void display_fields(const auto &each, auto &h) {
    each(h.display_type, h.display_channel);
}
static void datainfo_fields(const auto &each, auto &h) {
    each(h.data_type, h.center_frequency, h.ppm_offset);
}
static void processing_fields(const auto &each, auto &h) {
    each(h.phase_zero, h.phase_first, h.broadening_type, h.broadening);
}
static void dimension_fields(const auto &each, auto &d) {
    each(d.number, d.domain, d.orientation, d.points, d.width, d.zero_time, d.zero_freq,
         d.slice_location, d.slice_thickness, d.time_phase, d.freq_phase);
}

namespace {

struct field_reader {
    std::FILE *file;
    void operator()(auto &...fields) const { (read(fields), ...); }

  private:
    void read(int &value) const { scan_int(file, value); }
    void read(float &value) const { scan_single(file, value); }
    template <std::size_t size>
    void read(char (&text)[size]) const {
        scan_word(file, text, static_cast<int>(size) - 1);
    }
    template <class field, std::size_t count>
    void read(field (&fields)[count]) const {
        for (field &each : fields) read(each);
    }
};

// The fields of a section, each on a line, and the blank lines behind them.
struct field_writer {
    std::FILE *file;
    void operator()(const auto &...fields) const {
        (write(fields), ...);
        std::fprintf(file, "\n\n");
    }

  private:
    void write(int value) const { std::fprintf(file, "%d\n", value); }
    void write(float value) const { std::fprintf(file, "%f\n", static_cast<double>(value)); }
    void write(const char *text) const { std::fprintf(file, "%s\n", text); }
    template <class field, std::size_t count>
    void write(const field (&fields)[count]) const {
        for (const field &each : fields) write(each);
    }
};

} // namespace

void read_sagekey_datafiles(std::FILE *file, sage_header *record) {
    datafiles_fields(field_reader{file}, record->header_name, *record);
}

void read_sagekey_patient(std::FILE *file, sage_header *record) {
    patient_fields(field_reader{file}, *record);
}

void read_sagekey_sequence(std::FILE *file, sage_header *record) {
    sequence_fields(field_reader{file}, *record);
}

void read_sagekey_display(std::FILE *file, sage_header *record) {
    display_fields(field_reader{file}, *record);
}

void read_sagekey_datainfo(std::FILE *file, sage_header *record) {
    datainfo_fields(field_reader{file}, *record);
}

void read_sagekey_processing(std::FILE *file, sage_header *record) {
    processing_fields(field_reader{file}, *record);
}

void read_sagekey_userinfo(std::FILE *file, sage_header *record) {
    int count = 0;
    scan_int(file, count);
    record->n_user_fields = 0;
}

void read_sagekey_dimension(std::FILE *file, sage_header *record) {
    dimension_fields(field_reader{file}, record->dimension[0]);
    for (int i = 1; i < 4; ++i) {
        char word[max_word + 1] = "";
        while (std::strcmp(word, "sagekey_dimension") != 0)
            if (!scan_word(file, word, max_word)) return;
        dimension_fields(field_reader{file}, record->dimension[i]);
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

// What explains a section, and its key.
static void write_head(std::FILE *file, const char *title, const char *underline,
                       std::initializer_list<const char *> fields, const char *key) {
    std::fprintf(file, "# %s\n# %s\n", title, underline);
    for (const char *field : fields) std::fprintf(file, "#     * %s\n", field);
    std::fprintf(file, "%s", key);
}

static void write_sections(std::FILE *file, const char *name, const sage_header *record) {
    const field_writer each{file};
    write_head(file, "Data file Information", "---------------------",
               {"header name", "number of associated data files", "data file name", "type of file",
                "data precision within file (Byte, 16 Bit, 32 Bit, Float)",
                "offset to the start of the data (bytes)"},
               "sagekey_datafiles\n\n");
    datafiles_fields(each, name, *record);
    write_head(file, "Patient Information", "-------------------",
               {"patient site", "patient ID", "patient name", "patient age", "patient sex",
                "study number", "series number", "time acquired", "date acquired"},
               "sagekey_patient\n\n");
    patient_fields(each, *record);
    write_head(file, "Sequence Information", "--------------------",
               {"name", "release", "TR", "TE", "TI", "TM", "TG", "R1", "R2"},
               "sagekey_sequence\n\n");
    sequence_fields(each, *record);
    write_head(file, "Display Information", "-------------------",
               {"four display types (Spectrum, Image, Grid, Stack, Data, None)",
                "display channel (Real, Imaginary, Magnitude, Power, Phase)"},
               "sagekey_display\n\n");
    display_fields(each, *record);
    write_head(file, "Data Information", "----------------",
               {"data type (Real or Complex)", "center frequency (MHz)", "ppm offset from 0 Hz"},
               "sagekey_datainfo\n\n");
    datainfo_fields(each, *record);
    write_head(file, "Processing Information", "----------------------",
               {"applied global phase, zero order", "applied global phase, first order",
                "type of line broadening", "amount of line broadening (two values)"},
               "sagekey_processing\n\n");
    processing_fields(each, *record);
    write_head(file, "User Information", "----------------",
               {"number of following user fields", "name and value of each field"},
               "sagekey_userinfo\n\n");
    each(record->n_user_fields);
    write_head(file, "Dimension Information", "---------------------",
               {"number of the dimension", "domain (Time, Space, Frequency, Kspace, None)",
                "orientation (RL, AP, SI or NA)", "number of points",
                "width (Hz for Time and Frequency, mm for Space and Kspace, points for None)",
                "zero_time", "zero_freq", "slice location", "slice thickness",
                "time phase correction", "freq phase correction"},
               "");
    for (int i = 0; i < 4; ++i) {
        std::fprintf(file, "# dimension %d\nsagekey_dimension\n", i);
        dimension_fields(each, record->dimension[i]);
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
    write_sections(file, name, record);
    std::fprintf(file, "# End of File Tag\n");
    std::fprintf(file, "# ---------------\n");
    std::fprintf(file, "sagekey_endfile\n");
    const bool failed = std::ferror(file) != 0;
    const int closed = std::fclose(file);
    if (closed != 0 || failed) std::printf("error in writing file %s\n", name);
    return closed;
}
