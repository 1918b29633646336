// SPDX-License-Identifier: BSD-3-Clause
// patterns.cpp -- whole metabolite spectra as entries of the model
#include "data/patterns.h"

#include "data/ge_io.h"
#include "data/scan.h"
#include "kernel/line_width.h"
#include "model/fft.h"
#include "model/l_shapes.h"
#include "model/units.h"
#include "model/vector_lib.h"
#include "run/end_run.h"
#include "run/storage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

static double *slot_of(double *pat, int p) {
    return pat + static_cast<long long>(pattern_slot) * p;
}

static void normalise(double *slot, int ap, double &norm) {
    double *im = slot + max_pattern_points;
    norm = std::sqrt(slot[0] * slot[0] + im[0] * im[0]);
    for (int i = 0; i < ap; ++i) {
        slot[i] /= norm;
        im[i] /= norm;
    }
}

static void read_binary_pattern(const char *name, int ap, double *slot, float *floats,
                                double *signal, double *re, double *im) {
    // points that a short file lacks are 0, not those of the pattern before
    int count = 2 * std::max(ap, 0);
    std::fill(floats, floats + count, 0.0F);
    readge_(name, floats, &count, 0);
    for (int j = 0; j < ap; ++j) {
        re[j] = static_cast<double>(floats[2 * j]);
        im[j] = -static_cast<double>(floats[2 * j + 1]);
    }
    int half = ap / 2; // the centre of the spectrum comes to the first point
    Rotate_Vector(ap, half, re);
    Rotate_Vector(ap, half, im);
    interleave(ap, re, im, signal);
    double table[256];
    create_lookup(table, ap, 1);
    four2(signal, table, ap, 0);
    separate(ap, signal, slot, slot + max_pattern_points);
}

void fetch_patterns(const int &n_patterns, const int &ap, const int &,
                    const char (*pat_name)[pattern_name_size], double *pat, double *pattern_norm,
                    const double &frscl, const double &Hz_pp, const double &phi_1, int &ignore,
                    const int &verbose) {
    if (ap > max_pattern_points) return;
    // names another routine: wording kept
    const scratch<float> ge_array(2LL * ap, " Memory requested to store ge_array[] in void "
                                            "FitSpectrum is not available\n");
    const scratch<double> ge_arrayd(2LL * ap, " Memory requested to store ge_arrayd[] in void "
                                              "FitSpectrum is not available\n");
    const scratch<double> dummyre(2LL * ap, " Memory requested to store dummyre[] in void "
                                            "FitSpectrum is not available\n");
    const scratch<double> dummyim(2LL * ap, " Memory requested to store dummyim[] in void "
                                            "FitSpectrum is not available\n");
    if (ge_array == nullptr || ge_arrayd == nullptr || dummyre == nullptr || dummyim == nullptr)
        return;
    for (int p = 1; p <= n_patterns; ++p) {
        const char *name = pat_name[p];
        const bool binary = std::strstr(name, ".bin") != nullptr;
        const bool text = std::strstr(name, ".pat") != nullptr;
        if (binary) {
            if (verbose > 2) std::printf("opening : %s \n", name);
            read_binary_pattern(name, ap, slot_of(pat, p), ge_array, ge_arrayd, dummyre, dummyim);
            normalise(slot_of(pat, p), ap, pattern_norm[p]);
        }
        if (text) {
            Zero_Vector(pattern_slot, slot_of(pat, p));
            interpret_pattern(p, pat_name, pat, pattern_norm, ap, frscl, Hz_pp, phi_1, ignore,
                              verbose);
        }
        if (!binary && !text) {
            std::printf(" fatal error : \n\n");
            std::printf("file  :  %s \n\nno valid file extension\n", name);
            std::printf("only .bin (binary file) or .pat (ascii file)\n");
            std::printf("are allowed \n");
            end_run(-1);
        }
    }
}

// Ends the run after the file is closed; the message has been printed.
[[noreturn]] static void refuse(std::FILE *file) {
    std::fclose(file);
    end_run(-1);
}

static bool next_word_is(std::FILE *file, const char *expected) {
    char word[max_word + 1] = "";
    return scan_word(file, word, max_word) && std::strcmp(word, expected) == 0;
}

static int read_heading(std::FILE *file, const char *name) {
    if (!next_word_is(file, "start_pattern")) {
        std::printf("fatal error reading pattern file : %s\n", name);
        std::printf("illegal pattern file-format : file starts with : start_pattern \n");
        refuse(file);
    }
    if (!next_word_is(file, "number_of_lines")) {
        // names an attribute of an earlier layout: wording kept
        std::printf("fatal error reading pattern file line 6: %s\n", name);
        std::printf("illegal pattern file-format : fifth expected attribute  spectral_resolution ");
        refuse(file);
    }
    int lines = 0;
    scan_int(file, lines);
    char word[max_word + 1] = "";
    for (int i = 0; i < 8; ++i) {
        word[0] = '\0';
        scan_word(file, word, max_word);
    }
    if (std::strcmp(word, "lorentz_width") != 0) {
        std::printf("fatal error reading pattern file line 7, 8: %s\n", name);
        std::printf("illegal pattern file-format line 7, 8 should have the following format \n");
        std::printf("parameters \n");
        std::printf("name     line_type      area       frequency     gauss_width   zero_phase  "
                    "lorentz_width \n");
        refuse(file);
    }
    return lines;
}

