// SPDX-License-Identifier: BSD-3-Clause
// slow_files.cpp -- loaded before the C library: a pause around every step in which a start file is
// written, so that a run can be killed there
#include <cstdio>
#include <cstring>

#include <dlfcn.h>
#include <unistd.h>

template <class function>
static function original(const char *name) {
    return reinterpret_cast<function>(dlsym(RTLD_NEXT, name));
}

static void pause_a_little() {
    usleep(2000);
}

static const std::FILE *start_file = nullptr; // while it is written

extern "C" std::FILE *fopen(const char *name, const char *mode) {
    static const auto open = original<std::FILE *(*)(const char *, const char *)>("fopen");
    std::FILE *file = open(name, mode);
    const bool is_start_file =
        std::strstr(name, "compact.par") != nullptr || std::strstr(name, "varokel_new") != nullptr;
    if (is_start_file && mode[0] == 'w') {
        start_file = file;
        pause_a_little();
    }
    return file;
}

extern "C" int fflush(std::FILE *file) {
    static const auto flush = original<int (*)(std::FILE *)>("fflush");
    if (file == start_file) pause_a_little();
    return flush(file);
}

extern "C" int fclose(std::FILE *file) {
    static const auto close = original<int (*)(std::FILE *)>("fclose");
    if (file != start_file) return close(file);
    start_file = nullptr;
    pause_a_little();
    const int status = close(file);
    pause_a_little();
    return status;
}

extern "C" int rename(const char *from, const char *to) noexcept {
    static const auto change = original<int (*)(const char *, const char *)>("rename");
    pause_a_little();
    const int status = change(from, to);
    pause_a_little();
    return status;
}
