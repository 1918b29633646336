// SPDX-License-Identifier: BSD-3-Clause
// test_many_calls.cpp -- a thousand runs in one process: each gives what it gives alone, and none
// leaves anything behind (built with the address sanitizer, leaks are reported at the end)
#include "run/varokel.h"

#include "run/state.h"
#include "run/storage.h"
#include "support/small_fit.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

struct kind_of_run {
    const char *name;
    support::small_fit_choice choice;
    std::string from, to; // in start.par, when not empty
};

static const std::vector<kind_of_run> kinds = {
    {"lines", {.iterations = 2}, "", ""},
    {"patterns and alignment", {.patterns = true, .alignment = true, .iterations = 2}, "", ""},
    {"lineshape", {.lineshape = true, .iterations = 2}, "", ""},
    {"reference line", {.reference = true, .iterations = 2}, "", ""},
    {"random search", {.random_step = true, .iterations = 2}, "", ""},
    {"word that is no algor", {}, "algor", "algol"},
    {"too many lines", {}, "nLines 2", "nLines 70"},
    {"absurd number of points", {}, "n_pnts 64", "n_pnts 2147483647"},
    {"no power of two", {}, "n_pnts 64", "n_pnts 60"},
    {"no strategy", {}, "@ 2", "! 2"},
    {"not a number", {}, "10.0 80.0", "nan inf"},
    {"missing end", {}, "end_of_lsf", ""},
};

static std::string results(bool fitted) {
    std::string all;
    for (const char *name :
         {"data.mat", "data.err", "data.fitres", "data.fit", "data.res", "data.nln0", "data.org"})
        if (fitted || support::file_exists(name)) all += support::read_file(name) + "|";
    return all;
}

// What a run says, without the time stamp in its first line, and what it writes.
static std::string run_of(const kind_of_run &kind) {
    support::write_small_fit(kind.choice);
    std::string text = support::read_file("start.par");
    if (!kind.from.empty()) {
        const std::size_t at = text.find(kind.from);
        EXPECT_NE(at, std::string::npos) << kind.name;
        text.replace(at, kind.from.size(), kind.to);
        support::write_file("start.par", text);
    }
    for (const char *name :
         {"data.mat", "data.err", "data.fitres", "data.fit", "data.res", "data.nln0", "data.org"})
        std::remove(name);
    const std::string said = support::stdout_of([] { varokel("", "data.bin", "start.par"); });
    return said.substr(said.find('\n') + 1) + results(false);
}

TEST(thousand_calls, each_give_what_the_first_of_its_kind_gave) {
    const support::temporary_folder folder(true);
    std::vector<std::string> first;
    for (const kind_of_run &kind : kinds) {
        support::reset_state();
        first.push_back(run_of(kind));
    }
    EXPECT_NE(first[0].find('|'), std::string::npos); // the first wrote files
    support::random_numbers random(1000);
    for (int call = 0; call < 1000; ++call) {
        const auto k =
            static_cast<std::size_t>(random.integer(0, static_cast<int>(kinds.size()) - 1));
        ASSERT_EQ(run_of(kinds[k]), first[k]) << "call " << call << ", " << kinds[k].name;
        EXPECT_EQ(par, nullptr);
        EXPECT_EQ(xre, nullptr);
    }
}

// Storage of a process is flat: the peak after a thousand runs is that of the first ones.
TEST(thousand_calls, need_no_more_storage_than_some) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer keeps released storage for a while";
#endif
    std::ifstream status("/proc/self/status");
    if (!status) GTEST_SKIP() << "no /proc";
    const auto resident = [] {
        std::ifstream file("/proc/self/status");
        for (std::string line; std::getline(file, line);)
            if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
        return 0L;
    };
    const support::temporary_folder folder(true);
    for (int call = 0; call < 50; ++call) run_of(kinds[0]);
    const long before = resident();
    for (int call = 0; call < 300; ++call) run_of(kinds[0]);
    // 300 runs that each lost one array of 64 points would need 150 kB more, and a page or two
    EXPECT_LE(resident(), before + 100) << "kB";
}
