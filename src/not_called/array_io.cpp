// SPDX-License-Identifier: BSD-3-Clause
// array_io.cpp -- complex vectors to and from files, by a dialogue on the console
#include "not_called/array_io.h"

#include "data/ge_io.h"
#include "data/scan.h"
#include "run/storage.h"

#include <cstdio>

static constexpr int longest_name = 12; // of an ASCII file: wording of its prompt kept, too

static int ask_choice() {
    std::printf("Your choice [1..3] : ");
    int choice = 0;
    scan_int(stdin, choice);
    return choice;
}

void ComplexAsciiOut(const int *n, const double *re, const double *im) {
    char name[longest_name + 1] = "";
    std::printf("Complex Ascii File Out >> \n");
    std::printf("Input file name : ");
    scan_word(stdin, name, longest_name);
    std::FILE *file = std::fopen(name, "w+t");
    if (file == nullptr) {
        std::printf(" error_hs : file not opened\n ");
        return;
    }
    for (int i = 0; i < *n; ++i) {
        std::fprintf(file, "%14e\n", re[i]);
        std::fprintf(file, "%14e\n", im[i]);
    }
    const bool failed = std::ferror(file) != 0;
    if (std::fclose(file) != 0 || failed) std::printf("error in writing file %s\n", name);
}

void ComplexArrayOut(const int *n, const double *re, const double *im) {
    const scratch<float> ge_out(
        2LL * *n, " Memory requested to store ge_out[] in ComplexArrayOut()  not available\n");
    std::printf("Write complex array to file :\n");
    std::printf("      1. Normal ASCII file format\n");
    std::printf("      2. SA/GE-file format\n");
    std::printf("      3. Cancel file output\n");
    switch (ask_choice()) {
    case 1:
        ComplexAsciiOut(n, re, im);
        break;
    case 2: {
        char name[max_word + 1] = "";
        std::printf("Output ge_file name ");
        scan_word(stdin, name, max_word);
        if (ge_out == nullptr) break;
        for (int i = 0; i < *n; ++i) {
            ge_out[2 * i] = static_cast<float>(re[i]);
            ge_out[2 * i + 1] = static_cast<float>(im[i]);
        }
        int count = 2 * *n;
        writege_(name, ge_out, &count, 0);
        break;
    }
    default:
        break;
    }
}

void ComplexAsciiIn(const int *n, double *re, double *im) {
    char name[longest_name + 1] = "";
    std::printf("ASCII-File In >> \n");
    std::printf("File name : ");
    scan_word(stdin, name, longest_name);
    std::FILE *file = std::fopen(name, "r+t");
    if (file == nullptr) {
        std::printf(" error_hs : file not opened\n ");
        return;
    }
    for (int i = 0; i < *n; ++i) {
        if (std::fscanf(file, "%lf", &re[i]) != 1) break;
        if (std::fscanf(file, "%lf", &im[i]) != 1) break;
    }
    std::fclose(file);
}

void ComplexArrayIn(const int *n, double *re, double *im) {
    const scratch<float> ge_array(
        2LL * *n, " Memory requested to store ge_array[] in ComplexArrayIn()  not available\n");
    std::printf("Read signal-file containing reals : \n");
    std::printf("      1. Complex ASCII file   \n");
    std::printf("      2. SA/GE file format (binary floats)  \n");
    std::printf("      3. Cancel file input   \n");
    switch (ask_choice()) {
    case 1:
        ComplexAsciiIn(n, re, im);
        break;
    case 2: {
        char name[max_word + 1] = "";
        std::printf("Input ge_file name : ");
        scan_word(stdin, name, max_word);
        if (ge_array == nullptr) break;
        int count = 2 * *n;
        readge_(name, ge_array, &count, 0);
        for (int i = 0; i < *n; ++i) {
            re[i] = static_cast<double>(ge_array[2 * i]);
            im[i] = static_cast<double>(ge_array[2 * i + 1]);
        }
        break;
    }
    case 3:
        for (int i = 0; i < *n; ++i) re[i] = im[i] = 0.0;
        break;
    default:
        break;
    }
}
