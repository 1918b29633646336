// SPDX-License-Identifier: BSD-3-Clause
// scan.cpp -- words and numbers of text files, scanned as the C library's fscanf does
#include "data/scan.h"

#include <algorithm>
#include <climits>

// fscanf keeps what a failed conversion has taken: the sign of "-x", the "nu" of "number" (it might
// have been "nan"). That goes back, where the stream can.
static bool converted(std::FILE *file, const char *format, auto &value) {
    const long place = std::ftell(file);
    if (std::fscanf(file, format, &value) == 1) return true;
    if (place >= 0) std::fseek(file, place, SEEK_SET);
    return false;
}

bool scan_int(std::FILE *file, int &target) {
    // A longer type than int, so that a number outside its range is defined and stays absurd
    // instead of wrapping into something that looks sane.
    long long value = 0;
    if (!converted(file, "%lld", value)) return false;
    target = static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
    return true;
}

bool scan_single(std::FILE *file, float &target) {
    float value = 0.0F;
    if (!converted(file, "%f", value)) return false;
    target = value;
    return true;
}

bool scan_real(std::FILE *file, double &target) {
    float value = 0.0F;
    if (!scan_single(file, value)) return false;
    target = static_cast<double>(value);
    return true;
}

bool scan_word(std::FILE *file, char *text, int width) {
    char format[16];
    std::snprintf(format, sizeof format, "%%%ds", std::clamp(width, 1, max_word));
    return std::fscanf(file, format, text) == 1;
}

bool scan_character(std::FILE *file, char &target) {
    char text[2] = "";
    if (std::fscanf(file, "%1s", text) != 1) return false;
    target = text[0];
    return true;
}

void step_back(std::FILE *file, char last) {
    if (!std::feof(file)) std::ungetc(last, file);
}
