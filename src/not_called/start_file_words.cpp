// SPDX-License-Identifier: BSD-3-Clause
// start_file_words.cpp -- parts of start files
#include "not_called/start_file_words.h"

#include "control/control_file.h"
#include "data/scan.h"
#include "run/storage.h"

#include <algorithm>
#include <cstring>

void read_varokel_begin_of_file(std::FILE *file, int &flag) {
    char word[max_word + 1] = "";
    scan_word(file, word, max_word);
    if (std::strcmp(word, "varokel_begin_of_file") == 0) flag = 1;
}

char *substring(const char *text, int start, int len) {
    const int room = std::max(len, 0);
    char *part = static_cast<char *>(new_zeroed(room + 1LL, 1, nullptr));
    if (part == nullptr) return nullptr;
    const long long length = static_cast<long long>(std::strlen(text));
    const long long first = std::clamp<long long>(start, 0, length);
    const long long count = std::min<long long>(room, length - first);
    std::memcpy(part, text + first, static_cast<std::size_t>(count));
    part[room] = '\n';
    return part;
}

void read_varokel_line_shape_function(std::FILE *file, const int &nLines, const int &n_patterns,
                                      const int &lsf_coefs, double *par) {
    read_lsf_coefficients(file, lsf_coefs, nLines + n_patterns, par);
}
