// SPDX-License-Identifier: BSD-3-Clause
// types.h -- the records that every folder shares
#pragma once

#include "run/capacity.h"

// Line type codes, one per model entry. The Gaussian uses width1 only, the Lorentzian width2
// only, the Voigt line both; a pattern is a whole spectrum that is scaled, shifted and broadened.
enum line_type : int { gaussian_line = 1, lorentzian_line = 2, voigt_line = 3, pattern_line = 4 };

// What a type is called, of four words in the order of the codes; `other` for what is none.
inline const char *type_word(int type, const char *const (&words)[4], const char *other = "") {
    return type >= gaussian_line && type <= pattern_line ? words[type - gaussian_line] : other;
}

// The five parameters of a model entry, in the order in which every parameter vector holds them.
enum parameter_kind : int {
    area_par = 0,   // [signal]
    freq_par = 1,   // [points], 0 at the first point of the spectrum
    width1_par = 2, // Gaussian width, FWHM / 1.67 for Gaussian and Voigt lines [points]
    phase_par = 3,  // zero-order phase [degrees]
    width2_par = 4, // Lorentzian FWHM [points]
    pars_per_entry = 5
};

// Columns of a fit strategy step, in the order in which control files have them.
enum strategy_column : int {
    ampli_column, // 1 = this parameter group is free, up to lsfft
    frequ_column,
    width_column,
    phase_column,
    voigt_column,
    lsfft_column,
    wtype_column, // how the chi-square is weighted
    convo_column, // 1 = align the frequencies before
    niter_column,
    cmplx_column, // which part of the spectrum is fitted
    strategy_columns
};

// Prior knowledge of one parameter.
struct parameter_record {
    int type;     // line type code of the entry
    int fixed_to; // 0 free, own entry number fixed, another entry number (1-based) tied to it
    double value; // start value; links keep the ratio or the difference of these
    double min;   // search range of the random search, same unit as value
    double max;
};

// Header of a signal file of the SAGE/IDL environment. Strings are short words, NUL-terminated.
static constexpr int sage_text_size = 64;
typedef char sage_text[sage_text_size];

struct sage_dimension {
    int number;            // 0 to 3
    sage_text domain;      // Time, Space, Frequency, Kspace, None
    sage_text orientation; // RL, AP, SI or NA
    int points;
    float width; // Hz for Time and Frequency, mm for Space and Kspace, points for None
    float zero_time, zero_freq;
    float slice_location, slice_thickness;
    float time_phase, freq_phase;
};

struct sage_header {
    // sagekey_datafiles
    char header_name[512];
    int n_data_files;
    char data_name[512];
    sage_text file_type, precision;
    int data_offset; // bytes
    // sagekey_patient
    sage_text site, patient_id, patient_name, age, sex;
    int study_number, series_number;
    sage_text time_acquired, date_acquired;
    // sagekey_sequence
    sage_text sequence_name;
    float release, tr, te, ti, tm, tg;
    int r1, r2;
    // sagekey_display
    sage_text display_type[4], display_channel;
    // sagekey_datainfo
    sage_text data_type;
    float center_frequency; // MHz
    float ppm_offset;       // ppm at 0 Hz
    // sagekey_processing
    float phase_zero, phase_first; // degrees
    sage_text broadening_type;
    float broadening[2];
    // sagekey_userinfo
    int n_user_fields;
    // sagekey_dimension
    sage_dimension dimension[4];
};
