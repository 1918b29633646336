// SPDX-License-Identifier: BSD-3-Clause
// output_signals.cpp -- result signals as float32 pairs, and their names
#include "report/output_signals.h"

#include "data/ge_io.h"
#include "data/sage_io.h"
#include "model/objective.h"
#include "report/report_file.h"
#include "run/state.h"
#include "run/storage.h"

#include <cstdio>
#include <cstring>
#include <string>

void name_output_signals(output_name *names) {
    static const char *const plain[] = {".org", ".cor", ".fit", ".res", ".fit0", ".nln0"};
    static const char *const sage[] = {".org", ".cororg", ".fit", ".res", ".fit0", ".nln0"};
    if (sageidl != 1) {
        const std::size_t length = std::strlen(fnm);
        if (length > 4 && std::strcmp(fnm + length - 4, ".bin") == 0) fnm[length - 4] = '\0';
    }
    for (int i = 0; i < n_output_signals; ++i) {
        output_name &name = names[i];
        name.header[0] = '\0';
        if (sageidl == 1) {
            std::snprintf(name.data, sizeof name.data, "%s%s.sdf", fnm, sage[i]);
            std::snprintf(name.header, sizeof name.header, "%s%s.shf", fnm, sage[i]);
        } else {
            std::snprintf(name.data, sizeof name.data, "%s%s", fnm, plain[i]);
        }
    }
}

// The file that a signal goes to when its own cannot be made may be an input as well.
static bool stand_in_may_be_written(const char *full_name) {
    std::FILE *file = std::fopen(full_name, "ab");
    if (file == nullptr) return may_be_written("temp.con");
    std::fclose(file);
    return true;
}

static void write_floats(const char *name, float *buffer, long long floats) {
    const std::string full_name = std::string(path) + name;
    if (!may_be_written(full_name.c_str()) || !stand_in_may_be_written(full_name.c_str())) return;
    int count = static_cast<int>(floats);
    if (writege(full_name.c_str(), buffer, &count, 0) != 0)
        std::printf("error in writing file %s\n", full_name.c_str());
}

void write_output_signal(const char *name, int n, const double *re, const double *im,
                         float *buffer) {
    for (int i = 0; i < n; ++i) {
        buffer[2 * i] = static_cast<float>(re[i]);
        buffer[2 * i + 1] = static_cast<float>(im[i]);
    }
    write_interleaved(name, n, buffer);
}

void write_interleaved(const char *name, int n, float *buffer) {
    write_floats(name, buffer, 2LL * n);
}

void write_components(const char *name) {
    const long long entries = nLines + n_patterns;
    const scratch<float> huge_arr(entries * ap * 2, " Memory requested to store huge_arr[] "
                                                    "in void Write_nLines is not available\n");
    const scratch<double> curve_re(ap, " Memory requested to store yre[] "
                                       "in void Write_nLines is not available\n");
    const scratch<double> curve_im(ap, " Memory requested to store yim[] "
                                       "in void Write_nLines is not available\n");
    if (huge_arr == nullptr || curve_re == nullptr || curve_im == nullptr) return;
    const int none_ignored = 0;
    float *block = huge_arr;
    for (int k = 1; k <= nLines + n_patterns; ++k) {
        component_of(par, k, none_ignored, curve_re, curve_im);
        for (int i = 0; i < ap; ++i) {
            *block++ = static_cast<float>(curve_re[i]);
            *block++ = static_cast<float>(curve_im[i]);
        }
    }
    write_floats(name, huge_arr, entries * ap * 2);
}

void write_output_headers(const output_name *names) {
    static const output_signal order[] = {org_signal, cor_signal,  fit_signal,
                                          res_signal, fit0_signal, nln0_signal};
    for (output_signal which : order) {
        sage_header header = *idl;
        std::snprintf(header.data_name, sizeof header.data_name, "%.511s", names[which].data);
        if (which == nln0_signal) header.n_data_files = nLines + n_patterns;
        if (may_be_written(names[which].header)) write_sageidl_header(names[which].header, &header);
    }
}