struct pattern_line_record {
    double area = 0.0, frequency = 0.0, gauss_width = 0.0, zero_phase = 0.0, lorentz_width = 0.0;
};

// Numbers of one record by its type, in the units of the file (Hz, degrees).
static bool read_record(std::FILE *file, const char *type, pattern_line_record &record) {
    const bool voigt = std::strcmp(type, "voigt") == 0;
    const bool lorentz = std::strcmp(type, "lorentz") == 0;
    const bool gauss = std::strcmp(type, "gauss") == 0;
    if (!voigt && !lorentz && !gauss) return false;
    scan_real(file, record.area);
    scan_real(file, record.frequency);
    if (voigt || gauss) scan_real(file, record.gauss_width);
    scan_real(file, record.zero_phase);
    if (voigt || lorentz) scan_real(file, record.lorentz_width);
    return true;
}

static std::FILE *open_pattern(const char *name, int verbose) {
    std::FILE *file = std::fopen(name, "r+t");
    if (file == nullptr) {
        std::printf(" I/O-error : pattern file could not be opened : \n ");
        std::printf(" check existence of : %s \n ", name);
        end_run(-1);
    }
    if (verbose > 2) std::printf("opened : %s \n", name);
    return file;
}

// Reads one line of the pattern; one of an unknown type ends the run.
static pattern_line_record read_line(std::FILE *file, const char *name, int verbose) {
    char line_name[max_word + 1] = "";
    char type[max_word + 1] = "";
    pattern_line_record record;
    scan_word(file, line_name, max_word);
    scan_word(file, type, max_word);
    if (!read_record(file, type, record)) {
        std::printf("fatal error : illegal lineshape encountered ...\n");
        refuse(file);
    }
    if (verbose > 2) std::printf("calculating %s line %s %s \n", type, name, line_name);
    return record;
}

static void read_end(std::FILE *file, const char *name) {
    char skipped[max_word + 1] = "";
    scan_word(file, skipped, max_word);
    if (!next_word_is(file, "end_of_pattern")) {
        std::printf("fatal error reading pattern file : %s\n", name);
        std::printf("illegal file-terminator (end_of_pattern) ");
        refuse(file);
    }
    std::fclose(file);
}

void interpret_pattern(const int &p, const char (*pat_name)[pattern_name_size], double *pat,
                       double *pattern_norm, const int &ap, const double &frscl,
                       const double &Hz_pp, const double &phi_1, int &ignore, const int &verbose) {
    const char *name = pat_name[p];
    const scratch<double> curve_re(ap, "Memory requested to store yre[] in void\n"
                                       " interpret_pattern() is not available\n");
    const scratch<double> curve_im(ap, "Memory requested to store yim[] in void\n"
                                       " interpret_pattern() is not available\n");
    // Stand-ins for the measured and the fitted lineshape, which a pattern does not take.
    const scratch<double> no_ref_re(ap, "Memory requested to store dummy_ptr[] in void\n"
                                        "interpret_pattern() is not available\n");
    const scratch<double> no_ref_im(ap, "Memory requested to store dummy_ptr1[] in void\n"
                                        "interpret_pattern() is not available\n");
    const scratch<double> no_lsf_re(ap, "Memory requested to store dummy_ptr2[] in void\n"
                                        "interpret_pattern() is not available\n");
    const scratch<double> no_lsf_im(ap, "Memory requested to store yim3[] in void\n"
                                        "interpret_pattern() is not available\n");
    const scratch<int> fit_lsf(2, "not enough memory to allocate int array "
                                  "fit_lsf[] in void interpret_pattern()\n");
    if (curve_re == nullptr || curve_im == nullptr || no_ref_re == nullptr ||
        no_ref_im == nullptr || no_lsf_re == nullptr || no_lsf_im == nullptr || fit_lsf == nullptr)
        return;
    if (ap > max_pattern_points) return;

    std::FILE *file = open_pattern(name, verbose);
    const int lines = read_heading(file, name);
    double *re = slot_of(pat, p);
    double *im = re + max_pattern_points;
    const int ignore_of_run = ignore;
    ignore = 0;
    for (int line = 0; line < lines; ++line) {
        const pattern_line_record record = read_line(file, name, verbose);
        const int entry = 1;
        const int no_ref_line = 0;
        const int no_coefs = 0;
        const double f = record.frequency / (frscl * Hz_pp);
        const double L = record.lorentz_width / Hz_pp;
        const double g = record.gauss_width / (Hz_pp * kernel::gauss_fwhm_per_width);
        Calculate_td_VoigtCurve(entry, ap, ap, no_ref_line, fit_lsf, no_coefs, record.area, f, g,
                                record.zero_phase, L, phi_1, curve_re, curve_im, no_ref_re,
                                no_ref_im, no_lsf_re, no_lsf_im, frscl, nullptr, ignore);
        Sum_Vector(ap, re, re, curve_re);
        Sum_Vector(ap, im, im, curve_im);
    }
    ignore = ignore_of_run;
    read_end(file, name);
    normalise(re, ap, pattern_norm[p]);
}
