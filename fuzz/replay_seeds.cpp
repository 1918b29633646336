// SPDX-License-Identifier: BSD-3-Clause
// replay_seeds.cpp -- a target without a fuzzer: every file of its folders once
#include "fuzz_reader.h"

#include <algorithm>
#include <filesystem>
#include <vector>

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FOLDER...\n", argv[0]);
        return 2;
    }
    std::vector<std::string> names;
    for (int i = 1; i < argc; ++i)
        for (const auto &entry : std::filesystem::directory_iterator(argv[i]))
            names.push_back(std::filesystem::absolute(entry.path()).string());
    std::sort(names.begin(), names.end());
    for (const std::string &name : names) {
        std::fprintf(stderr, "%s\n", name.c_str()); // the last one is the one that ended it
        const std::string bytes = support::read_file(name);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
    }
    std::fprintf(stderr, "%zu seeds replayed\n", names.size());
    return names.empty() ? 1 : 0;
}
