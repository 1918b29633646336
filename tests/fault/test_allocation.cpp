// SPDX-License-Identifier: BSD-3-Clause
//
// Every storage request of a run fails once: the run says which, and comes to its end.
#include "run/varokel.h"

#include "run/storage.h"
#include "support/small_fit.h"
#include "support/support.h"

#include <gtest/gtest.h>

static void fail_every_request(const support::small_fit_choice &choice) {
    support::temporary_folder folder(true);
    support::write_small_fit(choice);
    const auto run = [] { varokel("", "data.bin", "start.par"); };
    const long long before = storage_requests();
    support::stdout_of(run);
    const long long requests = storage_requests() - before;
    ASSERT_GT(requests, 40);
    const std::string signal = support::read_file("data.bin");
    for (long long k = 1; k <= requests; ++k) {
        int status = 0;
        support::write_small_fit(choice);
        fail_storage_request(k);
        const std::string said = support::stdout_of([&] { status = support::end_status_of(run); });
        fail_storage_request(0);
        EXPECT_NE(said.find("emory"), std::string::npos) << "request " << k << "\n" << said;
        EXPECT_EQ(status, support::no_end) << "request " << k << "\n" << said;
        EXPECT_EQ(support::read_file("data.bin"), signal);
    }
}

TEST(failed_request, of_a_plain_fit_is_said_and_the_run_ends) {
    fail_every_request({.iterations = 1});
}

TEST(failed_request, of_a_fit_with_lineshape_and_alignment_is_said_and_the_run_ends) {
    fail_every_request({.lineshape = true, .alignment = true, .iterations = 1});
}

TEST(failed_request, of_a_random_search_with_patterns_is_said_and_the_run_ends) {
    fail_every_request({.patterns = true, .random_step = true, .iterations = 1});
}

TEST(failed_request, of_a_fit_with_a_reference_line_is_said_and_the_run_ends) {
    fail_every_request({.verbose = 1, .reference = true, .iterations = 1});
}
